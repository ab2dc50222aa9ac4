// What a host wants to have read in the background.
#pragma once

#include <cstdint>

namespace qmio::packet {

inline constexpr int32_t kEndless = 2147483647;

// Times in microseconds after the first timestamp of the stream that a packet comes from.
struct Range {
    int64_t in = 0;
    int64_t out = 0;  // negative: to the end of the source
    int64_t loop_in = 0;
    int64_t loop_out = 0;
    int32_t loops = 0;  // passes over what lies between the loop points; kEndless: no end
};

// With points that lie outside moved to where they make sense.
Range clamped(Range range);

}  // namespace qmio::packet
