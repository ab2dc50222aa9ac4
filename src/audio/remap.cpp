// One track's samples scattered into the host's frames, by the channel map or at the track's flat place. Both sides are
// interleaved.
#include <algorithm>

#include "audio/channels.h"
#include "audio/copy_samples.h"
#include "audio/sample_formats.h"
#include "core/handle/entry.h"
#include "qmio.h"

namespace qmio::audio {
namespace {

// What both routines know of a track's samples and the host's.
struct Scatter {
    std::size_t bytes;  // of one sample
    std::size_t source_frame;
    std::size_t target_frame;
    std::size_t count;
};

Scatter scatter_of(const Sound& sound, const Tracks& tracks, int32_t track, int32_t samples) {
    const std::size_t bytes = static_cast<std::size_t>(sample_bytes(sound.user.format));
    return {bytes, bytes * static_cast<std::size_t>(std::max(channels_of(tracks, track), 0)),
            bytes * static_cast<std::size_t>(std::max(sound.user.channels, 0)), static_cast<std::size_t>(samples)};
}

int32_t scatter_by_map(const MediaHandle& handle, uint8_t* target, const uint8_t* source, int32_t samples,
                       int32_t track) {
    const Scatter scatter = scatter_of(handle.sound, handle.tracks, track, samples);
    for (int32_t channel = 0; channel < handle.sound.user.channels; ++channel) {
        const TargetChannel to{target + scatter.bytes * static_cast<std::size_t>(channel), scatter.target_frame};
        const int32_t feeding = mapped_channel(handle.sound, channel);
        if (feeding < 0) {
            // Zeros for 8-bit samples, too, where delivery fills in their middle: a host hears the difference.
            fill_channel(to, 0, scatter.bytes, scatter.count);
            continue;
        }
        const int32_t place = to_track_channel(handle.tracks, feeding);
        if (track_of(place) == track)
            copy_channel(to,
                         {source + scatter.bytes * static_cast<std::size_t>(channel_of(place)), scatter.source_frame},
                         scatter.bytes, scatter.count);
    }
    return samples;
}

int32_t scatter_at_flat_place(const MediaHandle& handle, uint8_t* target, const uint8_t* source, int32_t samples,
                              int32_t track) {
    const int32_t first = to_file_channel(handle.tracks, track_channel(track, 0));
    if (first < 0 || first >= handle.sound.user.channels)
        return 0;
    if (samples < 1)
        return samples;
    // A track that reaches past the host's last channel is not clipped: it runs on into the host's next frame, over what
    // earlier tracks put there, and at the end past the last frame, where hosts leave room.
    const Scatter scatter = scatter_of(handle.sound, handle.tracks, track, samples);
    target += scatter.bytes * static_cast<std::size_t>(first);
    for (std::size_t index = 0; index < scatter.count; ++index)
        std::memcpy(target + index * scatter.target_frame, source + index * scatter.source_frame, scatter.source_frame);
    return samples;
}

}  // namespace
}  // namespace qmio::audio

using namespace qmio;

int qmio_audio_remap(MediaHandle* h, void* dst, const void* src, int samples, int track) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) {
        if (samples < 1)
            return samples;
        if (dst == nullptr || src == nullptr || !audio::is_track(track))
            return 0;
        return audio::scatter_by_map(handle, static_cast<uint8_t*>(dst), static_cast<const uint8_t*>(src), samples,
                                     track);
    });
}

int qmio_remap_audio(MediaHandle* h, void* dst, const void* src, int samples, int track) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) {
        if (!audio::is_track(track) || (samples > 0 && (dst == nullptr || src == nullptr)))
            return 0;
        return audio::scatter_at_flat_place(handle, static_cast<uint8_t*>(dst), static_cast<const uint8_t*>(src),
                                            samples, track);
    });
}
