#include "read/number_pictures.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace qmio::read {

namespace {

using Kind = ffmpeg::PacketPicture::Kind;

// A picture's place in the order of showing, as a number of any scale.
struct Shown {
    int64_t order;
    std::size_t place;
};

bool is_shown(const CountedPacket& packet) {
    return packet.picture.kind == Kind::shown;
}

std::size_t first_key(const std::vector<CountedPacket>& packets) {
    const auto found =
        std::find_if(packets.begin(), packets.end(), [](const CountedPacket& packet) { return packet.packet.key; });
    return static_cast<std::size_t>(found - packets.begin());
}

void hide_before_first_key(std::vector<CountedPacket>& packets, AVCodecID codec) {
    const std::size_t key = first_key(packets);
    if (!ffmpeg::begins_with_key(codec) || key == packets.size())
        return;
    for (std::size_t place = 0; place < key; ++place)
        packets[place].picture.kind = Kind::hidden;
}

// The pictures with their orders, by what `order_of` tells; nothing where it does not tell one, or the same twice.
template <class OrderOf>
std::optional<std::vector<Shown>> ordered_by(const std::vector<CountedPacket>& packets, OrderOf&& order_of) {
    std::vector<Shown> shown;
    for (std::size_t place = 0; place < packets.size(); ++place) {
        if (!is_shown(packets[place]))
            continue;
        const std::optional<int64_t> order = order_of(packets[place]);
        if (!order)
            return std::nullopt;
        shown.push_back({*order, place});
    }
    const auto before = [](const Shown& left, const Shown& right) { return left.order < right.order; };
    const auto same = [](const Shown& left, const Shown& right) { return left.order == right.order; };
    std::stable_sort(shown.begin(), shown.end(), before);
    if (std::adjacent_find(shown.begin(), shown.end(), same) != shown.end())
        return std::nullopt;
    return shown;
}

// References wait for the next reference, everything else is shown as it comes. Without pictures of the second kind that
// is the order of decoding.
std::vector<Shown> ordered_by_waiting(const std::vector<CountedPacket>& packets) {
    std::vector<Shown> shown;
    std::optional<std::size_t> waiting;
    const auto show = [&](std::size_t place) { shown.push_back({static_cast<int64_t>(shown.size()), place}); };
    for (std::size_t place = 0; place < packets.size(); ++place) {
        if (!is_shown(packets[place]))
            continue;
        if (packets[place].picture.immediate) {
            show(place);
            continue;
        }
        if (waiting)
            show(*waiting);
        waiting = place;
    }
    if (waiting)
        show(*waiting);
    return shown;
}

// Some files give two pictures the same time.
std::optional<std::vector<Shown>> ordered_by_times(const std::vector<CountedPacket>& packets) {
    return ordered_by(packets, [](const CountedPacket& counted) {
        const int64_t pts = counted.packet.pts;
        return pts != AV_NOPTS_VALUE ? std::optional(pts) : std::nullopt;
    });
}

std::optional<std::vector<Shown>> ordered_by_codec(const std::vector<CountedPacket>& packets) {
    return ordered_by(packets, [](const CountedPacket& counted) { return counted.picture.order; });
}

std::vector<Shown> in_order(const std::vector<CountedPacket>& packets) {
    if (auto shown = ordered_by_times(packets))
        return *std::move(shown);
    if (auto shown = ordered_by_codec(packets))
        return *std::move(shown);
    return ordered_by_waiting(packets);
}

// What is shown before the first key picture, though decoded after it, cannot be decoded where it refers to what would
// lie before that. An edit list that hides the key picture hides those, too.
bool hide_leading(std::vector<CountedPacket>& packets, const std::vector<Shown>& shown) {
    const std::size_t key = first_key(packets);
    bool changed = false;
    if (key == packets.size() || !is_shown(packets[key]))
        return false;
    for (const Shown& picture : shown) {
        if (picture.place == key)
            break;
        ffmpeg::PacketPicture& leading = packets[picture.place].picture;
        if (picture.place > key && leading.refers_before_key) {
            leading.kind = Kind::hidden;
            changed = true;
        }
    }
    return changed;
}

void number_second_fields(std::vector<CountedPacket>& packets) {
    for (std::size_t place = 1; place < packets.size(); ++place)
        if (packets[place].picture.kind == Kind::second_field)
            packets[place].packet.number = packets[place - 1].packet.number;
}

}  // namespace

bool lacks_order(const std::vector<CountedPacket>& packets, AVCodecID codec) {
    const bool codec_tells = codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC;
    return codec_tells && !ordered_by_times(packets) && !ordered_by_codec(packets);
}

std::vector<CountedPictures::Packet> number_pictures(std::vector<CountedPacket> packets, AVCodecID codec) {
    hide_before_first_key(packets, codec);
    std::vector<Shown> shown = in_order(packets);
    if (hide_leading(packets, shown))
        std::erase_if(shown, [&](const Shown& picture) { return !is_shown(packets[picture.place]); });
    for (std::size_t number = 0; number < shown.size(); ++number)
        packets[shown[number].place].packet.number = static_cast<int32_t>(number);
    number_second_fields(packets);
    std::vector<CountedPictures::Packet> numbered;
    numbered.reserve(packets.size());
    for (CountedPacket& counted : packets) {
        counted.packet.shown = is_shown(counted);
        numbered.push_back(counted.packet);
    }
    return numbered;
}

}  // namespace qmio::read
