#include "support/sound_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "support/guarded_memory.h"

namespace qmio::test {

namespace {

constexpr std::size_t kRoom = std::size_t{64} << 20;
constexpr int kAudioKind = 2;

// Calls `deliver` for every audio packet until it gives nothing more.
template <class Deliver>
void for_each_packet(const Media& media, Deliver deliver) {
    for (int kind = qmio_get_frame(media.get()); kind >= 0; kind = qmio_get_frame(media.get())) {
        while (kind == kAudioKind && deliver()) {
        }
        qmio_release_frame(media.get());
    }
}

std::vector<Piece> read_into_exact_buffers(const Media& media, const std::vector<Piece>& before) {
    std::size_t largest = 1;
    for (const Piece& piece : before)
        largest = std::max(largest, piece.bytes.size());
    const GuardedMemory memory(largest);
    std::vector<Piece> pieces;
    for_each_packet(media, [&] {
        // A call that delivers nothing writes nothing: its buffer begins where the page that nothing may touch does.
        std::size_t size = 0;
        const int stream = qmio_get_astream(media.get());
        if (pieces.size() < before.size() && before[pieces.size()].stream == stream)
            size = before[pieces.size()].bytes.size();
        uint8_t* const buffer = memory.at_end(size);
        std::memset(buffer, 0xA5, size);
        const int result = qmio_audio_frame(media.get(), buffer);
        if (result > 0)
            pieces.push_back({stream, Bytes(buffer, buffer + result)});
        return result > 0;
    });
    return pieces;
}

}  // namespace

Media open_sound(const std::filesystem::path& path) {
    return open_on_one_thread(path);
}

bool choose(const Media& media, int track, const SoundForm& form) {
    qmio_set_track(media.get(), track);
    return qmio_set_dst_audio(media.get(), form.channels, form.rate, code_of(form.format)) == 1;
}

std::vector<Piece> read_pieces(const Media& media, std::size_t most) {
    const GuardedMemory memory(kRoom);
    std::vector<Piece> pieces;
    for_each_packet(media, [&] {
        const int result = pieces.size() < most ? qmio_audio_frame(media.get(), memory.at_start()) : 0;
        if (result > 0)
            pieces.push_back({qmio_get_astream(media.get()), Bytes(memory.at_start(), memory.at_start() + result)});
        return result > 0;
    });
    return pieces;
}

std::vector<Piece> read_exactly(const std::filesystem::path& path, const Prepare& prepare) {
    const Media first = open_sound(path);
    if (!first)
        return {};
    prepare(first);
    const std::vector<Piece> pieces = read_pieces(first);
    const Media second = open_sound(path);
    prepare(second);
    EXPECT_TRUE(read_into_exact_buffers(second, pieces) == pieces) << "bytes of the buffer were not written";
    return pieces;
}

Bytes joined(const std::vector<Piece>& pieces) {
    Bytes all;
    for (const Piece& piece : pieces)
        all.insert(all.end(), piece.bytes.begin(), piece.bytes.end());
    return all;
}

std::map<int, Bytes> joined_by_stream(const std::vector<Piece>& pieces) {
    std::map<int, Bytes> all;
    for (const Piece& piece : pieces)
        all[piece.stream].insert(all[piece.stream].end(), piece.bytes.begin(), piece.bytes.end());
    return all;
}

Bytes sound_of(const std::filesystem::path& path, int track, const SoundForm& form) {
    return joined(read_exactly(path, [&](const Media& media) { EXPECT_TRUE(choose(media, track, form)); }));
}

}  // namespace qmio::test
