#include "read/steps_back.h"

#include <algorithm>

namespace qmio::read {

void StepsBack::note(int32_t left, int32_t target) {
    const bool stays = left != kNoFrame && (is_step_back(left, target) || is_step_back(target, left) || left == target);
    if (stays && place_ != kNoFrame) {
        furthest_ = std::clamp(place_ - target, furthest_, kNear);
        return;
    }
    expected_ = furthest_;
    furthest_ = 0;
    place_ = target;
}

}  // namespace qmio::read
