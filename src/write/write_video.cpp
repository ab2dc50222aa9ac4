#include "write/write_video.h"

#include <limits>
#include <string>

#include "core/handle/entry.h"
#include "core/handle/frame_index.h"
#include "core/handle/frame_numbers.h"
#include "core/process/trace.h"
#include "core/process/why.h"
#include "core/text/names.h"
#include "ffmpeg/encoder_values.h"
#include "ffmpeg/frame_flags.h"
#include "write/packet_out.h"

namespace qmio::write {

namespace {

constexpr const wchar_t* kEncodeTag = L"enc_video";
constexpr const wchar_t* kPutTag = L"enc_put_frame";
constexpr const wchar_t* kCloseTag = L"qmio_close";

std::wstring timestamp_text(int64_t timestamp) {
    if (timestamp == AV_NOPTS_VALUE)
        return L"NOPTS";
    return timestamp == std::numeric_limits<int64_t>::max() ? L"MAXPTS" : std::to_wstring(timestamp);
}

bool can_encode(const MediaHandle& handle, const imio_picture* picture) {
    return picture != nullptr && picture->data != nullptr && handle.video.stream_index != -1 &&
           handle.video.codec != nullptr && handle.writing.video_frame != nullptr;
}

// 0 where the picture can be encoded, else what the calls answer.
int check_picture(const MediaHandle& handle, const imio_picture* picture) {
    if (handle.writing.is_finished)
        return refuse_to_write();
    if (!can_encode(handle, picture))
        why::failed(AVERROR(EINVAL), "there is no picture, or no video to write it to");
    return 0;
}

bool is_alignment(int32_t alignment) {
    return alignment > 0 && (alignment & (alignment - 1)) == 0;
}

// The frame borrows the host's pixels for the time of the call: FFmpeg copies what it must keep of a frame without a
// buffer of its own.
bool point_at(AVFrame& frame, const AVCodecContext& codec, AVPixelFormat format, const imio_picture& picture) {
    frame.format = format;
    frame.width = codec.width;
    frame.height = codec.height;
    return is_alignment(picture.alignment) && av_image_fill_arrays(frame.data, frame.linesize, picture.data, format,
                                                                   codec.width, codec.height, picture.alignment) >= 0;
}

void mark_fields(AVFrame& frame, AVFieldOrder order) {
    const bool top_first = order == AV_FIELD_TT || order == AV_FIELD_TB;
    const bool bottom_first = order == AV_FIELD_BB || order == AV_FIELD_BT;
    ffmpeg::set_interlaced(frame, top_first || bottom_first);
    if (top_first)
        ffmpeg::set_top_field_first(frame);
}

// Some encoders (ProRes) write what the pictures tell of their colours, not what they were opened with.
void tell_colours(AVFrame& frame, const AVCodecContext& codec) {
    frame.color_primaries = codec.color_primaries;
    frame.color_trc = codec.color_trc;
    frame.colorspace = codec.colorspace;
    frame.color_range = codec.color_range;
}

void trace_encoded(const Video& video, int result, bool got, const AVPacket& packet) {
    if (!tracing(TraceSwitch::write))
        return;
    const int frame = video.want_frame;
    const int64_t calculated =
        video.stream != nullptr ? av_rescale_q(frame, video.codec->time_base, video.stream->time_base) : AV_NOPTS_VALUE;
    trace(TraceSwitch::write, kEncodeTag,
          L"res %d, encode video, enc size %d, got %d, frame %d, enc_pts %s, enc_dts %s, calc_pts %s\n", result,
          packet.size, got ? 1 : 0, frame, timestamp_text(packet.pts), timestamp_text(packet.dts),
          timestamp_text(calculated));
    if (result < 0)
        trace(TraceSwitch::write, kEncodeTag, L"error encode\n");
}

int encode_frame(Writing& writing, const Video& video, const imio_picture& picture, bool& got, AVPacket& packet) {
    AVFrame& frame = *writing.video_frame;
    if (!point_at(frame, *video.codec, video.pix_fmt, picture))
        return AVERROR(EINVAL);
    frame.pts = video.want_frame;
    // FFmpeg's own encoders take a fixed quantiser from the frame, not from the context.
    frame.quality = video.codec->global_quality;
    mark_fields(frame, video.codec->field_order);
    tell_colours(frame, *video.codec);
    if (const int refused = ffmpeg::check_unchecked_samples(*video.codec, frame); refused < 0)
        return refused;
    return writing.encoder.encode(&packet, got, &frame);
}

// What the line about a written packet tells; the muxer may have taken the packet itself.
struct PacketTimes {
    int64_t pts;
    int64_t dts;
};

void trace_put(const Video& video, int result, const PacketTimes& times, bool closing) {
    if (!tracing(TraceSwitch::write) && !(closing && tracing(TraceSwitch::close)))
        return;
    const AVRational codec = video.codec->time_base;
    const AVRational stream = video.stream->time_base;
    report(kPutTag, L"\tav_write_frame %d, res %d, pts %s, dts %s, timebase codec %d/%d stream %d/%d\n",
           video.want_frame, result, timestamp_text(times.pts), timestamp_text(times.dts), codec.num, codec.den,
           stream.num, stream.den);
}

void enter_position(const Container& container, const AVStream& stream, int64_t dts, int64_t position) {
    if (container.index_mapping != nullptr && dts != AV_NOPTS_VALUE)
        frame_index::enter(*container.index_mapping, timestamp_to_frame(stream, dts), position);
}

int64_t output_position(const Container& container) {
    return container.format_ctx->pb != nullptr ? avio_seek(container.format_ctx->pb, 0, SEEK_CUR) : 0;
}

imio_picture whole_picture(const uint8_t* data) {
    imio_picture picture{};
    picture.data = const_cast<uint8_t*>(data);  // only read
    picture.alignment = 1;
    return picture;
}

AVPacket* encode(MediaHandle& handle, const imio_picture* picture) {
    if (check_picture(handle, picture) < 0 || !can_encode(handle, picture))
        return nullptr;
    ffmpeg::PacketPtr packet(qmio_pkt_alloc());
    const bool done = packet != nullptr && encode_picture(handle.writing, handle.video, *picture, *packet);
    return done ? packet.release() : nullptr;
}

int write(MediaHandle& handle, const imio_picture* picture) {
    if (const int checked = check_picture(handle, picture); checked < 0)
        return checked;
    if (!can_encode(handle, picture))
        return 0;
    AVPacket& packet = *handle.writing.packet;
    if (!encode_picture(handle.writing, handle.video, *picture, packet))
        return 0;
    const int result = put_packet(handle, &packet, false);
    av_packet_unref(&packet);
    return result;
}

}  // namespace

bool encode_picture(Writing& writing, Video& video, const imio_picture& picture, AVPacket& packet) {
    av_packet_unref(&packet);  // sets what FFmpeg takes for unknown
    bool got = false;
    const int result = encode_frame(writing, video, picture, got, packet);
    trace_encoded(video, result, got, packet);
    if (note_error(writing, result) < 0)
        why::failed(result, "picture %d cannot be encoded", video.want_frame);
    // A picture that failed uses up its number all the same.
    ++video.want_frame;
    return got;
}

int put_packet(MediaHandle& handle, AVPacket* packet, bool closing) {
    const Video& video = handle.video;
    if (handle.writing.is_finished && packet != nullptr)
        return refuse_to_write();
    // A source has nothing that could be written to.
    if (!is_writer(handle) || (handle.writing.mode & mode::suppressed) != 0 || packet == nullptr ||
        video.codec == nullptr)
        return 0;
    if (video.stream == nullptr)
        return refuse_to_write();
    av_packet_rescale_ts(packet, video.codec->time_base, video.stream->time_base);
    packet->stream_index = video.stream->index;
    const PacketTimes times{packet->pts, packet->dts};
    const int64_t position = output_position(handle.container);
    const int result = write_packet(handle.container, handle.writing, *packet);
    // The position is entered whatever became of the packet.
    trace_put(video, result, times, closing);
    enter_position(handle.container, *video.stream, times.dts, position);
    return result;
}

void drain_video(MediaHandle& handle) {
    if (handle.video.codec == nullptr || handle.writing.packet == nullptr)
        return;
    AVPacket& packet = *handle.writing.packet;
    for (;;) {
        bool got = false;
        const int result = handle.writing.encoder.encode(&packet, got, nullptr);
        if (tracing(TraceSwitch::close))
            trace(TraceSwitch::close, kCloseTag, L"*** flush encode: res %d, got %d, frm %d, pts %s, dts %s, size %d\n",
                  result, got ? 1 : 0, handle.video.want_frame, timestamp_text(packet.pts), timestamp_text(packet.dts),
                  packet.size);
        if (note_error(handle.writing, result) < 0)
            why::failed(result, "the last pictures cannot be encoded");
        if (got)
            put_packet(handle, &packet, true);
        av_packet_unref(&packet);
        if (result < 0 || !got)
            return;
    }
}

}  // namespace qmio::write

