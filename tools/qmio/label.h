// Short texts drawn into pictures.
#pragma once

#include <string>

#include "picture.h"

namespace host {

// Height in pixels of one line of text.
int label_height();

// Width in pixels of `text`, which holds ASCII characters alone.
int label_width(const std::string& text);

// A text as it can be drawn, a question mark for every character that is not in ASCII, and cut at `width` pixels.
std::string drawable(const std::string& utf8, int width);

void draw_label(Picture& picture, int left, int top, const std::string& text, Colour colour);

}  // namespace host
