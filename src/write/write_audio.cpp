#include "write/write_audio.h"

#include <algorithm>
#include <iterator>

#include "audio/sample_formats.h"
#include "core/handle/entry.h"
#include "core/process/trace.h"
#include "core/process/why.h"
#include "qmio.h"
#include "write/packet_out.h"

namespace qmio::write {

namespace {

constexpr const wchar_t* kTag = L"qmio_write_track";

// One call for one track.
struct TrackWrite {
    Container& container;
    Writing& writing;
    Track& track;
    int number;
    const uint8_t* data;
    int32_t bytes;
    int32_t sample_bytes = 0;
    int32_t block = 0;    // bytes of one sample of every channel
    int32_t samples = 0;  // per channel

    bool is_variable() const { return (track.codec->codec->capabilities & AV_CODEC_CAP_VARIABLE_FRAME_SIZE) != 0; }
};

constexpr int32_t kDone = 0;  // otherwise one of QMIO_TRACK_*

// What was refused before anything of FFmpeg's could fail.
struct Refusal {
    int32_t result;
    const char* reason;
};
constexpr Refusal kRefusals[] = {
    {QMIO_TRACK_NO_TRACK, "there is no such track"},
    {QMIO_TRACK_NO_STREAM_INDEX, "its encoder is not known"},
    {QMIO_TRACK_NO_CODEC, "it has no encoder"},
    {QMIO_TRACK_NO_ENCODER, "its packets are copied"},
    {QMIO_TRACK_NO_FORM, "its channels or sample format are not known"},
    {QMIO_TRACK_NO_RING, "its frames are above 192,000 bytes"},
    {QMIO_TRACK_NO_BUFFER, "its frames have no room"},
    {QMIO_TRACK_NO_DATA, "there is no sound"},
};

int32_t check_track(const Track* track) {
    if (track == nullptr)
        return QMIO_TRACK_NO_TRACK;
    if (track->stream_index == -1)
        return QMIO_TRACK_NO_STREAM_INDEX;
    if (track->codec == nullptr)
        return QMIO_TRACK_NO_CODEC;
    if (track->coder == nullptr)
        return QMIO_TRACK_NO_ENCODER;
    return track->stream != nullptr ? kDone : QMIO_TRACK_NO_STREAM;
}

int32_t measure(TrackWrite& write) {
    const ffmpeg::SoundForm& form = write.track.file;
    write.sample_bytes = audio::sample_bytes(form.format);
    write.block = write.sample_bytes * form.channels;
    trace(TraceSwitch::audio, kTag, L"var %d, track %d, chans %d, bytes per sample %d, block %d\n",
          write.is_variable() ? AV_CODEC_CAP_VARIABLE_FRAME_SIZE : 0, write.number, form.channels, write.sample_bytes,
          write.block);
    if (write.block < 1)
        return QMIO_TRACK_NO_FORM;
    write.samples = write.bytes / write.block;
    return kDone;
}

// Points the work frame at `samples` samples. Returns what avcodec_fill_audio_frame returns.
int fill_frame(TrackWrite& write, const uint8_t* data, int32_t bytes, int32_t samples) {
    AVFrame& frame = *write.writing.audio_frame;
    const AVCodecContext& codec = *write.track.codec;
    frame.nb_samples = samples;
    frame.format = codec.sample_fmt;
    frame.sample_rate = codec.sample_rate;
    if (av_channel_layout_copy(&frame.ch_layout, &codec.ch_layout) < 0)
        return AVERROR(ENOMEM);
    frame.pts = write.track.pts;
    write.track.pts += samples;
    // Planes follow one another without gaps: any other alignment than 1 would refuse them where they do not end on it.
    return avcodec_fill_audio_frame(&frame, codec.ch_layout.nb_channels, codec.sample_fmt, data, bytes, 1);
}

void rescale(AVPacket& packet, AVRational from, AVRational to, bool is_variable) {
    if (!is_variable)
        return av_packet_rescale_ts(&packet, from, to);
    if (packet.pts != AV_NOPTS_VALUE)
        packet.pts = av_rescale_q(packet.pts, from, to);
    if (packet.dts != AV_NOPTS_VALUE)
        packet.dts = av_rescale_q(packet.dts, from, to);
    // Only the low 32 bits of the length, as files of hosts that write very long packets have it.
    if (packet.duration > 0)
        packet.duration = static_cast<int32_t>(av_rescale_q(packet.duration, from, to));
}

void put(TrackWrite& write, AVPacket& packet) {
    const AVStream& stream = *write.track.stream;
    rescale(packet, write.track.codec->time_base, stream.time_base, write.is_variable());
    packet.stream_index = stream.index;
    write_packet(write.container, write.writing, packet);
    av_packet_unref(&packet);
}

// Encodes the work frame and writes every packet that comes out.
int32_t encode_and_put(TrackWrite& write) {
    Writing& writing = write.writing;
    ffmpeg::Encoder& encoder = write.track.encoder;
    bool got = false;
    const int result = encoder.encode(writing.packet.get(), got, writing.audio_frame.get());
    av_frame_unref(writing.audio_frame.get());
    if (note_error(writing, result) < 0)
        why::failed(result, "the sound cannot be encoded");
    for (bool more = got; more; more = encoder.take_kept(writing.packet.get()))
        put(write, *writing.packet);
    return result < 0 ? QMIO_TRACK_ENCODE_FAILED : kDone;
}

int32_t write_frame(TrackWrite& write, const uint8_t* data, int32_t bytes, int32_t samples) {
    const int filled = fill_frame(write, data, bytes, samples);
    if (filled < 0) {
        why::failed(filled, "less than one sample");
        av_frame_unref(write.writing.audio_frame.get());
        return QMIO_TRACK_FILL_FAILED;
    }
    const int32_t encoded = encode_and_put(write);
    return encoded == kDone ? filled : encoded;
}

// ---- encoders that take any number of samples ----

int32_t write_directly(TrackWrite& write) {
    if (write.data == nullptr)
        return QMIO_TRACK_NO_DATA;
    return write_frame(write, write.data, write.bytes, write.samples);
}

// ---- encoders that take a fixed number ----

int store(const TrackWrite& write, const uint8_t* data, int32_t samples) {
    if (data != nullptr)
        return write.track.ring->write(data, samples);
    return write.track.ring->fill(audio::silence_byte(write.sample_bytes), samples);
}

// Every whole frame that is in the ring. Returns the last one's result, 0 when there was none.
int32_t write_ready_frames(TrackWrite& write) {
    const int32_t samples = write.track.frame_samples;
    uint8_t* const buffer = write.track.frame_buffer.get();
    int32_t result = kDone;
    while (result >= 0 && write.track.ring->read(buffer, samples) > 0)
        result = write_frame(write, buffer, samples * write.block, samples);
    return result;
}

int32_t write_through_ring(TrackWrite& write) {
    if (write.track.ring == nullptr)
        return QMIO_TRACK_NO_RING;
    if (write.track.frame_buffer == nullptr)
        return QMIO_TRACK_NO_BUFFER;
    const int stored = store(write, write.data, write.samples);
    const int32_t result = write_ready_frames(write);
    // Advanced by the number of samples stored, not by their bytes: what a full ring left over is not what comes after
    // that in the data, and a host that writes more than a ring's worth at a time hears it. They stay below that.
    if (result >= 0 && stored < write.samples)
        store(write, write.data != nullptr ? write.data + stored : nullptr, write.samples - stored);
    return result;
}

// In values of all channels, not samples, so that with two channels the last piece may come to a frame and a half, of
// which the half stays in the ring: hosts know the lengths that this gives.
int32_t padding_bytes(const Track& track, int32_t ready) {
    const int32_t frame = track.frame_samples * track.file.channels;
    return frame > 0 ? audio::sample_bytes(track.file.format) * (frame - ready % frame) : 0;
}

}  // namespace

int32_t write_track(MediaHandle& handle, int32_t number, const uint8_t* data, int32_t bytes) {
    Track* const track = handle.tracks.find(number);
    // A source has decoders, which nothing can be written to.
    if (!is_writer(handle))
        return QMIO_TRACK_NO_TRACK;
    if (const int32_t checked = check_track(track); checked != kDone)
        return checked;
    TrackWrite write{handle.container, handle.writing, *track, number, data, std::max(bytes, 0)};
    if (const int32_t measured = measure(write); measured != kDone)
        return measured;
    return write.is_variable() ? write_directly(write) : write_through_ring(write);
}

void tell_refused_track(const MediaHandle& handle, int32_t number, int32_t result) {
    if (result == QMIO_TRACK_NO_STREAM)
        refuse_to_write();
    const auto* const refusal = std::find_if(std::begin(kRefusals), std::end(kRefusals),
                                             [result](const Refusal& entry) { return entry.result == result; });
    if (refusal != std::end(kRefusals))
        why::failed(AVERROR(EINVAL), "%s", refusal->reason);
    why::within("cannot write track %d of %s", number, shown_name(handle).c_str());
}

void finish_tracks(MediaHandle& handle) {
    for (int32_t number = 0; number < handle.tracks.count(); ++number) {
        const Track& track = *handle.tracks.find(number);
        const int32_t ready = track.ring != nullptr ? track.ring->ready() : 0;
        if (ready > 0)
            write_track(handle, number, nullptr, padding_bytes(track, ready));
    }
}

}  // namespace qmio::write

using namespace qmio;

int qmio_write_track(MediaHandle* h, int track, const uint8_t* data, int bytes) {
    return told_with_handle<int>(h, QMIO_TRACK_NO_HANDLE, QMIO_TRACK_ENCODE_FAILED, [&](MediaHandle& handle) {
        const int32_t result = write::write_track(handle, track, data, bytes);
        if (result < 0)
            write::tell_refused_track(handle, track, result);
        return result;
    });
}

int qmio_write_audio(MediaHandle* h, const uint8_t* data, int bytes) {
    return qmio_write_track(h, 0, data, bytes);
}
