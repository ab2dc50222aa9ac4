// The one video stream of a handle, read or written.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/handle/counted_pictures.h"
#include "ffmpeg/ffmpeg.h"
#include "ffmpeg/turn.h"

namespace qmio {

inline constexpr int kNoFrame = -1;

// What the count of frames goes by. The numbers are those of the interface (QMIO_FRAMES_...).
enum class FrameCountOrigin : int32_t { unknown = 0, computed = 1, told = 2, counted = 3 };

struct Video {
    AVStream* stream = nullptr;  // owned by the container
    int32_t stream_index = -1;
    int32_t stream_count = 0;                     // video streams of a source; only the first is read
    AVCodecContext* codec = nullptr;              // opened as decoder or encoder; owned by the container
    const AVCodec* coder = nullptr;               // the decoder or encoder that it was opened with
    int32_t width = 0;                            // of pictures as they are delivered, in pixels
    int32_t height = 0;                           // the same
    AVPixelFormat pix_fmt = AV_PIX_FMT_NONE;      // of the decoded pictures, or of those to encode
    AVPixelFormat dst_pix_fmt = AV_PIX_FMT_NONE;  // what pictures are delivered in
    bool told_colours = false;                    // YUV becomes RGB by the matrix and range that the file tells
    ffmpeg::Turn turn;                            // what is done to decoded pictures before they are delivered
    AVRational frame_rate{0, 1};
    int64_t start_time_us = 0;
    int32_t frame_count = 0;
    FrameCountOrigin frame_count_origin = FrameCountOrigin::unknown;
    std::string gop_time_code;      // of the first picture, where the stream has time codes of its own
    int32_t gop_frame = 0;          // the number that this picture has
    int32_t want_frame = 0;         // number of the next frame to deliver or to encode
    int32_t have_frame = kNoFrame;  // number of the picture held
    int32_t number_shift = 0;       // numbers of frames less what their times say: a demuxer may have lost the time
    std::shared_ptr<const CountedPictures> counted;  // null: frames are numbered by their times
    int32_t gop = 12;                                // a number of the host's, kept for it
};

}  // namespace qmio
