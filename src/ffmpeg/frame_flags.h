// What a decoded picture says of itself.
#pragma once

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

// Fields of the picture record in older releases, flags in newer ones.
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(58, 7, 100)
inline bool is_interlaced(const AVFrame& frame) {
    return (frame.flags & AV_FRAME_FLAG_INTERLACED) != 0;
}
inline bool is_top_field_first(const AVFrame& frame) {
    return (frame.flags & AV_FRAME_FLAG_TOP_FIELD_FIRST) != 0;
}
#else
inline bool is_interlaced(const AVFrame& frame) {
    return frame.interlaced_frame != 0;
}
inline bool is_top_field_first(const AVFrame& frame) {
    return frame.top_field_first != 0;
}
#endif

// Made from damaged data or without the pictures that it refers to.
inline bool is_damaged(const AVFrame& frame) {
    return (frame.flags & AV_FRAME_FLAG_CORRUPT) != 0 || frame.decode_error_flags != 0;
}

}  // namespace qmio::ffmpeg
