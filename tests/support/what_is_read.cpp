#include "support/what_is_read.h"

#include <algorithm>

namespace qmio::test {

namespace {

constexpr std::size_t kMostPictures = 400;
constexpr int kMostPackets = 4000;

std::vector<int64_t> numbers_of(const Media& media) {
    std::vector<int64_t> numbers;
    for (const char* key : {"width", "height", "frames", "nvideo", "naudio", "video", "audio", "sample_rate",
                            "sample_fmt_id", "channels", "pix", "start"})
        numbers.push_back(file_param(media, key));
    return numbers;
}

uint64_t hash_of(const Bytes& bytes) {
    uint64_t value = 0xCBF29CE484222325U;
    for (const uint8_t byte : bytes)
        value = (value ^ byte) * 0x100000001B3U;
    return value;
}

std::vector<uint64_t> sought_pictures(const Media& media) {
    std::vector<uint64_t> all;
    const auto count = static_cast<int>(std::clamp<int64_t>(file_param(media, "frames"), 1, 1000));
    for (const int frame : {count / 2, count - 1, 0, count / 3, 1}) {
        all.push_back(static_cast<uint64_t>(qmio_seek_frame(media.get(), frame)));
        const Delivered picture = next_picture(media);
        all.push_back(static_cast<uint64_t>(picture.result));
        all.push_back(hash_of(picture.pixels));
    }
    return all;
}

Bytes sound_from_here(const Media& media, int most_packets) {
    Bytes all;
    Bytes buffer(std::size_t{8} << 20);
    for (int kind = 0; most_packets > 0 && (kind = qmio_get_frame(media.get())) >= 0; --most_packets) {
        for (int bytes = 1; kind == QMIO_PACKET_AUDIO && bytes > 0;) {
            bytes = qmio_audio_frame(media.get(), buffer.data());
            all.insert(all.end(), buffer.begin(), buffer.begin() + bytes);
        }
        qmio_release_frame(media.get());
    }
    return all;
}

}  // namespace

std::vector<uint64_t> pictures_in_order(const Media& media) {
    std::vector<uint64_t> all;
    for (const Bytes& picture : all_pictures(media, kMostPictures))
        all.push_back(hash_of(picture));
    return all;
}

WhatIsRead what_is_read(const Media& media) {
    WhatIsRead all;
    if (media == nullptr)
        return all;
    all.numbers = numbers_of(media);
    if (file_param(media, "nvideo") > 0 && file_param(media, "width") > 0) {
        all.pictures = pictures_in_order(media);
        all.sought = sought_pictures(media);
    }
    if (file_param(media, "naudio") < 1)
        return all;
    qmio_set_track(media.get(), -1);
    qmio_seek_ts(media.get(), 0, QMIO_PACKET_AUDIO);
    all.sound = sound_from_here(media, kMostPackets);
    for (const int64_t time : {10000, 100, 40000}) {
        all.moved.push_back(static_cast<uint64_t>(qmio_seek_ts(media.get(), time, QMIO_PACKET_AUDIO)));
        all.moved.push_back(hash_of(sound_from_here(media, 40)));
    }
    return all;
}

}  // namespace qmio::test
