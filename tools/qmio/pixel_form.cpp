#include "pixel_form.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <tuple>

namespace host {

namespace {

using Colour = PixelForm::Colour;

struct Sampling {
    std::string_view digits;
    int across;
    int down;
};
constexpr std::array<Sampling, 6> kSamplings = {
    {{"444", 0, 0}, {"422", 1, 0}, {"420", 1, 1}, {"440", 0, 1}, {"411", 2, 0}, {"410", 2, 2}}};

struct Named {
    std::string_view name;
    PixelForm form;
};

// Those whose names follow no rule.
const std::vector<Named>& named_forms() {
    static const std::vector<Named> forms = {{"nv12", {Colour::yuv, 8, 1, 1}},
                                             {"nv21", {Colour::yuv, 8, 1, 1}},
                                             {"nv16", {Colour::yuv, 8, 1, 0}},
                                             {"nv20", {Colour::yuv, 10, 1, 0}},
                                             {"nv24", {Colour::yuv, 8}},
                                             {"nv42", {Colour::yuv, 8}},
                                             {"p010", {Colour::yuv, 10, 1, 1}},
                                             {"p012", {Colour::yuv, 12, 1, 1}},
                                             {"p016", {Colour::yuv, 16, 1, 1}},
                                             {"p210", {Colour::yuv, 10, 1, 0}},
                                             {"p216", {Colour::yuv, 16, 1, 0}},
                                             {"p410", {Colour::yuv, 10}},
                                             {"p416", {Colour::yuv, 16}},
                                             {"y210", {Colour::yuv, 10, 1, 0}},
                                             {"yuyv422", {Colour::yuv, 8, 1, 0}},
                                             {"uyvy422", {Colour::yuv, 8, 1, 0}},
                                             {"yvyu422", {Colour::yuv, 8, 1, 0}},
                                             {"uyyvyy411", {Colour::yuv, 8, 2, 0}},
                                             {"ayuv64", {Colour::yuv, 16, 0, 0, true}},
                                             {"gray", {Colour::gray, 8}},
                                             {"grayf32", {Colour::gray, 32}},
                                             {"ya8", {Colour::gray, 8, 0, 0, true}},
                                             {"ya16", {Colour::gray, 16, 0, 0, true}},
                                             {"monow", {Colour::gray, 1}},
                                             {"monob", {Colour::gray, 1}},
                                             {"pal8", {Colour::rgb, 8, 0, 0, true}},
                                             {"rgb24", {Colour::rgb, 8}},
                                             {"bgr24", {Colour::rgb, 8}},
                                             {"argb", {Colour::rgb, 8, 0, 0, true}},
                                             {"rgba", {Colour::rgb, 8, 0, 0, true}},
                                             {"abgr", {Colour::rgb, 8, 0, 0, true}},
                                             {"bgra", {Colour::rgb, 8, 0, 0, true}},
                                             {"0rgb", {Colour::rgb, 8}},
                                             {"rgb0", {Colour::rgb, 8}},
                                             {"0bgr", {Colour::rgb, 8}},
                                             {"bgr0", {Colour::rgb, 8}},
                                             {"rgb48", {Colour::rgb, 16}},
                                             {"bgr48", {Colour::rgb, 16}},
                                             {"rgba64", {Colour::rgb, 16, 0, 0, true}},
                                             {"bgra64", {Colour::rgb, 16, 0, 0, true}},
                                             {"rgb565", {Colour::rgb, 6}},
                                             {"bgr565", {Colour::rgb, 6}},
                                             {"rgb555", {Colour::rgb, 5}},
                                             {"bgr555", {Colour::rgb, 5}},
                                             {"rgb444", {Colour::rgb, 4}},
                                             {"bgr444", {Colour::rgb, 4}},
                                             {"rgb8", {Colour::rgb, 3}},
                                             {"bgr8", {Colour::rgb, 3}},
                                             {"rgb4", {Colour::rgb, 2}},
                                             {"bgr4", {Colour::rgb, 2}},
                                             {"rgb4_byte", {Colour::rgb, 2}},
                                             {"bgr4_byte", {Colour::rgb, 2}},
                                             {"x2rgb10", {Colour::rgb, 10}},
                                             {"x2bgr10", {Colour::rgb, 10}},
                                             {"xyz12", {Colour::rgb, 12}}};
    return forms;
}

bool take(std::string_view& text, std::string_view word) {
    const bool begins = text.starts_with(word);
    text.remove_prefix(begins ? word.size() : 0);
    return begins;
}

// The bits at the end of a name: none are 8.
std::optional<int> bits_of(std::string_view text) {
    if (text.empty())
        return 8;
    if (text == "f32")
        return 32;
    int bits = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), bits);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() ? std::optional(bits) : std::nullopt;
}

