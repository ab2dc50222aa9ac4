// A picture in memory: 4 bytes per pixel in the order red, green, blue, alpha, rows without gaps.
#pragma once

#include <qmio.h>

#include <array>
#include <cstdint>
#include <vector>

namespace host {

using Colour = std::array<uint8_t, 4>;

class Picture {
  public:
    // Throws std::length_error for a size that is not positive or that needs more than 2 GiB.
    Picture(int width, int height, Colour background = {0, 0, 0, 0});

    int width() const { return width_; }
    int height() const { return height_; }
    uint8_t* pixels() { return pixels_.data(); }
    const uint8_t* pixels() const { return pixels_.data(); }

    // The library's view of this picture; valid as long as the picture is.
    imio_picture record();

    // Fills the part of the rectangle that lies inside the picture.
    void fill(int left, int top, int width, int height, Colour colour);

    // Lays `picture` over this one; what is transparent there lets this one through.
    void lay_over(int left, int top, const Picture& picture);

  private:
    uint8_t* pixel(int x, int y);
    const uint8_t* pixel(int x, int y) const;

    int width_;
    int height_;
    std::vector<uint8_t> pixels_;
};

}  // namespace host
