#include "picture.h"

#include <algorithm>
#include <climits>
#include <stdexcept>

namespace host {

namespace {

constexpr int kBytesPerPixel = 4;

std::size_t checked_size(int width, int height) {
    if (width <= 0 || height <= 0 || int64_t{width} * height > INT_MAX / kBytesPerPixel)
        throw std::length_error("a picture of " + std::to_string(width) + " x " + std::to_string(height) +
                                " cannot be held");
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * kBytesPerPixel;
}

void blend(uint8_t* below, const uint8_t* above) {
    const int alpha = above[3];
    for (int i = 0; i < 3; ++i)
        below[i] = static_cast<uint8_t>((above[i] * alpha + below[i] * (255 - alpha) + 127) / 255);
    below[3] = static_cast<uint8_t>(std::max<int>(below[3], alpha));
}

}  // namespace

Picture::Picture(int width, int height, Colour background)
    : width_(width), height_(height), pixels_(checked_size(width, height)) {
    fill(0, 0, width, height, background);
}

imio_picture Picture::record() {
    imio_picture record{};
    record.format = AV_PIX_FMT_RGBA;
    record.data = pixels();
    record.width = width_;
    record.height = height_;
    record.line_size = width_ * kBytesPerPixel;
    record.alignment = 1;
    return record;
}

void Picture::fill(int left, int top, int width, int height, Colour colour) {
    const int right = std::min(left + width, width_);
    const int bottom = std::min(top + height, height_);
    for (int y = std::max(top, 0); y < bottom; ++y)
        for (int x = std::max(left, 0); x < right; ++x)
            std::copy(colour.begin(), colour.end(), pixel(x, y));
}

void Picture::lay_over(int left, int top, const Picture& picture) {
    const int right = std::min(picture.width_, width_ - left);
    const int bottom = std::min(picture.height_, height_ - top);
    for (int y = std::max(-top, 0); y < bottom; ++y)
        for (int x = std::max(-left, 0); x < right; ++x)
            blend(pixel(left + x, top + y), picture.pixel(x, y));
}

uint8_t* Picture::pixel(int x, int y) {
    return pixels() + (static_cast<std::ptrdiff_t>(y) * width_ + x) * kBytesPerPixel;
}

const uint8_t* Picture::pixel(int x, int y) const {
    return pixels() + (static_cast<std::ptrdiff_t>(y) * width_ + x) * kBytesPerPixel;
}

}  // namespace host