std::optional<PixelForm> with_bits(PixelForm form, std::string_view text) {
    const std::optional<int> bits = bits_of(text);
    form.bits = bits.value_or(0);
    return bits ? std::optional(form) : std::nullopt;
}

// "yuva422p10", behind the "yuv".
std::optional<PixelForm> planar_yuv(std::string_view text) {
    PixelForm form;
    form.alpha = take(text, "a");
    form.full = take(text, "j");
    for (const Sampling& sampling : kSamplings)
        if (take(text, sampling.digits)) {
            form.across = sampling.across;
            form.down = sampling.down;
            return take(text, "p") ? with_bits(form, text) : std::nullopt;
        }
    return {};
}

// "gbrap12", behind the "gbr".
std::optional<PixelForm> planar_rgb(std::string_view text) {
    PixelForm form{Colour::rgb};
    form.alpha = take(text, "a");
    return take(text, "p") ? with_bits(form, text) : std::nullopt;
}

std::string_view without_byte_order(std::string_view name) {
    if (name.ends_with("le") || name.ends_with("be"))
        name.remove_suffix(2);
    return name;
}

int lost(int had, int has) {
    return std::max(had - has, 0);
}

// What a picture loses, the worst first, and then what is added to it for nothing: the less, the better.
auto cost(const std::string& source, const PixelForm& from, const std::string& name, const PixelForm& to) {
    const bool is_gray = to.colour == Colour::gray && from.colour != Colour::gray;
    const int chroma_lost = lost(to.across, from.across) + lost(to.down, from.down);
    return std::tuple(is_gray, from.alpha && !to.alpha, lost(from.bits, to.bits), chroma_lost, from.colour != to.colour,
                      from.full != to.full, to.alpha && !from.alpha, lost(to.bits, from.bits),
                      lost(from.across, to.across) + lost(from.down, to.down), source != name);
}

bool is_full(const std::string& name) {
    const std::optional<PixelForm> form = pixel_form(name);
    return form && form->full;
}

// An encoder that names a format of full range first takes no other, or only when it is told to be lenient. Where the range
// is full without the format's word, a format of full range would stretch it once more.
bool is_usable(const std::string& name, const std::string& source, bool is_told_full, bool wants_full) {
    if (is_told_full && !is_full(source))
        return !is_full(name);
    const std::optional<PixelForm> form = pixel_form(name);
    return !wants_full || !form || form->colour != Colour::yuv || form->full;
}

}  // namespace

std::string PixelForm::colour_text() const {
    if (colour == Colour::gray)
        return "gray";
    if (colour == Colour::rgb)
        return "RGB";
    for (const Sampling& sampling : kSamplings)
        if (sampling.across == across && sampling.down == down)
            return {sampling.digits[0], ':', sampling.digits[1], ':', sampling.digits[2]};
    return "YUV";
}

std::optional<PixelForm> pixel_form(const std::string& name) {
    std::string_view rest = without_byte_order(name);
    for (const Named& named : named_forms())
        if (named.name == rest)
            return named.form;
    if (take(rest, "yuv"))
        return planar_yuv(rest);
    if (take(rest, "gbr"))
        return planar_rgb(rest);
    return take(rest, "gray") ? with_bits({Colour::gray}, rest) : std::nullopt;
}

std::string nearest_pixel_format(const std::string& source, bool is_told_full,
                                 const std::vector<std::string>& formats) {
    const std::optional<PixelForm> from = pixel_form(source);
    const bool wants_full = !formats.empty() && is_full(formats.front());
    const std::string* best = formats.empty() ? nullptr : &formats.front();
    std::optional<decltype(cost(source, *from, source, *from))> least;
    for (const std::string& name : formats) {
        const std::optional<PixelForm> to = pixel_form(name);
        if (!from || !to || !is_usable(name, source, is_told_full, wants_full))
            continue;
        const auto price = cost(source, *from, name, *to);
        if (!least || price < *least) {
            least = price;
            best = &name;
        }
    }
    return best != nullptr ? *best : std::string();
}

}  // namespace host
