// Sound by its position in a track.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "core/handle/media_handle.h"
#include "read/sound_form.h"
#include "read/sound_track.h"

namespace qmio::read {

struct PositionedTrack {
    PositionedTrack(const std::shared_ptr<const Request>& request, const Container& owner, const Track& track)
        : sound(request, owner, track) {}

    SoundTrack sound;
    std::unique_ptr<SoundInForm> in_form;  // as the host asked for it last
};

// The tracks that were asked for, each where it stands.
class PositionedSound {
  public:
    std::array<std::unique_ptr<PositionedTrack>, kMaxTracks> tracks;
};

// From a sample on, in the delivered rate.
struct SoundRange {
    int64_t start;
    int samples;
};

// Samples delivered, or a QMIO_SOUND_ code below 0; without a buffer the bytes that it needs.
int read_sound(MediaHandle& handle, int32_t number, const SoundRange& range, uint8_t* buffer, int size);

}  // namespace qmio::read
