// FFmpeg's own registries, and its pixel formats in the numbers of the interface.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/pixdesc.h>
}

#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

#include "support/frozen_pixel_formats.h"

namespace qmio::test {

inline constexpr int kNewerThanTheInterface = 0x10000;

inline std::vector<const AVCodec*> codecs_of_ffmpeg() {
    std::vector<const AVCodec*> codecs;
    void* position = nullptr;
    while (const AVCodec* codec = av_codec_iterate(&position))
        codecs.push_back(codec);
    return codecs;
}

inline std::vector<const AVOutputFormat*> formats_of_ffmpeg() {
    std::vector<const AVOutputFormat*> formats;
    void* position = nullptr;
    while (const AVOutputFormat* format = av_muxer_iterate(&position))
        formats.push_back(format);
    return formats;
}

// FFmpeg's number of a pixel format -> that of the interface.
inline std::map<int, int32_t> frozen_numbers() {
    std::map<int, int32_t> numbers;
#define QMIO_ADD(number, name) numbers.emplace(AV_PIX_FMT_##name, number);
#define QMIO_LEAVE_OUT(number, name)
    QMIO_FROZEN_PIXEL_FORMATS(QMIO_ADD, QMIO_LEAVE_OUT, QMIO_LEAVE_OUT, QMIO_LEAVE_OUT)
#undef QMIO_ADD
#undef QMIO_LEAVE_OUT
    return numbers;
}

inline std::vector<int32_t> in_interface_numbers(const AVPixelFormat* formats) {
    static const std::map<int, int32_t> numbers = frozen_numbers();
    std::vector<int32_t> translated;
    for (; *formats != -1; ++formats) {
        const auto frozen = numbers.find(*formats);
        // XVMC has a number that FFmpeg is about to drop.
        const bool xvmc = std::string_view(av_get_pix_fmt_name(*formats)) == "xvmc";
        translated.push_back(xvmc ? 16 : frozen != numbers.end() ? frozen->second : kNewerThanTheInterface + *formats);
    }
    translated.push_back(-1);
    return translated;
}

}  // namespace qmio::test
