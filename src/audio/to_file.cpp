// The host's sound into the form of a track that is being written.
#include <algorithm>
#include <cstring>
#include <limits>

#include "audio/channels.h"
#include "audio/planes.h"
#include "audio/sample_formats.h"
#include "core/handle/entry.h"
#include "core/process/trace.h"
#include "qmio.h"

namespace qmio::audio {
namespace {

constexpr const wchar_t* kTag = L"qmio_resample_track";

void trace_planes(const char* side, const ffmpeg::SoundForm& form, int count) {
    if (!tracing(TraceSwitch::audio))
        return;
    if (av_sample_fmt_is_planar(form.format) == 0)
        return trace(TraceSwitch::audio, kTag, L"%S packed\n", side);
    for (int plane = 0; plane < form.channels; ++plane)
        trace(TraceSwitch::audio, kTag, L"%S plane %d: plane_size %d\n", side, plane,
              static_cast<int>(plane_size(form.format, count)));
}

void trace_conversion(const ffmpeg::SoundForm& user, int input, const ffmpeg::SoundForm& file, int output) {
    trace(TraceSwitch::audio, kTag, L"resample %d ch (%S) %d Hz %d samples ->  %d ch (%S) %d Hz %d samples\n",
          user.channels, av_get_sample_fmt_name(user.format), user.rate, input, file.channels,
          av_get_sample_fmt_name(file.format), file.rate, output);
}

// Samples that hosts have room for: those that come in times the ratio of the rates, and 256 more, of which some are
// left to libswresample, whose vectors end a little behind their plane. What it holds back may come to more at very high
// ratios; it stays inside then, and the next call begins with it.
int room_for(int input, const ffmpeg::SoundForm& user, const ffmpeg::SoundForm& file) {
    constexpr int64_t kMore = 256 - 32;
    const int64_t room = int64_t{input} * file.rate / std::max(user.rate, 1) + kMore;
    return static_cast<int>(std::min<int64_t>(room, std::numeric_limits<int>::max()));
}

// Fewer samples came out than the planes were laid out for.
void close_gaps(Planes& planes, const ffmpeg::SoundForm& form, int expected, int converted) {
    if (av_sample_fmt_is_planar(form.format) == 0 || converted == expected)
        return;
    const std::size_t size = plane_size(form.format, converted);
    for (int plane = 1; plane < form.channels && plane < kMaxPlanes; ++plane)
        std::memmove(planes[0] + size * static_cast<std::size_t>(plane), planes[static_cast<std::size_t>(plane)], size);
}

// The one made when the host chose fits the track that was current then; a track of another form gets one of its own.
ffmpeg::Resampler* resampler_for(Track& track, Sound& sound) {
    const ffmpeg::SoundForm file = ffmpeg::form_of(*track.codec);
    if (file == sound.swr.to())
        return &sound.swr;
    ffmpeg::Resampler& own = track.swr;
    if (own.from() != sound.swr.from() || own.to() != file) {
        own.prepare(sound.swr.from(), file);
        own.init();
    }
    return own ? &own : nullptr;
}

int32_t convert(ffmpeg::Resampler& resampler, uint8_t* target, const uint8_t* source, int32_t source_bytes) {
    constexpr int32_t kFailed = 0;
    const ffmpeg::SoundForm& user = resampler.from();
    const ffmpeg::SoundForm& file = resampler.to();
    const int input = source_bytes / static_cast<int>(block_size(user, 1));
    const int output = std::min(resampler.expected(input, user.rate), room_for(input, user, file));
    if (block_size(file, output) > static_cast<std::size_t>(std::numeric_limits<int32_t>::max()))
        return kFailed;
    Planes to;
    Planes from;
    find_planes(to, target, file, output);
    trace_planes("dst", file, output);
    find_planes(from, const_cast<uint8_t*>(source), user, input);
    trace_planes("src", user, input);
    trace_conversion(user, input, file, output);
    const int converted = resampler.convert(to.data(), output, from.data(), input);
    if (converted < 0) {
        report(kTag, L"swr_convert error\n");
        return kFailed;
    }
    close_gaps(to, file, output, converted);
    trace(TraceSwitch::audio, kTag, L"done %d samples\n", converted);
    return static_cast<int32_t>(block_size(file, converted));
}

int32_t resample_track(MediaHandle& handle, int32_t number, uint8_t* target, const uint8_t* source,
                       int32_t source_bytes) {
    Sound& sound = handle.sound;
    if (target == nullptr || source == nullptr || source_bytes < 1)
        return 0;
    if (!sound.need_resample || !sound.swr) {
        std::memmove(target, source, static_cast<std::size_t>(source_bytes));
        return source_bytes;
    }
    // A reader's resampler leads the other way.
    Track* const track = handle.tracks.find(number);
    if (!is_writer(handle) || track == nullptr || track->codec == nullptr)
        return 0;
    ffmpeg::Resampler* const resampler = resampler_for(*track, sound);
    return resampler != nullptr ? convert(*resampler, target, source, source_bytes) : 0;
}

}  // namespace
}  // namespace qmio::audio

using namespace qmio;

int qmio_resample_track(MediaHandle* h, int track, void* dst, const void* src, int src_bytes) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) {
        return audio::resample_track(handle, track, static_cast<uint8_t*>(dst), static_cast<const uint8_t*>(src),
                                     src_bytes);
    });
}
