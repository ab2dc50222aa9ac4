// The exported integers carry the names of FFmpeg's enumerators, so this file never includes FFmpeg's headers.
#undef QMIO_NO_PIX_FMT_DATA
#include "core/process/pixel_constants.h"

#include "ffmpeg/pixel_format_names.h"
#include "qmio.h"

int32_t AV_PIX_FMT_NONE = -1;
int32_t AV_PIX_FMT_RGB32 = -1;
int32_t AV_PIX_FMT_GRAY8 = -1;
int32_t AV_PIX_FMT_YUYV422 = -1;
int32_t AV_PIX_FMT_YUV420P = -1;
int32_t AV_PIX_FMT_BGR24 = -1;
int32_t AV_PIX_FMT_RGB24 = -1;
int32_t AV_PIX_FMT_RGBA = -1;
int32_t AV_PIX_FMT_BGRA = -1;
int32_t AV_PIX_FMT_UYVY422 = -1;
int32_t AV_PIX_FMT_ARGB = -1;
int32_t AV_PIX_FMT_YUV422P10LE = -1;
int32_t AV_PIX_FMT_NB = -1;
int32_t AV_PIX_FMT_0RGB = -1;
int32_t AV_PIX_FMT_ABGR = -1;
int32_t AV_PIX_FMT_0BGR = -1;
int32_t AV_PIX_FMT_RGB0 = -1;
int32_t AV_PIX_FMT_BGR0 = -1;

namespace qmio {

namespace {

struct Constant {
    const char* name;
    int32_t* value;
};

constexpr Constant kConstants[] = {
    {"AV_PIX_FMT_NONE", &AV_PIX_FMT_NONE},       {"AV_PIX_FMT_RGB32", &AV_PIX_FMT_RGB32},
    {"AV_PIX_FMT_GRAY8", &AV_PIX_FMT_GRAY8},     {"AV_PIX_FMT_YUYV422", &AV_PIX_FMT_YUYV422},
    {"AV_PIX_FMT_YUV420P", &AV_PIX_FMT_YUV420P}, {"AV_PIX_FMT_BGR24", &AV_PIX_FMT_BGR24},
    {"AV_PIX_FMT_RGB24", &AV_PIX_FMT_RGB24},     {"AV_PIX_FMT_RGBA", &AV_PIX_FMT_RGBA},
    {"AV_PIX_FMT_BGRA", &AV_PIX_FMT_BGRA},       {"AV_PIX_FMT_UYVY422", &AV_PIX_FMT_UYVY422},
    {"AV_PIX_FMT_ARGB", &AV_PIX_FMT_ARGB},       {"AV_PIX_FMT_YUV422P10LE", &AV_PIX_FMT_YUV422P10LE},
    {"AV_PIX_FMT_NB", &AV_PIX_FMT_NB},           {"AV_PIX_FMT_0RGB", &AV_PIX_FMT_0RGB},
    {"AV_PIX_FMT_ABGR", &AV_PIX_FMT_ABGR},       {"AV_PIX_FMT_0BGR", &AV_PIX_FMT_0BGR},
    {"AV_PIX_FMT_RGB0", &AV_PIX_FMT_RGB0},       {"AV_PIX_FMT_BGR0", &AV_PIX_FMT_BGR0},
};

}  // namespace

void fill_pixel_format_constants() {
    for (const Constant& constant : kConstants)
        *constant.value = ffmpeg::interface_pixel_format_number(constant.name);
}

}  // namespace qmio
