#include "audio/release.h"

namespace qmio::audio {

void release_resamplers(Sound& sound, Tracks& tracks) {
    sound.swr.reset();
    for (Track& track : tracks) {
        track.swr.reset();
        track.own_swr.reset();
    }
}

void release(Sound& sound, Tracks& tracks) {
    release_resamplers(sound, tracks);
    sound.audio_frame.reset();
    for (Track& track : tracks) {
        track.ring.reset();
        track.frame_buffer.reset();
    }
}

}  // namespace qmio::audio
