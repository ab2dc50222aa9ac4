// Samples of one channel from one layout into another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qmio::audio {

// One channel's place in a block: its first sample, and the bytes from each sample to the next.
template <class Byte>
struct ChannelSamples {
    Byte* first;
    std::size_t stride;
};
using SourceChannel = ChannelSamples<const uint8_t>;
using TargetChannel = ChannelSamples<uint8_t>;

namespace detail {

template <std::size_t bytes>
void copy_fixed(TargetChannel target, SourceChannel source, std::size_t count) {
    for (std::size_t index = 0; index < count; ++index)
        std::memcpy(target.first + index * target.stride, source.first + index * source.stride, bytes);
}

}  // namespace detail

inline void copy_channel(TargetChannel target, SourceChannel source, std::size_t bytes, std::size_t count) {
    switch (bytes) {  // Constant sizes become single moves.
        case 1:
            return detail::copy_fixed<1>(target, source, count);
        case 2:
            return detail::copy_fixed<2>(target, source, count);
        case 4:
            return detail::copy_fixed<4>(target, source, count);
        case 8:
            return detail::copy_fixed<8>(target, source, count);
        default:
            for (std::size_t index = 0; index < count; ++index)
                std::memcpy(target.first + index * target.stride, source.first + index * source.stride, bytes);
    }
}

inline void fill_channel(TargetChannel target, uint8_t value, std::size_t bytes, std::size_t count) {
    for (std::size_t index = 0; index < count; ++index)
        std::memset(target.first + index * target.stride, value, bytes);
}

}  // namespace qmio::audio
