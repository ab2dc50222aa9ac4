#include "losses.h"

#include <iostream>

#include "output_options.h"
#include "pixel_form.h"
#include "quiet.h"

namespace host {

namespace {

using Lines = std::vector<std::string>;

std::string change(const std::string& what, const std::string& before, const std::string& after) {
    return what + " " + before + (after.empty() ? " is not kept" : " becomes " + after);
}

void compare_formats(Lines& lines, const std::string& before, const std::string& after) {
    const std::optional<PixelForm> from = pixel_form(before);
    const std::optional<PixelForm> to = pixel_form(after);
    if (!from || !to)
        return;
    if (to->bits < from->bits)
        lines.push_back(change("bit depth", std::to_string(from->bits), std::to_string(to->bits)));
    if (to->across > from->across || to->down > from->down ||
        (to->colour != from->colour && to->colour_text() == "gray"))
        lines.push_back(change("chroma", from->colour_text(), to->colour_text()));
    if (from->alpha && !to->alpha)
        lines.push_back("transparency is not kept");
}

std::string ratio_text(int64_t num, int64_t den) {
    return num > 0 ? std::to_string(num) + ":" + std::to_string(den) : "";
}

// The picture's own, so that pictures of another size have the same.
bool is_same_shape(const PictureFacts& before, const PictureFacts& after) {
    const auto shape = [](const PictureFacts& facts) {
        return static_cast<double>(facts.pixel_width * facts.width) /
               static_cast<double>(facts.pixel_height * facts.height);
    };
    const double ratio = shape(before) / shape(after);
    return ratio > 0.999 && ratio < 1.001;
}

void compare_shapes(Lines& lines, const PictureFacts& before, const PictureFacts& after) {
    // Where a file tells nothing players take pixels for square ones.
    const bool is_square = before.pixel_width == before.pixel_height;
    if (before.pixel_width < 1 || (after.pixel_width < 1 && is_square))
        return;
    if (after.pixel_width < 1 || !is_same_shape(before, after))
        lines.push_back(change("aspect of the pixels", ratio_text(before.pixel_width, before.pixel_height),
                               ratio_text(after.pixel_width, after.pixel_height)));
}

void compare_fields(Lines& lines, const PictureFacts& before, const PictureFacts& after) {
    if (before.is_interlaced() &&
        (before.is_interlaced() != after.is_interlaced() || before.is_top_first() != after.is_top_first()))
        lines.push_back(change("field order", before.field_order, after.field_order));
}

std::string told(const std::map<std::string, std::string>& colours, const std::string& key) {
    const auto found = colours.find(key);
    return found != colours.end() ? found->second : "";
}

// What players take for granted is not missed: limited range, and the place of the chroma that codecs of 4:2:0 have.
bool goes_without_saying(const std::string& key, const std::string& value) {
    return (key == "color_range" && value == "tv") || (key == "chroma_location" && value == "left");
}

// Only what the options could ask for: pictures that become RGB have no matrix any more.
void compare_colours(Lines& lines, const PictureFacts& before, const PictureFacts& after, const OptionList& chosen) {
    const std::optional<PixelForm> from = pixel_form(before.format);
    const std::optional<PixelForm> to = pixel_form(after.format);
    const bool is_converted = !from || !to || from->colour != to->colour || from->full != to->full;
    for (const char* key : kColourKeys) {
        const std::string had = told(before.colours, key);
        const std::string has = told(after.colours, key);
        const bool is_form = std::string(key) != "color_primaries" && std::string(key) != "color_transfer";
        if (had.empty() || had == has || (is_form && is_converted) || (has.empty() && goes_without_saying(key, had)))
            continue;
        if (!chosen.has({key, std::string(key) + ":v"}))
            lines.push_back(change(key, had, has));
    }
}

}  // namespace

void say(const std::string& file, const std::string& text) {
    if (!is_quiet())
        std::cerr << "qmio: " << file << ": " << text << '\n';
}

Lines picture_losses(const PictureFacts& before, const PictureFacts& after, const OptionList& options,
                     const OptionList& chosen) {
    Lines lines;
    if (!chosen.has(kPixelFormatKeys))
        compare_formats(lines, before.format, after.format);
    if (!chosen.has({"aspect", "aspect:v"}))
        compare_shapes(lines, before, after);
    if (!chosen.has({"top", "field_order", "field_order:v"}))
        compare_fields(lines, before, after);
    compare_colours(lines, before, after, chosen);
    const std::string time_code = options.value({"timecode"});
    if (!time_code.empty() && after.time_code != time_code)
        lines.push_back(change("time code", time_code, after.time_code));
    return lines;
}

std::string change_of_tag(const std::string& part, const std::string& key, const std::string& before,
                          const std::string& after) {
    return change(key + " of " + part, "\"" + before + "\"", after.empty() ? "" : "\"" + after + "\"");
}

Lines tag_losses(const std::string& part, const Tags& before, const Tags& after) {
    Lines lines;
    for (const auto& [key, value] : before) {
        const auto found = after.find(key);
        const std::string has = found != after.end() ? found->second : "";
        if (has != value)
            lines.push_back(change_of_tag(part, key, value, has));
    }
    return lines;
}

}  // namespace host
