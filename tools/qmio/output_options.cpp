#include "output_options.h"

#include <qmio.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <vector>

#include "failure.h"
#include "pixel_form.h"

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

// What the encoder takes; of those that do not tell, the usual one.
std::vector<std::string> pixel_formats_of(const std::string& encoder) {
    std::vector<std::string> names;
    const auto* formats =
        static_cast<const int32_t*>(qmio_get_codec_info(find_encoder(encoder, "video"), nullptr, "format"));
    for (; formats != nullptr && *formats != -1; ++formats)
        if (const char* name = qmio_get_pix_info(*formats, "name"); name != nullptr)
            names.emplace_back(name);
    return names.empty() ? std::vector<std::string>{"yuv420p"} : names;
}

std::vector<std::string> sample_formats_of(const AVCodec* encoder) {
    std::vector<std::string> names;
    const auto* formats = static_cast<const int*>(qmio_get_codec_info(encoder, nullptr, "sample_fmts"));
    for (; formats != nullptr && *formats != -1; ++formats)
        if (const char* name = qmio_get_pix_info(*formats, "sample"); name != nullptr)
            names.emplace_back(name);
    return names.empty() ? std::vector<std::string>{"s16"} : names;
}

std::string without_planes(const std::string& format) {
    return !format.empty() && format.back() == 'p' ? format.substr(0, format.size() - 1) : format;
}

bool is_whole(const std::string& format) {
    return !format.empty() && (format[0] == 's' || format[0] == 'u');
}

int bits_of(const std::string& format) {
    const int code = std::abs(static_cast<int>(qmio_get_id(format.c_str(), "sample_bits")));
    return is_whole(format) && code < 128 ? code : 64;
}

// The same one, packed or in planes. Else whole numbers go into the shortest that holds them, or the longest there is.
// Sound that is decoded as floating point goes into the encoder's first one: where that comes from a codec that
// compresses, there is no number of bits to keep.
std::string sample_format_for(const AVCodec* encoder, const std::string& source) {
    const std::vector<std::string> formats = sample_formats_of(encoder);
    for (const std::string& format : formats)
        if (without_planes(format) == without_planes(source))
            return format;
    if (!is_whole(source))
        return formats.front();
    const auto cost = [&](const std::string& format) {
        const int more = bits_of(format) - bits_of(source);
        return more >= 0 ? more : 1000 - more;
    };
    return *std::min_element(formats.begin(), formats.end(),
                             [&](const std::string& one, const std::string& other) { return cost(one) < cost(other); });
}

// The same rate, or the next higher one, or the highest.
int sample_rate_for(const AVCodec* encoder, int source) {
    const auto* rates = static_cast<const int*>(qmio_get_codec_info(encoder, nullptr, "sample_rates"));
    if (rates == nullptr || *rates == 0)
        return source;
    const auto cost = [source](int rate) { return rate >= source ? int64_t{rate} : int64_t{1} << 40; };
    int best = *rates;
    for (; *rates != 0; ++rates)
        if (cost(*rates) < cost(best) || (best<source&& * rates> best))
            best = *rates;
    return best;
}

}  // namespace

void add_picture_defaults(OptionList& options, const PictureForm& form) {
    const std::string encoder = options.value(kVideoEncoderKeys);
    if (encoder.empty())
        return;
    const std::string nearest = nearest_pixel_format(form.pixel_format, form.is_full, pixel_formats_of(encoder));
    if (!options.has(kPixelFormatKeys))
        options.add_default("pix=" + nearest);
    if (pixel_format_of(options) < 0)
        throw Failure(options.value(kPixelFormatKeys), "is no pixel format; see: qmio pixfmts");
    add_size(options, form);
    if (!options.has({"r"}))
        options.add_default("r=" + form.rate);
    seconds_per_picture(options);
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

PictureSize picture_size(const OptionList& options) {
    const std::string size = options.value({"size"});
    const std::size_t cross = size.find('x');
    if (cross != std::string::npos)
        return {number(size.substr(0, cross)), number(size.substr(cross + 1))};
    return {number(options.value({"width"})), number(options.value({"height"}))};
}

std::string track_defaults(const std::string& encoder, const TrackForm& form) {
    const AVCodec* const codec = find_encoder(encoder, "audio");
    return "ac=" + std::to_string(form.channels) + ",ar=" + std::to_string(sample_rate_for(codec, form.rate)) +
           ",afmt=" + sample_format_for(codec, form.sample_format);
}

int pixel_format_of(const OptionList& options) {
    return static_cast<int>(qmio_get_id(options.value(kPixelFormatKeys).c_str(), "pix"));
}

}  // namespace host
