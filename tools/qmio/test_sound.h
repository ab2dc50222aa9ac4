// Sound that can be told apart by looking at it: another kind for each channel, with changes of level.
#pragma once

namespace host {

// The sample of a channel at a time in seconds, from -1 to 1. The channels of a track in turn are:
//   a tone of 220 x (track + 2) Hz whose level steps down by 6 dB every quarter of a second, four steps over and over
//   a sweep from 100 to 2000 Hz over two seconds, swelling and fading
//   two pulses a second of 1000 x (track + 1) Hz, each dying away within a tenth of a second
//   two tones 2 Hz apart, which beat
double test_sound(int track, int channel, double seconds);

}  // namespace host
