// A hash of bytes, quick enough for all the sound of a film. It tells the same from another, not who made it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qmio::read {

class SoundHash {
  public:
    void add(uint64_t word) {
        value_ = (value_ ^ word) * 0x9E3779B97F4A7C15U;
        value_ ^= value_ >> 32;
    }

    void add(const uint8_t* bytes, std::size_t size) {
        add(uint64_t{size});
        for (; size > 0;) {
            uint64_t word = 0;
            const std::size_t count = size < sizeof word ? size : sizeof word;
            std::memcpy(&word, bytes, count);
            add(word);
            bytes += count;
            size -= count;
        }
    }

    uint64_t value() const { return value_; }

  private:
    uint64_t value_ = 0;
};

}  // namespace qmio::read
