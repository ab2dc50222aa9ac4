// A block of memory as the target of a file. What does not fit into it is left out without an error.
#pragma once

#include <cstdint>
#include <memory>

#include "ffmpeg/owners.h"

namespace qmio::qmlib {

class MemoryOutput {
  public:
    // The block stays the caller's and must live as long as the output.
    MemoryOutput(uint8_t* data, int64_t size) : data_(data), size_(size) {}

    int read(uint8_t* buffer, int size);  // AVERROR_EOF at the end
    int write(const uint8_t* buffer, int size);
    // whence 0 start, 1 current, 2 end, AVSEEK_SIZE the size; the new position, wherever that is, or -1.
    int64_t seek(int64_t offset, int whence);

    // The number of bytes from the start to the last one ever written.
    int64_t high_water() const { return high_water_; }

  private:
    int64_t room_for(int size) const;

    uint8_t* data_;
    int64_t size_;
    int64_t position_ = 0;
    int64_t high_water_ = 0;
};

// An I/O context that writes to `output`, which must outlive it; null when memory is short.
ffmpeg::CustomIoPtr make_custom_io(MemoryOutput& output);

}  // namespace qmio::qmlib
