// What the reading calls answer.
#pragma once

namespace qmio::test {

inline constexpr int kProgressive = 7;
inline constexpr int kTopFieldFirst = 3;
inline constexpr int kBottomFieldFirst = 5;
inline constexpr int kSingleFrame = 1;
inline constexpr int kDecoderError = -6;
inline constexpr int kOtherStream = -5;

// Kinds of packets.
inline constexpr int kVideoPacket = 1;
inline constexpr int kAudioPacket = 2;

}  // namespace qmio::test
