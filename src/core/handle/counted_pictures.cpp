#include "core/handle/counted_pictures.h"

#include <algorithm>
#include <utility>

namespace qmio {

namespace {

constexpr int64_t kUnnamed = AV_NOPTS_VALUE;

}  // namespace

CountedPictures::CountedPictures(std::vector<Packet> packets) : packets_(std::move(packets)) {
    for (const Packet& packet : packets_)
        if (packet.shown)
            pictures_.resize(std::max(pictures_.size(), static_cast<std::size_t>(packet.number) + 1));
    for (std::size_t place = 0; place < packets_.size(); ++place)
        if (packets_[place].shown)
            pictures_[static_cast<std::size_t>(packets_[place].number)] = static_cast<int32_t>(place);
    for (std::size_t kind = 0; kind < kNames; ++kind)
        enter_names(static_cast<Name>(kind));
}

int64_t CountedPictures::name(const Packet& packet, Name kind) {
    if (kind == kPosition)
        return packet.position >= 0 ? packet.position : kUnnamed;
    return kind == kPts ? packet.pts : packet.dts;
}

void CountedPictures::enter_names(Name kind) {
    std::vector<Entry> entries;
    entries.reserve(packets_.size());
    for (const Packet& packet : packets_)
        entries.push_back({name(packet, kind), static_cast<int32_t>(entries.size())});
    const auto before = [](const Entry& left, const Entry& right) { return left.value < right.value; };
    const auto same = [](const Entry& left, const Entry& right) { return left.value == right.value; };
    if (!std::is_sorted(entries.begin(), entries.end(), before))
        std::sort(entries.begin(), entries.end(), before);
    // What is unknown is the smallest value.
    const bool complete = !entries.empty() && entries.front().value != kUnnamed;
    if (complete && std::adjacent_find(entries.begin(), entries.end(), same) == entries.end())
        names_[kind] = std::move(entries);
}

int32_t CountedPictures::find(const AVPacket& packet) const {
    const Packet looked_for{.pts = packet.pts, .dts = packet.dts, .position = packet.pos};
    for (std::size_t kind = 0; kind < kNames; ++kind) {
        const int64_t value = name(looked_for, static_cast<Name>(kind));
        const std::vector<Entry>& entries = names_[kind];
        const auto found = std::lower_bound(entries.begin(), entries.end(), value,
                                            [](const Entry& entry, int64_t wanted) { return entry.value < wanted; });
        if (found != entries.end() && found->value == value)
            return found->place;
    }
    return kNone;
}

int32_t CountedPictures::number_of(const AVPacket& packet) const {
    const int32_t place = find(packet);
    return place != kNone ? packets_[static_cast<std::size_t>(place)].number : kNone;
}

int32_t CountedPictures::place_of(int32_t number) const {
    return pictures_[static_cast<std::size_t>(std::clamp(number, 0, count() - 1))];
}

// A key packet that is decoded before the picture but shown after it is no beginning: the picture refers to earlier ones.
const CountedPictures::Packet& CountedPictures::key_before(int32_t number) const {
    for (int32_t place = place_of(number); place > 0; --place)
        if (packet(place).key && packet(place).number <= number)
            return packet(place);
    return packets_.front();
}

}  // namespace qmio
