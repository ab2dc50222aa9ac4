#include "output_options.h"

#include <qmio.h>

#include <algorithm>
#include <charconv>

#include "failure.h"

namespace host {

namespace {

const AVCodec* find_encoder(const std::string& name, const char* kind) {
    const auto* encoder = reinterpret_cast<const AVCodec*>(qmio_get_id(name.c_str(), "encoder"));
    if (encoder == nullptr)
        throw Failure(name, "is no encoder of this build; see: qmio codecs --encoders");
    if (qmio_is_codec(encoder, kind) == 0)
        throw Failure(name, std::string("is no ") + kind + " encoder");
    return encoder;
}

int number(const std::string& text) {
    int value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() ? value : 0;
}

// What was not told of a picture's size keeps its shape.
void add_size(OptionList& options, const PictureForm& form) {
    const int width = number(options.value({"width"}));
    const int height = number(options.value({"height"}));
    if (options.has({"size"}) || (width > 0 && height > 0))
        return;
    const auto even = [](int64_t side) { return std::to_string(std::max<int64_t>(side / 2 * 2, 2)); };
    if (width > 0)
        options.add_default("height=" + even(int64_t{width} * form.height / form.width));
    else if (height > 0)
        options.add_default("width=" + even(int64_t{height} * form.width / form.height));
    else
        options.add_default("size=" + std::to_string(form.width) + "x" + std::to_string(form.height));
}

// The one that the encoder names first, or the usual one when it names none.
std::string pixel_format_for(const std::string& encoder) {
    const auto* formats =
        static_cast<const int32_t*>(qmio_get_codec_info(find_encoder(encoder, "video"), nullptr, "format"));
    const bool has_formats = formats != nullptr && *formats != -1;
    const char* name = qmio_get_pix_info(has_formats ? *formats : qmio_fmtid("AV_PIX_FMT_YUV420P"), "name");
    return name != nullptr ? name : "";
}

std::string sample_format_for(const std::string& encoder) {
    const auto* formats =
        static_cast<const int*>(qmio_get_codec_info(find_encoder(encoder, "audio"), nullptr, "sample_fmts"));
    const char* name = formats != nullptr ? qmio_get_pix_info(*formats, "sample") : nullptr;
    return name != nullptr ? name : "s16";
}

}  // namespace

void add_picture_defaults(OptionList& options, const PictureForm& form) {
    const std::string encoder = options.value(kVideoEncoderKeys);
    if (encoder.empty())
        return;
    const std::string usual = pixel_format_for(encoder);
    if (!options.has(kPixelFormatKeys))
        options.add_default("pix=" + usual);
    if (pixel_format_of(options) < 0)
        throw Failure(options.value(kPixelFormatKeys), "is no pixel format; see: qmio pixfmts");
    add_size(options, form);
    if (!options.has({"r"}))
        options.add_default("r=" + form.rate);
    seconds_per_picture(options);
}

void require_container(const OptionList& options) {
    const std::string name = options.value({"fmt", "f"});
    if (name.empty())
        throw Failure("the options", "name no container (fmt=mp4, for instance)");
    if (qmio_get_id(name.c_str(), "ofmt") == 0)
        throw Failure(name, "is no container; see: qmio formats");
}

double seconds_per_picture(const OptionList& options) {
    const std::string rate = options.value({"r"});
    const std::size_t slash = std::min(rate.find('/'), rate.size());
    const int above = number(rate.substr(0, slash));
    const int below = slash < rate.size() ? number(rate.substr(slash + 1)) : 1;
    if (rate.empty())
        return 1.0 / 25;
    if (above < 1 || below < 1)
        throw Failure(rate, "is no frame rate (N or N/D)");
    return static_cast<double>(below) / above;
}

std::string track_defaults(const std::string& encoder, const TrackForm& form) {
    return "ac=" + std::to_string(form.channels) + ",ar=" + std::to_string(form.rate) +
           ",afmt=" + sample_format_for(encoder);
}

int pixel_format_of(const OptionList& options) {
    return static_cast<int>(qmio_get_id(options.value(kPixelFormatKeys).c_str(), "pix"));
}

}  // namespace host
