#include "write/write_audio.h"

#include <algorithm>

#include "audio/sample_formats.h"
#include "core/entry.h"
#include "core/trace.h"
#include "qmio.h"
#include "write/packet_out.h"

namespace qmio::write {

namespace {

constexpr const wchar_t* kTag = L"qmio_write_track";

// One call for one track.
struct TrackWrite {
    MediaHandle& handle;
    std::size_t track;
    const uint8_t* data;
    int32_t bytes;
    int32_t sample_bytes = 0;
    int32_t block = 0;    // bytes of one sample of every channel
    int32_t samples = 0;  // per channel

    WriterState& writer() const { return handle.writer; }
    AVCodecContext& codec() const { return *handle.writer.audio_codec_ctx[track]; }
    bool is_variable() const { return (codec().codec->capabilities & AV_CODEC_CAP_VARIABLE_FRAME_SIZE) != 0; }
};

enum Result : int32_t {
    kDone = 0,
    kNoHandle = QMIO_TRACK_NO_HANDLE,
    kNoTrack = QMIO_TRACK_NO_TRACK,
    kNoStreamIndex = QMIO_TRACK_NO_STREAM_INDEX,
    kNoCodec = QMIO_TRACK_NO_CODEC,
    kNoEncoder = QMIO_TRACK_NO_ENCODER,
    kNoStream = QMIO_TRACK_NO_STREAM,
    kNoForm = QMIO_TRACK_NO_FORM,
    kNoRing = QMIO_TRACK_NO_RING,
    kNoBuffer = QMIO_TRACK_NO_BUFFER,
    kEncodeFailed = QMIO_TRACK_ENCODE_FAILED,
    kNoData = QMIO_TRACK_NO_DATA,
    kFillFailed = QMIO_TRACK_FILL_FAILED,
};

Result check_track(const WriterState& writer, int32_t track) {
    if (track < 0 || track >= writer.audio_track_count)
        return kNoTrack;
    const std::size_t index = static_cast<std::size_t>(track);
    if (writer.audio_stream_index[index] == -1)
        return kNoStreamIndex;
    if (writer.audio_codec_ctx[index] == nullptr)
        return kNoCodec;
    if (writer.audio_encoder[index] == nullptr)
        return kNoEncoder;
    return writer.audio_stream[index] != nullptr ? kDone : kNoStream;
}

Result measure(TrackWrite& write) {
    const WriterState& writer = write.writer();
    write.sample_bytes = audio::sample_bytes(writer.sample_fmt[write.track]);
    write.block = write.sample_bytes * writer.channels[write.track];
    trace(TraceSwitch::audio, kTag, L"var %d, track %d, chans %d, bytes per sample %d, block %d\n",
          write.is_variable() ? AV_CODEC_CAP_VARIABLE_FRAME_SIZE : 0, static_cast<int>(write.track),
          writer.channels[write.track], write.sample_bytes, write.block);
    if (write.block < 1)
        return kNoForm;
    write.samples = write.bytes / write.block;
    return kDone;
}

// Points the work frame at `samples` samples. Returns what avcodec_fill_audio_frame returns.
int fill_frame(TrackWrite& write, const uint8_t* data, int32_t bytes, int32_t samples) {
    AVFrame& frame = *write.writer().audio_frame;
    const AVCodecContext& codec = write.codec();
    frame.nb_samples = samples;
    frame.format = codec.sample_fmt;
    frame.sample_rate = codec.sample_rate;
    if (av_channel_layout_copy(&frame.ch_layout, &codec.ch_layout) < 0)
        return AVERROR(ENOMEM);
    frame.pts = write.writer().audio_pts[write.track];
    write.writer().audio_pts[write.track] += samples;
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
    // Deliberately only the low 32 bits of the length.
    if (packet.duration > 0)
        packet.duration = static_cast<int32_t>(av_rescale_q(packet.duration, from, to));
}

void put(TrackWrite& write, AVPacket& packet) {
    AVStream& stream = *write.writer().audio_stream[write.track];
    rescale(packet, write.codec().time_base, stream.time_base, write.is_variable());
    packet.stream_index = stream.index;
    write_packet(write.handle, packet);
    av_packet_unref(&packet);
}

// Encodes the work frame and writes every packet that comes out.
Result encode_and_put(TrackWrite& write) {
    WriterState& writer = write.writer();
    ffmpeg::Encoder& packets = writer.audio_packets[write.track];
    int got = 0;
    const int result = packets.encode(writer.packet.get(), &got, writer.audio_frame.get());
    av_frame_unref(writer.audio_frame.get());
    for (bool more = got != 0; more; more = packets.take_kept(writer.packet.get()))
        put(write, *writer.packet);
    return result < 0 ? kEncodeFailed : kDone;
}

int32_t write_frame(TrackWrite& write, const uint8_t* data, int32_t bytes, int32_t samples) {
    const int filled = fill_frame(write, data, bytes, samples);
    if (filled < 0) {
        av_frame_unref(write.writer().audio_frame.get());
        return kFillFailed;
    }
    const Result encoded = encode_and_put(write);
    return encoded == kDone ? filled : encoded;
}

// ---- encoders that take any number of samples ----

int32_t write_directly(TrackWrite& write) {
    if (write.data == nullptr)
        return kNoData;
    return write_frame(write, write.data, write.bytes, write.samples);
}

// ---- encoders that take a fixed number ----

int store(const TrackWrite& write, qmlib::AudioRing& ring, const uint8_t* data, int32_t samples) {
    if (data != nullptr)
        return ring.write(data, samples);
    return ring.fill(audio::silence_byte(write.sample_bytes), samples);
}

// Every whole frame that is in the ring. Returns the last one's result, 0 when there was none.
int32_t write_ready_frames(TrackWrite& write, qmlib::AudioRing& ring) {
    WriterState& writer = write.writer();
    const int32_t samples = writer.frame_samples[write.track];
    uint8_t* const buffer = writer.audio_buffer[write.track].get();
    int32_t result = kDone;
    while (result >= 0 && ring.read(buffer, samples) > 0)
        result = write_frame(write, buffer, samples * write.block, samples);
    return result;
}

int32_t write_through_ring(TrackWrite& write) {
    qmlib::AudioRing* const ring = write.writer().audio_ring[write.track].get();
    if (ring == nullptr)
        return kNoRing;
    if (write.writer().audio_buffer[write.track] == nullptr)
        return kNoBuffer;
    const int stored = store(write, *ring, write.data, write.samples);
    const int32_t result = write_ready_frames(write, *ring);
    // Deliberately advanced by the number of samples stored, not by their bytes: what a full ring left over is not what
    // comes after that in the data. Hosts stay below a ring's worth at a time.
    if (result >= 0 && stored < write.samples)
        store(write, *ring, write.data != nullptr ? write.data + stored : nullptr, write.samples - stored);
    return result;
}

// Deliberate arithmetic: in values of all channels, not samples, so that a frame and a half may be added.
int32_t padding_bytes(const WriterState& writer, std::size_t track, int32_t ready) {
    const int32_t frame = writer.frame_samples[track] * writer.channels[track];
    return frame > 0 ? audio::sample_bytes(writer.sample_fmt[track]) * (frame - ready % frame) : 0;
}

}  // namespace

int32_t write_track(MediaHandle& handle, int32_t track, const uint8_t* data, int32_t bytes) {
    if (const Result checked = check_track(handle.writer, track); checked != kDone)
        return checked;
    TrackWrite write{handle, static_cast<std::size_t>(track), data, std::max(bytes, 0)};
    if (const Result measured = measure(write); measured != kDone)
        return measured;
    return write.is_variable() ? write_directly(write) : write_through_ring(write);
}

void finish_tracks(MediaHandle& handle) {
    const WriterState& writer = handle.writer;
    for (int32_t track = 0; track < writer.audio_track_count; ++track) {
        const std::size_t index = static_cast<std::size_t>(track);
        const int32_t ready = writer.audio_ring[index] != nullptr ? writer.audio_ring[index]->ready() : 0;
        if (ready > 0)
            write_track(handle, track, nullptr, padding_bytes(writer, index, ready));
    }
}

}  // namespace qmio::write

using namespace qmio;

int qmio_write_track(MediaHandle* h, int track, const uint8_t* data, int bytes) {
    return with_handle<int>(h, QMIO_TRACK_NO_HANDLE, QMIO_TRACK_ENCODE_FAILED,
                            [&](MediaHandle& handle) { return write::write_track(handle, track, data, bytes); });
}

int qmio_write_audio(MediaHandle* h, const uint8_t* data, int bytes) {
    return qmio_write_track(h, 0, data, bytes);
}
