#include "audio/queued.h"

#include <algorithm>

#include "audio/channels.h"
#include "audio/decode.h"
#include "packet/reader_queue.h"

namespace qmio::audio {

namespace {

using ChannelMap = std::array<int32_t, kMaxUserChannels>;

// The map with the channels of one track alone, which are `count` file channels from `first` on, by their numbers there.
ChannelMap map_of_track(const ChannelMap& map, int32_t first, int32_t count) {
    ChannelMap own;
    std::transform(map.begin(), map.end(), own.begin(), [=](int32_t channel) {
        return channel >= first && channel < first + count ? channel - first : kNotFound;
    });
    return own;
}

// The map of the host, whatever becomes of the decoding.
class KeptMap {
  public:
    explicit KeptMap(Sound& sound) : sound_(sound), map_(sound.chan_map) {}
    KeptMap(const KeptMap&) = delete;
    KeptMap& operator=(const KeptMap&) = delete;
    ~KeptMap() {
        sound_.chan_map = map_;
        sound_.fill_silence = true;
    }
    const ChannelMap& map() const { return map_; }

  private:
    Sound& sound_;
    const ChannelMap map_;
};

}  // namespace

int32_t deliver_queued(MediaHandle& handle, uint8_t* buffer) {
    Sound& sound = handle.sound;
    const KeptMap kept(sound);
    sound.fill_silence = true;
    int32_t longest = 0, number = 0, first = 0;
    for (const packet::Entry& entry : packet::audio_to_decode(handle)) {
        const int32_t count = channels_of(handle.tracks, number++);
        sound.chan_map = map_of_track(kept.map(), first, count);
        first += count;
        if (entry.pkt != nullptr)
            longest = std::max(longest, deliver_packet(handle.tracks, sound, buffer, *entry.pkt));
        sound.fill_silence = false;  // the tracks that follow write their own channels alone
    }
    return longest;
}

}  // namespace qmio::audio
