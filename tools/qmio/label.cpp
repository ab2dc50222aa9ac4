#include "label.h"

#include <stb_easy_font.h>

#include <array>
#include <cmath>

namespace host {

namespace {

constexpr int kScale = 2;       // the font is 7 pixels high, too small to read on a large sheet
constexpr int kLineHeight = 9;  // with the room that descenders need
constexpr int kMaxRectangles = 1024;

// The font gives its strokes as rectangles: four corners each, from the top left one clockwise.
struct Corner {
    float x, y, z;
    uint8_t colour[4];
};
using Rectangle = std::array<Corner, 4>;

int scaled(float value) {
    return static_cast<int>(std::lround(value)) * kScale;
}

}  // namespace

int label_height() {
    return kLineHeight * kScale;
}

int label_width(const std::string& text) {
    std::string writable = text;  // the font's functions take writable text
    return stb_easy_font_width(writable.data()) * kScale;
}

std::string drawable(const std::string& utf8, int width) {
    std::string text;
    for (const char letter : utf8) {
        const auto byte = static_cast<unsigned char>(letter);
        if ((byte & 0xC0) != 0x80)
            text += byte >= 0x20 && byte < 0x7F ? letter : '?';
    }
    if (label_width(text) <= width)
        return text;
    while (!text.empty() && label_width(text + "...") > width)
        text.pop_back();
    return text + "...";
}

void draw_label(Picture& picture, int left, int top, const std::string& text, Colour colour) {
    std::vector<Rectangle> strokes(kMaxRectangles);
    std::string writable = text;
    const int count = stb_easy_font_print(0, 0, writable.data(), nullptr, strokes.data(),
                                          static_cast<int>(strokes.size() * sizeof(Rectangle)));
    for (int i = 0; i < count; ++i) {
        const Rectangle& stroke = strokes[static_cast<std::size_t>(i)];
        const Corner& first = stroke[0];
        const Corner& opposite = stroke[2];
        picture.fill(left + scaled(first.x), top + scaled(first.y), scaled(opposite.x - first.x),
                     scaled(opposite.y - first.y), colour);
    }
}

}  // namespace host
