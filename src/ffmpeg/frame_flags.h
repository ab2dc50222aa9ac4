// What a picture says of itself.
#pragma once

#include <cstring>
#include <string>

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

// Fields of the picture record in older releases, flags in newer ones.
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(58, 7, 100)
inline bool is_interlaced(const AVFrame& frame) {
    return (frame.flags & AV_FRAME_FLAG_INTERLACED) != 0;
}
inline bool is_key(const AVFrame& frame) {
    return (frame.flags & AV_FRAME_FLAG_KEY) != 0;
}
inline bool is_top_field_first(const AVFrame& frame) {
    return (frame.flags & AV_FRAME_FLAG_TOP_FIELD_FIRST) != 0;
}
inline void set_interlaced(AVFrame& frame, bool interlaced) {
    frame.flags = interlaced ? frame.flags | AV_FRAME_FLAG_INTERLACED : frame.flags & ~AV_FRAME_FLAG_INTERLACED;
}
inline void set_top_field_first(AVFrame& frame) {
    frame.flags |= AV_FRAME_FLAG_TOP_FIELD_FIRST;
}
#else
inline bool is_interlaced(const AVFrame& frame) {
    return frame.interlaced_frame != 0;
}
inline bool is_key(const AVFrame& frame) {
    return frame.key_frame != 0;
}
inline bool is_top_field_first(const AVFrame& frame) {
    return frame.top_field_first != 0;
}
inline void set_interlaced(AVFrame& frame, bool interlaced) {
    frame.interlaced_frame = interlaced ? 1 : 0;
}
inline void set_top_field_first(AVFrame& frame) {
    frame.top_field_first = 1;
}
#endif

// The time code of the GOP that begins with this picture, "hh:mm:ss:ff" or "hh:mm:ss;ff"; empty when none begins.
inline std::string gop_time_code(const AVFrame& frame) {
    const AVFrameSideData* const entry = av_frame_get_side_data(&frame, AV_FRAME_DATA_GOP_TIMECODE);
    int64_t bits = 0;
    if (entry == nullptr || entry->size < sizeof bits)
        return {};
    std::memcpy(&bits, entry->data, sizeof bits);
    char text[AV_TIMECODE_STR_SIZE] = {};
    return av_timecode_make_mpeg_tc_string(text, static_cast<uint32_t>(bits));
}

// Made from damaged data or without the pictures that it refers to.
inline bool is_damaged(const AVFrame& frame) {
    return (frame.flags & AV_FRAME_FLAG_CORRUPT) != 0 || frame.decode_error_flags != 0;
}

// Made without any other picture, as the decoder tells.
inline bool is_whole(const AVFrame& frame) {
    return is_key(frame) || frame.pict_type == AV_PICTURE_TYPE_I || frame.pict_type == AV_PICTURE_TYPE_SI ||
           frame.pict_type == AV_PICTURE_TYPE_BI;
}

}  // namespace qmio::ffmpeg
