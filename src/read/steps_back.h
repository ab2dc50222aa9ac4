// What a host does around the places that it jumps to: one that went back around the last is likely to do it again.
#pragma once

#include <cstdint>

#include "core/handle/video.h"

namespace qmio::read {

class StepsBack {
  public:
    // The host leaves the picture `left`, kNoFrame for none, for another.
    void note(int32_t left, int32_t target);

    // How many pictures before the last jump's target are worth keeping.
    int32_t expected() const { return expected_; }

    // Nearer than that a frame before the one held is a step back, and likely not the last one.
    static bool is_step_back(int32_t left, int32_t target) { return left > target && left - target <= kNear; }

  private:
    static constexpr int32_t kNear = 32;

    int32_t place_ = kNoFrame;  // the last jump's target
    int32_t furthest_ = 0;      // back from it
    int32_t expected_ = 0;
};

}  // namespace qmio::read
