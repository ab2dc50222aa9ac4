// A hash of sound that tells how far two decodings agree: its value is taken at even steps on the way. The same in the
// tests and in the program that makes their references.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qmio::test {

// More of a sound than this is not compared, so that long files take neither time nor disk.
inline constexpr int kComparedSeconds = 60;

class SoundHash {
  public:
    // `frame_bytes`: of one sample of all channels together.
    explicit SoundHash(std::size_t frame_bytes, std::size_t step = 256) : frame_bytes_(frame_bytes), step_(step) {}

    void add(const uint8_t* bytes, std::size_t size) {
        for (std::size_t at = 0; at < size; ++at) {
            value_ = (value_ ^ bytes[at]) * 0x100000001B3U;
            if (++inside_ == frame_bytes_)
                end_frame();
        }
    }

    uint64_t value() const { return value_; }
    std::size_t samples() const { return samples_; }
    bool is_whole() const { return inside_ == 0; }

    // The value after every `step` samples.
    std::size_t step() const { return step_; }
    const std::vector<uint64_t>& values() const { return values_; }

    // Keeps every second value, for steps twice as long.
    void thin() {
        for (std::size_t kept = 0; 2 * kept + 1 < values_.size(); ++kept)
            values_[kept] = values_[2 * kept + 1];
        values_.resize(values_.size() / 2);
        step_ *= 2;
    }

  private:
    void end_frame() {
        inside_ = 0;
        if (++samples_ % step_ == 0)
            values_.push_back(value_);
    }

    std::size_t frame_bytes_;
    std::size_t step_;
    uint64_t value_ = 0xCBF29CE484222325U;
    std::size_t inside_ = 0;
    std::size_t samples_ = 0;
    std::vector<uint64_t> values_;
};

}  // namespace qmio::test
