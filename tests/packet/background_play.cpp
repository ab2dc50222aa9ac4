#include "packet/background_play.h"

#include <algorithm>
#include <sstream>

#include "packet/background_reader.h"
#include "packet/reader_queue.h"

namespace qmio::test {

Media open_file(std::string_view name) {
    return open_on_one_thread(media_path(std::string(name)));
}

std::vector<Seen> taken(std::string_view file, const packet::Range& range, std::size_t bound) {
    const Media media = open_file(file);
    packet::attach_reader_queue(*media, range);
    std::vector<Seen> all;
    while (all.size() < bound) {
        const packet::Entries entries = media->reader_queue->queue.take();
        if (entries.empty())
            break;
        for (const packet::Entry& entry : entries)
            all.push_back({entry.type, entry.stream, entry.time});
    }
    return all;
}

int64_t any_time(Dice& dice) {
    return dice.up_to(8) == 1 ? -1 : dice.up_to(45) * (dice.up_to(2) == 1 ? 100'000 : 99'991);
}

std::string description(std::string_view file, const packet::Range& range) {
    return std::string(file) + " in " + std::to_string(range.in) + " out " + std::to_string(range.out) + " loop " +
           std::to_string(range.loop_in) + " to " + std::to_string(range.loop_out) + " loops " +
           std::to_string(range.loops);
}

std::string first_difference(const std::vector<Seen>& actual, const std::vector<Seen>& expected) {
    const auto [left, right] = std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end());
    if (left == actual.end() && right == expected.end())
        return {};
    std::ostringstream text;
    text << "entry " << left - actual.begin() << " of " << actual.size() << '/' << expected.size() << ": ";
    if (left != actual.end())
        text << *left;
    if (right != expected.end())
        text << " in place of " << *right;
    return text.str();
}

Played play(Player& player, std::size_t bound) {
    Played played;
    for (int kind = 0; played.kinds.size() < bound;) {
        kind = qmio_get_frame(player.handle());
        played.kinds.push_back(kind);
        if (kind < 0)
            break;
        played.sync_points += kind == QMIO_PACKET_OTHER ? 1 : 0;
        if (kind == QMIO_PACKET_VIDEO)
            if (const Picture picture = player.decode_packet(); picture.result > 1)
                played.pictures.push_back(picture);
        qmio_release_frame(player.handle());
    }
    for (Picture picture = player.drain(); picture.result > 1; picture = player.drain())
        played.pictures.push_back(picture);
    return played;
}

std::vector<uint64_t> hashes(const std::vector<Picture>& pictures, std::size_t first, std::size_t count) {
    std::vector<uint64_t> list;
    for (std::size_t place = first; place < first + count && place < pictures.size(); ++place)
        list.push_back(pictures[place].hash);
    return list;
}

}  // namespace qmio::test
