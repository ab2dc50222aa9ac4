// Short texts drawn into pictures.
#pragma once

#include <string>

#include "picture.h"

namespace host {

// Height in pixels of one line of text.
int label_height();

// Width in pixels of `text`, which holds ASCII characters alone.
int label_width(const std::string& text);

void draw_label(Picture& picture, int left, int top, const std::string& text, Colour colour);

}  // namespace host
