#include "audio/sample_formats.h"

namespace qmio::audio {

namespace {

struct Row {
    int32_t code;
    AVSampleFormat format;
};

constexpr Row kRows[] = {
    {8, AV_SAMPLE_FMT_U8},     {16, AV_SAMPLE_FMT_S16},  {32, AV_SAMPLE_FMT_S32},   {0, AV_SAMPLE_FMT_FLT},
    {64, AV_SAMPLE_FMT_DBL},   {128, AV_SAMPLE_FMT_S64}, {-8, AV_SAMPLE_FMT_U8P},   {-16, AV_SAMPLE_FMT_S16P},
    {-32, AV_SAMPLE_FMT_S32P}, {-1, AV_SAMPLE_FMT_FLTP}, {-64, AV_SAMPLE_FMT_DBLP}, {-128, AV_SAMPLE_FMT_S64P},
};

}  // namespace

AVSampleFormat sample_format_from_code(int32_t code) {
    for (const Row& row : kRows)
        if (row.code == code)
            return row.format;
    return AV_SAMPLE_FMT_NONE;
}

int32_t code_of_sample_format(int32_t format) {
    for (const Row& row : kRows)
        if (row.format == format)
            return row.code;
    return 0;
}

int sample_bytes(int32_t format) {
    return av_get_bytes_per_sample(static_cast<AVSampleFormat>(format));
}

uint8_t silence_byte(int bytes_per_sample) {
    return bytes_per_sample < 2 ? 128 : 0;
}

}  // namespace qmio::audio
