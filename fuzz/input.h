// Values taken from the end of a fuzzer's input: what is left in front of them stays as it is, so that a file may come
// first and what is done with it last.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

// libFuzzer's entry point, defined by each target; replay.cpp calls it where there is no libFuzzer.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);

namespace qmio::fuzz {

class Input {
  public:
    Input(const uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    bool is_empty() const { return size_ == 0; }

    // 0 where nothing is left.
    uint8_t byte() { return size_ == 0 ? uint8_t{0} : data_[--size_]; }

    int below(int bound) { return byte() % bound; }

    uint64_t bits(int bytes) {
        uint64_t value = 0;
        while (bytes-- > 0)
            value = value << 8 | byte();
        return value;
    }

    template <typename Choices>
    auto one_of(const Choices& choices) {
        return choices[byte() % std::size(choices)];
    }

    // Mostly small numbers, now and then one at the ends of its range or any other.
    int number() { return static_cast<int>(static_cast<int32_t>(wide_number())); }
    int64_t wide_number() {
        static constexpr int64_t kEnds[] = {std::numeric_limits<int32_t>::min(),
                                            std::numeric_limits<int32_t>::max(),
                                            std::numeric_limits<int64_t>::min(),
                                            std::numeric_limits<int64_t>::max(),
                                            int64_t{1} << 31,
                                            -(int64_t{1} << 31) - 1,
                                            65536,
                                            -65536};
        switch (below(8)) {
            case 0:
                return one_of(kEnds);
            case 1:
                return static_cast<int64_t>(bits(8));
            case 2:
                return static_cast<int32_t>(static_cast<uint32_t>(bits(4)));
            default:
                return static_cast<int8_t>(byte());
        }
    }

    // The list of operations: the last byte tells how many bytes before it are theirs, `most` at most.
    Input tail(std::size_t most) {
        std::size_t count = byte() % (most + 1);
        count = count < size_ ? count : size_;
        size_ -= count;
        return {data_ + size_, count};
    }

    // What is left, as a block of exactly its size, so that the sanitizer sees every byte beyond it.
    std::vector<uint8_t> rest() const { return {data_, data_ + size_}; }
    std::string text() const { return {data_, data_ + size_}; }

  private:
    const uint8_t* data_;
    std::size_t size_;
};

}  // namespace qmio::fuzz
