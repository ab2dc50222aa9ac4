// A picture in any pixel format of the library.
#pragma once

#include <qmio.h>

#include <cstdint>
#include <string>
#include <vector>

#include "failure.h"

namespace host {

class FrameBuffer {
  public:
    FrameBuffer(int format, int width, int height) {
        constexpr int alignment = 16;  // what qmio_get_bufsize counts with
        const int size = qmio_get_bufsize(format, width, height);
        if (size <= 0)
            throw Failure(std::to_string(width) + "x" + std::to_string(height), "is no size for such a picture");
        bytes_.resize(static_cast<std::size_t>(size));
        record_.format = format;
        record_.data = bytes_.data();
        record_.width = width;
        record_.height = height;
        record_.alignment = alignment;
        // Of the formats that may be told to be opaque.
        record_.line_size = (width * 4 + alignment - 1) / alignment * alignment;
    }

    imio_picture& record() { return record_; }

  private:
    std::vector<uint8_t> bytes_;
    imio_picture record_{};
};

}  // namespace host
