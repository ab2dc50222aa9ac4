// What a pixel format can hold, told from FFmpeg's name for it.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace host {

struct PixelForm {
    enum class Colour { gray, yuv, rgb };

    Colour colour = Colour::yuv;
    int bits = 8;    // of the finest component
    int across = 0;  // how often the columns of the colour are halved
    int down = 0;    // the same of its rows
    bool alpha = false;
    bool full = false;  // YUV that is in full range by its name (yuvj420p)

    // "4:2:0"; "RGB" and "gray" for what has no planes of colour.
    std::string colour_text() const;
};

// Nothing for the formats of hardware and for sensors' patterns.
std::optional<PixelForm> pixel_form(const std::string& name);

// The one of an encoder's formats, named in its order, that loses least of a picture in the format `source`, and then the
// one that adds least to it. `is_full`: a picture whose range is told to be full although its format is not. The first
// format when nothing is known; an empty text when there are none.
std::string nearest_pixel_format(const std::string& source, bool is_full, const std::vector<std::string>& formats);

}  // namespace host