using namespace qmio;

namespace {

template <class Result, class Routine>
Result writing_video(MediaHandle* h, Result failure, Routine&& routine) {
    return told_with_handle<Result>(h, failure, failure, [&](MediaHandle& handle) {
        const Result result = routine(handle);
        if (why::has_failed())
            why::within("cannot write to %s", shown_name(handle).c_str());
        return result;
    });
}

}  // namespace

AVPacket* imio_encode_frame(MediaHandle* h, const imio_picture* pic) {
    return writing_video<AVPacket*>(h, nullptr, [&](MediaHandle& handle) { return write::encode(handle, pic); });
}

int imio_write_frame(MediaHandle* h, const imio_picture* pic) {
    return writing_video(h, 0, [&](MediaHandle& handle) { return write::write(handle, pic); });
}

AVPacket* qmio_encode_frame(MediaHandle* h, const uint8_t* data) {
    const imio_picture picture = write::whole_picture(data);
    return imio_encode_frame(h, &picture);
}

int qmio_write_frame(MediaHandle* h, const uint8_t* data) {
    const imio_picture picture = write::whole_picture(data);
    return imio_write_frame(h, &picture);
}

int qmio_put_frame(MediaHandle* h, AVPacket* pkt) {
    return writing_video(h, 0, [&](MediaHandle& handle) { return write::put_packet(handle, pkt, false); });
}
