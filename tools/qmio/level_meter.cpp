#include "level_meter.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

constexpr std::size_t kMostLevels = 1 << 16;

}  // namespace

void Level::take(float value) {
    low = std::min(low, value);
    high = std::max(high, value);
    power += static_cast<double>(value) * value;
    ++samples;
}

void Level::take(const Level& other) {
    low = std::min(low, other.low);
    high = std::max(high, other.high);
    power += other.power;
    samples += other.samples;
}

double Level::peak() const {
    return std::max(-low, high);
}

double Level::rms() const {
    return samples > 0 ? std::sqrt(power / static_cast<double>(samples)) : 0;
}

double decibels(double amplitude) {
    return 20 * std::log10(amplitude);
}

void LevelMeter::take(float value) {
    if (levels_.empty() || levels_.back().samples == samples_) {
        if (levels_.size() == kMostLevels)
            halve();
        levels_.emplace_back();
    }
    levels_.back().take(std::isfinite(value) ? value : 0);
}

Level LevelMeter::whole() const {
    return part(0, 1);
}

Level LevelMeter::part(int part, int parts) const {
    const std::size_t count = levels_.size();
    const std::size_t first = count * static_cast<std::size_t>(part) / static_cast<std::size_t>(parts);
    const std::size_t end = count * static_cast<std::size_t>(part + 1) / static_cast<std::size_t>(parts);
    Level level;
    for (std::size_t index = first; index < std::max(end, first + 1) && index < count; ++index)
        level.take(levels_[index]);
    return level;
}

void LevelMeter::halve() {
    for (std::size_t index = 0; index < kMostLevels / 2; ++index) {
        levels_[index] = levels_[2 * index];
        levels_[index].take(levels_[2 * index + 1]);
    }
    levels_.resize(kMostLevels / 2);
    samples_ *= 2;
}

}  // namespace host
