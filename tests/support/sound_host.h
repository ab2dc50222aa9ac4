// A host of sound: reads packets, has them decoded and keeps what is delivered.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <vector>

#include "support/open_media.h"
#include "support/plain_sound.h"

namespace qmio::test {

// What one call delivered.
struct Piece {
    int stream = -1;
    Bytes bytes;
    bool operator==(const Piece&) const = default;
};

Media open_sound(const std::filesystem::path& path);

// Chooses a track and a form. False when qmio_set_dst_audio fails.
bool choose(const Media& media, int track, const SoundForm& form);

// Everything from where the handle stands, at most `most` pieces. Every call gets a buffer with room for any frame.
std::vector<Piece> read_pieces(const Media& media, std::size_t most = 100000);

// Opens `path`, lets `prepare` choose, and reads everything; then does it once more with buffers that end, at a page
// that nothing may touch, exactly behind what was delivered before, and that held something else before. Both times
// the same has to come out.
using Prepare = std::function<void(const Media&)>;
std::vector<Piece> read_exactly(const std::filesystem::path& path, const Prepare& prepare);

Bytes joined(const std::vector<Piece>& pieces);
std::map<int, Bytes> joined_by_stream(const std::vector<Piece>& pieces);

// One track of a file in one form, as one piece.
Bytes sound_of(const std::filesystem::path& path, int track, const SoundForm& form);

}  // namespace qmio::test
