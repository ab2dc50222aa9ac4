#include "audio/deliver.h"

#include <algorithm>
#include <limits>

#include "audio/channels.h"
#include "audio/copy_samples.h"
#include "audio/planes.h"
#include "audio/sample_formats.h"
#include "core/process/trace.h"
#include "core/process/why.h"

namespace qmio::audio {

namespace {

constexpr const wchar_t* kTag = L"qmio_audio_pkt";

// Samples wherever they lie, decoded or resampled.
struct Samples {
    const uint8_t* const* planes;
    bool planar;
    int32_t channels;
    std::size_t bytes;  // of one sample
    std::size_t count;  // per channel

    SourceChannel channel(int32_t index) const {
        const std::size_t place = static_cast<std::size_t>(index);
        if (planar)
            return {planes[place], bytes};
        return {planes[0] + place * bytes, bytes * static_cast<std::size_t>(channels)};
    }
};

Samples samples_of(const uint8_t* const* planes, const ffmpeg::SoundForm& form, int count) {
    return {planes, av_sample_fmt_is_planar(form.format) != 0, form.channels,
            static_cast<std::size_t>(sample_bytes(form.format)), static_cast<std::size_t>(std::max(count, 0))};
}

// The host's side of one delivery.
struct Delivery {
    uint8_t* buffer;
    int32_t channels;
    std::size_t bytes;  // of one sample
    int32_t file_channels;
};

// ---- resampling ----

// The one built for the host's choice reads frames of the form that it was built for. A stream whose form changes on
// its way, and a packet of a track that was not selected, gets one of its own.
ffmpeg::Resampler* resampler_for(Track& track, Sound& sound, const ffmpeg::SoundForm& form) {
    ffmpeg::Resampler& usual = sound.cur_track < 0 ? track.swr : sound.swr;
    if (form == track.file && (!usual || usual.reads(form)))
        return usual ? &usual : nullptr;
    const ffmpeg::SoundForm target{delivered_channels(sound, track), sound.user.format, sound.user.rate};
    ffmpeg::Resampler& own = track.own_swr;
    // Where there is none for this pair of forms it is not tried again at every frame.
    if (own.from() != form || own.to() != target) {
        own.prepare(form, target);
        own.init();
    }
    return own ? &own : nullptr;
}

// Converts the frame into the host's buffer, which takes all that comes out, or where that is null into the track's, and
// points `samples` there. False after a conversion error.
bool resample(Track& track, ffmpeg::Resampler& resampler, uint8_t* host, Planes& planes, Samples& samples) {
    const int count = static_cast<int>(samples.count);
    const int capacity = resampler.expected(count, track.codec->sample_rate);
    const std::size_t size = std::max<std::size_t>(block_size(resampler.to(), capacity), kTrackBufferSize);
    uint8_t* const block = host != nullptr ? host : track.buffer.at_least(size);
    if (block == nullptr)
        return false;
    find_planes(planes, block, resampler.to(), capacity);
    trace(TraceSwitch::audio, kTag, L"resample %d samples -> %d samples\n", count, capacity);
    const int converted = resampler.convert(planes.data(), capacity, samples.planes, count);
    if (converted < 0) {
        report(kTag, L"swr_convert error\n");
        why::failed(converted, "the sound cannot be converted");
        return false;
    }
    trace(TraceSwitch::audio, kTag, L"swr_convert %d samples\n", converted);
    samples = samples_of(planes.data(), resampler.to(), converted);
    return true;
}

// ---- into the host's buffer ----

// A sample of another size than the host's comes only from sound that could not be converted: what fits is copied.
void copy_unconverted(TargetChannel target, SourceChannel source, std::size_t bytes, const Samples& samples) {
    fill_channel(target, 0, bytes, samples.count);
    copy_channel(target, source, samples.bytes, samples.count);
}

void copy_or_fill(TargetChannel target, const Delivery& delivery, const Samples& samples, int32_t source) {
    if (source >= samples.channels)
        fill_channel(target, silence_byte(static_cast<int>(delivery.bytes)), delivery.bytes, samples.count);
    else if (samples.bytes < delivery.bytes)
        copy_unconverted(target, samples.channel(source), delivery.bytes, samples);
    else
        copy_channel(target, samples.channel(source), delivery.bytes, samples.count);
}

// The map is not asked: planes come in the order of the file.
void deliver_planes(const Delivery& delivery, const Samples& samples) {
    const std::size_t plane = delivery.bytes * samples.count;
    for (int32_t channel = 0; channel < delivery.channels; ++channel)
        copy_or_fill({delivery.buffer + plane * static_cast<std::size_t>(channel), delivery.bytes}, delivery, samples,
                     channel);
}

// Which of the samples' channels goes to a channel of the host; negative: none.
int32_t source_of(const Sound& sound, const Delivery& delivery, const Samples& samples, int32_t channel) {
    const int32_t mapped = sound.cur_track >= 0 ? mapped_channel(sound, channel) : channel;
    // The first channel for all that the file does not have, also where resampling made more of them: a host that asks
    // 5.1 of a stereo file hears its left channel in the four others.
    return mapped >= std::min(delivery.file_channels, samples.channels) ? 0 : mapped;
}

void deliver_interleaved(const Sound& sound, const Delivery& delivery, const Samples& samples) {
    const std::size_t stride = delivery.bytes * static_cast<std::size_t>(delivery.channels);
    for (int32_t channel = 0; channel < delivery.channels; ++channel) {
        const TargetChannel target{delivery.buffer + delivery.bytes * static_cast<std::size_t>(channel), stride};
        const int32_t source = source_of(sound, delivery, samples, channel);
        if (source >= 0)
            copy_or_fill(target, delivery, samples, source);
        else if (sound.fill_silence)
            fill_channel(target, silence_byte(static_cast<int>(delivery.bytes)), delivery.bytes, samples.count);
    }
}

bool is_plain_copy(const Sound& sound, const Delivery& delivery, const Samples& samples) {
    if (samples.planar || samples.bytes != delivery.bytes || samples.channels != delivery.channels)
        return false;
    for (int32_t channel = 0; channel < delivery.channels; ++channel)
        if (source_of(sound, delivery, samples, channel) != channel)
            return false;
    return true;
}

int32_t deliver_samples(const Sound& sound, const Delivery& delivery, const Samples& samples) {
    const std::size_t size = delivery.bytes * samples.count * static_cast<std::size_t>(std::max(delivery.channels, 0));
    if (size == 0 || samples.bytes == 0 || size > std::numeric_limits<int32_t>::max())
        return 0;
    if (samples.planes[0] == delivery.buffer)
        return static_cast<int32_t>(size);
    if (av_sample_fmt_is_planar(sound.user.format) != 0)
        deliver_planes(delivery, samples);
    else if (is_plain_copy(sound, delivery, samples))
        std::memcpy(delivery.buffer, samples.planes[0], size);
    else
        deliver_interleaved(sound, delivery, samples);
    return static_cast<int32_t>(size);
}

}  // namespace

int32_t delivered_channels(const Sound& sound, const Track& track) {
    return sound.cur_track < 0 ? track.file.channels : sound.user.channels;
}

std::optional<int32_t> deliver_frame(Track& track, Sound& sound, uint8_t* buffer) {
    const AVFrame& frame = *sound.audio_frame;
    const ffmpeg::SoundForm form = ffmpeg::form_of(frame);
    Planes planes;
    Samples samples = samples_of(frame.extended_data, form, frame.nb_samples);
    const Delivery delivery{buffer, delivered_channels(sound, track),
                            static_cast<std::size_t>(sample_bytes(sound.user.format)), form.channels};
    ffmpeg::Resampler* const resampler = resampler_for(track, sound, form);
    if (resampler != nullptr) {
        const bool is_direct = is_plain_copy(sound, delivery, samples_of(nullptr, resampler->to(), 0));
        if (!resample(track, *resampler, is_direct ? buffer : nullptr, planes, samples))
            return std::nullopt;
    }
    return deliver_samples(sound, delivery, samples);
}

std::wstring map_text(const Sound& sound, int32_t channels) {
    std::wstring text = L"mapping ";
    for (int32_t channel = 0; channel < std::min<int32_t>(channels, kMaxUserChannels); ++channel)
        text += std::to_wstring(mapped_channel(sound, channel)) + L' ';
    return text + L'\n';
}

}  // namespace qmio::audio
