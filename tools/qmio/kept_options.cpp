#include "kept_options.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <string_view>

#include "output_options.h"
#include "pixel_form.h"

namespace host {

namespace {

// FFmpeg takes no larger one.
constexpr int64_t kMostAspect = 10;

// Encoders that have to be told to code fields, not only that there are some.
constexpr std::array<std::string_view, 8> kFieldCoders = {"libx264", "libx264rgb", "mpeg2video", "mpeg4",
                                                          "prores",  "prores_aw",  "prores_ks",  "dnxhd"};

struct ColourOption {
    const char* fact;
    const char* option;
};
constexpr std::array<ColourOption, 5> kColourOptions = {{{"color_primaries", "color_primaries"},
                                                         {"color_transfer", "color_trc"},
                                                         {"color_space", "colorspace"},
                                                         {"color_range", "color_range"},
                                                         {"chroma_location", "chroma_sample_location"}}};

// FFmpeg gives some things one name and takes another.
struct OtherName {
    std::string_view fact;
    std::string_view told;
    const char* taken;
};
constexpr std::array<OtherName, 3> kOtherNames = {
    {{"color_transfer", "bt470m", "gamma22"}, {"color_transfer", "bt470bg", "gamma28"}, {"color_space", "gbr", "rgb"}}};

std::string quoted(std::string text) {
    // There is no way to write one inside of others.
    std::replace(text.begin(), text.end(), '"', '\'');
    return '"' + text + '"';
}

bool is_chosen(const OptionList& options, const std::string& key) {
    return options.has({key, key + ":v"});
}

void keep_aspect(OptionList& options, const PictureFacts& facts) {
    const PictureSize size = picture_size(options);
    if (facts.pixel_width < 1 || facts.pixel_height < 1 || size.width < 1 || size.height < 1 ||
        is_chosen(options, "aspect"))
        return;
    int64_t width = facts.pixel_width * facts.width * size.height;
    int64_t height = facts.pixel_height * facts.height * size.width;
    const int64_t divisor = std::gcd(width, height);
    width /= divisor;
    height /= divisor;
    if (width <= kMostAspect * height)
        options.add_default("aspect=" + std::to_string(width) + "/" + std::to_string(height));
}

void keep_fields(OptionList& options, const PictureFacts& facts) {
    // Pictures of another height are scaled with their fields woven: none are left.
    if (!facts.is_interlaced() || is_chosen(options, "top") || is_chosen(options, "field_order") ||
        picture_size(options).height != facts.height)
        return;
    options.add_default("field_order=" + facts.field_order);
    const std::string encoder = options.value(kVideoEncoderKeys);
    if (!is_chosen(options, "flags") &&
        std::find(kFieldCoders.begin(), kFieldCoders.end(), encoder) != kFieldCoders.end())
        options.add_default("flags:v=+ildct+ilme");
    // x264 writes its first headers before it is told by a picture which field comes first.
    if (!facts.is_top_first() && (encoder == "libx264" || encoder == "libx264rgb") &&
        !is_chosen(options, "x264-params") && !is_chosen(options, "x264opts"))
        options.add_default("x264-params=bff=1");
}

// The colours as they are once the pictures have come into the new format.
std::map<std::string, std::string> colours_in(const PictureFacts& facts, const PixelForm& from, const PixelForm& to) {
    using Colour = PixelForm::Colour;
    std::map<std::string, std::string> colours = facts.colours;
    if (from.colour != to.colour)
        for (const char* key : {"color_space", "color_range", "chroma_location"})
            colours.erase(key);
    if (from.colour == Colour::rgb && to.colour == Colour::yuv) {
        // That is how pictures are converted.
        colours["color_space"] = "smpte170m";
        colours["color_range"] = to.full ? "pc" : "tv";
    } else if (from.full != to.full && to.colour != Colour::rgb)
        colours["color_range"] = to.full ? "pc" : "tv";
    return colours;
}

std::string name_to_tell(const std::string& fact, const std::string& told) {
    for (const OtherName& other : kOtherNames)
        if (other.fact == fact && other.told == told)
            return other.taken;
    return told;
}

void keep_colours(OptionList& options, const PictureFacts& facts) {
    const std::optional<PixelForm> from = pixel_form(facts.format);
    const std::optional<PixelForm> to = pixel_form(options.value(kPixelFormatKeys));
    if (!from || !to)
        return;
    const std::map<std::string, std::string> colours = colours_in(facts, *from, *to);
    for (const ColourOption& option : kColourOptions)
        if (const auto found = colours.find(option.fact); found != colours.end() && !is_chosen(options, option.option))
            options.add_default(option.option + ("=" + name_to_tell(found->first, found->second)));
}

}  // namespace

void keep_pictures(OptionList& options, const PictureFacts& facts) {
    keep_aspect(options, facts);
    keep_fields(options, facts);
    keep_colours(options, facts);
}

std::string tag_options(const Tags& tags, const std::string& prefix) {
    std::string text;
    for (const auto& [key, value] : tags)
        text.append(",").append(prefix).append(key).append("=").append(quoted(value));
    return text;
}

void keep_text(OptionList& options, const std::string& key, const std::string& value) {
    if (!value.empty() && !options.has({key}))
        options.add_default(key + "=" + quoted(value));
}

}  // namespace host
