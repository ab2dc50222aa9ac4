#include "versions.h"

#include <ffms.h>
#include <qmio.h>

#include <opencv2/core/version.hpp>

extern "C" {
#include <libavutil/avutil.h>
}

namespace bench {

namespace {

std::string ffms_version() {
    const int version = FFMS_GetVersion();
    return std::to_string(version >> 24) + "." + std::to_string(version >> 16 & 0xff);
}

}  // namespace

std::string versions() {
    return std::string("FFmpeg ") + av_version_info() + ", FFMS2 " + ffms_version() + ", OpenCV " + CV_VERSION;
}

}  // namespace bench
