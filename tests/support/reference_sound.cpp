// reference_sound TRACK FORMAT BYTES_PER_SAMPLE CHANNELS RATE
//   Reads raw interleaved sound, as the ffmpeg program decoded it, from standard input and writes one line to standard
//   output: track, sample format, channels, rate, samples, hash, and the hashes on the way, the first of them behind
//   the number of samples from one to the next. What is longer than kComparedSeconds is cut there.
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "support/sound_hash.h"

namespace {

constexpr std::size_t kMostValues = 2048;

void hash_input(qmio::test::SoundHash& hash, std::size_t frame_bytes, std::size_t most_samples) {
    std::vector<uint8_t> block(frame_bytes * 256);
    while (hash.samples() < most_samples) {
        const std::size_t wanted = frame_bytes * (most_samples - hash.samples());
        const std::size_t got = std::fread(block.data(), 1, wanted < block.size() ? wanted : block.size(), stdin);
        if (got == 0)
            return;
        hash.add(block.data(), got);
        if (hash.values().size() > kMostValues)
            hash.thin();
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 6) {
        std::fprintf(stderr, "usage: reference_sound TRACK FORMAT BYTES_PER_SAMPLE CHANNELS RATE\n");
        return 2;
    }
    const std::size_t frame_bytes = std::strtoul(argv[3], nullptr, 10) * std::strtoul(argv[4], nullptr, 10);
    const std::size_t rate = std::strtoul(argv[5], nullptr, 10);
    if (frame_bytes == 0)
        return 2;
    qmio::test::SoundHash hash(frame_bytes);
    hash_input(hash, frame_bytes, rate * qmio::test::kComparedSeconds);
    if (!hash.is_whole())
        return 1;  // a rest means that format or channels are not what was decoded
    std::printf("%s %s %s %s %zu %016" PRIx64 " %zu", argv[1], argv[2], argv[4], argv[5], hash.samples(), hash.value(),
                hash.step());
    for (const uint64_t value : hash.values())
        std::printf(" %016" PRIx64, value);
    std::printf("\n");
    return hash.samples() > 0 ? 0 : 1;
}
