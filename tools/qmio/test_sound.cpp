#include "test_sound.h"

#include <cmath>
#include <numbers>

namespace host {

namespace {

double sine(double cycles) {
    return std::sin(2 * std::numbers::pi * cycles);
}

double stairs(double frequency, double seconds) {
    constexpr double step = 0.25;
    constexpr double steps = 4;
    const double stair = std::floor(std::fmod(seconds / step, steps));
    return 0.5 * std::pow(0.5, stair) * sine(frequency * seconds);
}

double sweep(double seconds) {
    constexpr double length = 2, low = 100, high = 2000;
    const double time = std::fmod(seconds, length);
    const double swell = 1 - std::abs(2 * time / length - 1);
    return 0.6 * swell * sine(low * time + (high - low) * time * time / (2 * length));
}

double pulses(double frequency, double seconds) {
    const double time = std::fmod(seconds, 0.5);
    return time < 0.1 ? 0.8 * std::exp(-40 * time) * sine(frequency * time) : 0;
}

double beating(double frequency, double seconds) {
    return 0.3 * (sine(frequency * seconds) + sine((frequency + 2) * seconds));
}

}  // namespace

double test_sound(int track, int channel, double seconds) {
    const double frequency = 220.0 * (track + 2);
    switch (channel % 4) {
        case 0:
            return stairs(frequency, seconds);
        case 1:
            return sweep(seconds);
        case 2:
            return pulses(1000.0 * (track + 1), seconds);
        default:
            return beating(frequency, seconds);
    }
}

}  // namespace host
