#include "ffmpeg/pixel_format.h"

#include <array>
#include <string>
#include <string_view>

namespace qmio::ffmpeg {

namespace {

// Where formats start that only the linked FFmpeg knows.
constexpr int32_t kUnfrozen = 0x10000;
constexpr std::string_view kPrefix = "AV_PIX_FMT_";

struct DifferentName {
    std::string_view enumerator;
    const char* name;
};

// FFmpeg knows a format by its enumerator in lower case, but for these.
constexpr auto kDifferentNames = std::to_array<DifferentName>({
    {"AV_PIX_FMT_GRAY8", "gray"},
    {"AV_PIX_FMT_MONOWHITE", "monow"},
    {"AV_PIX_FMT_MONOBLACK", "monob"},
    {"AV_PIX_FMT_VIDEOTOOLBOX", "videotoolbox_vld"},
});

std::string name_in_ffmpeg(std::string_view enumerator) {
    for (const DifferentName& different : kDifferentNames)
        if (enumerator == different.enumerator)
            return different.name;
    std::string name(enumerator.substr(kPrefix.size()));
    for (char& letter : name)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return name;
}

// Both directions, looked up by name once: FFmpeg's numbers move from version to version, its names do not.
// It has no destructor to run: other threads, and a host's own globals, may ask to the very end of the process.
class Translation {
  public:
    Translation() {
        format_.fill(AV_PIX_FMT_NONE);
        frozen_.fill(-1);
        for (const PixelFormatName& frozen : interface_pixel_formats())
            add(frozen);
    }

    AVPixelFormat from_frozen(int32_t number) const {
        const auto index = static_cast<size_t>(number);
        return number >= 0 && index < format_.size() ? format_[index] : AV_PIX_FMT_NONE;
    }

    // -1 when the format has no frozen number.
    int32_t to_frozen(int format) const {
        const auto index = static_cast<size_t>(format);
        return format >= 0 && index < frozen_.size() ? frozen_[index] : -1;
    }

  private:
    // The first name of a number that FFmpeg knows decides: 16 was called XVMC_MPEG2_IDCT and is now only XVMC.
    void add(const PixelFormatName& frozen) {
        if (frozen.number < 0 || from_frozen(frozen.number) != AV_PIX_FMT_NONE)
            return;
        const AVPixelFormat format = av_get_pix_fmt(name_in_ffmpeg(frozen.enumerator).c_str());
        if (format == AV_PIX_FMT_NONE)
            return;
        const auto number = static_cast<size_t>(frozen.number);
        const auto own = static_cast<size_t>(format);
        if (number >= format_.size() || own >= frozen_.size())
            return;
        format_[number] = format;
        frozen_[own] = frozen.number;
    }

    std::array<AVPixelFormat, 512> format_;
    std::array<int32_t, 1024> frozen_;
};
static_assert(std::is_trivially_destructible_v<Translation>);

const Translation& translation() {
    static const Translation table;
    return table;
}

}  // namespace

AVPixelFormat pixel_format_from_interface(int32_t number) {
    if (number < kUnfrozen)
        return translation().from_frozen(number);
    const auto format = static_cast<AVPixelFormat>(number - kUnfrozen);
    // A format has one number: one that is frozen is not also known by FFmpeg's.
    const bool unfrozen = av_pix_fmt_desc_get(format) != nullptr && translation().to_frozen(format) < 0;
    return unfrozen ? format : AV_PIX_FMT_NONE;
}

int32_t pixel_format_to_interface(int format) {
    const int32_t frozen = translation().to_frozen(format);
    if (frozen >= 0 || format < 0)
        return frozen;
    return kUnfrozen + format;
}

bool has_alpha(int format) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    return descriptor != nullptr && (descriptor->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
}

}  // namespace qmio::ffmpeg
