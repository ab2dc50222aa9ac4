#include "read/seek.h"

#include <algorithm>

#include "core/entry.h"
#include "core/frame_index.h"
#include "core/frame_numbers.h"
#include "core/names.h"
#include "core/trace.h"
#include "ffmpeg/pixel_format.h"
#include "qmio.h"
#include "read/packets.h"
#include "read/seek_target.h"

using namespace qmio;

namespace {

constexpr const wchar_t* kSeekFrame = L"qmio_seek_frame";
constexpr const wchar_t* kSeekFrameEx = L"qmio_seek_frame_ex";
constexpr const wchar_t* kSeekFrameExOld = L"qmio_seek_frame_ex_old";
constexpr int kSeekFailed = -1;
constexpr int kAnyByte = AVSEEK_FLAG_BYTE | AVSEEK_FLAG_ANY;

std::wstring source_name(const MediaHandle& handle) {
    return wide_name(handle.file_name);
}

// The container stream of the current audio track; -1 for none. All tracks at once stand for the first.
int current_audio_stream(const AudioState& audio) {
    const int track = std::max(audio.cur_track, 0);
    return track < kMaxTracks ? audio.track_stream[static_cast<std::size_t>(track)] : -1;
}

int seek_container(MediaHandle& handle, int stream, int64_t position, int flags) {
    if (!is_demuxing(handle))
        return AVERROR(EBADF);
    const int result = av_seek_frame(handle.format_ctx.get(), stream, position, flags);
    if (result >= 0)
        handle.reader.moved = true;
    return result;
}

bool can_seek_bytes(const MediaHandle& handle) {
    const AVIOContext* io = handle.format_ctx != nullptr ? handle.format_ctx->pb : nullptr;
    return io != nullptr && (io->seekable & AVIO_SEEKABLE_NORMAL) != 0;
}

// What seeking leaves behind: empty decoders and no picture held.
void flush_decoders(MediaHandle& handle) {
    flush_video_decoder(handle);
    flush_audio_decoders(handle);
    handle.reader.have_frame = kNoFrame;
}

// An audio-only source is always rewound to its start, whatever frame is asked for.
int rewind_audio(MediaHandle& handle) {
    const int stream = current_audio_stream(handle.audio);
    if (stream == -1)
        return 0;
    seek_container(handle, stream, 0, 0);
    flush_audio_decoders(handle);
    return 0;
}

// From now on frame seeks answer frame 0.
int refuse_seeking(MediaHandle& handle) {
    ReaderState& reader = handle.reader;
    reader.stream_flags |= stream_flag::no_seek;
    reader.have_frame = kNoFrame;
    reader.want_frame = 0;
    reader.seek_position = 0;
    read::forget_target(handle);
    return kSeekFailed;
}

void want(MediaHandle& handle, int32_t frame, bool exact_landing) {
    flush_decoders(handle);
    handle.reader.want_frame = frame;
    read::set_target(handle, frame, exact_landing);
}

int stand_at_frame_zero(MediaHandle& handle) {
    read::forget_target(handle);
    handle.reader.want_frame = 0;
    return 0;
}

bool is_seeking_refused(const MediaHandle& handle, const wchar_t* tag, int32_t frame) {
    if ((handle.reader.stream_flags & stream_flag::no_seek) == 0)
        return false;
    if (tracing(TraceSwitch::seek))
        trace(TraceSwitch::seek, tag, L"[%s] NO SEEK SUPPORTED, frame %d\n", source_name(handle), frame);
    return true;
}

void trace_offset(const MediaHandle& handle, const wchar_t* tag) {
    if (!tracing(TraceSwitch::seek) || handle.format_ctx == nullptr)
        return;
    trace(TraceSwitch::seek, tag, L"[%s] offset %I64d\n", source_name(handle),
          avio_seek(handle.format_ctx->pb, 0, SEEK_CUR));
}

void trace_rate(const MediaHandle& handle, const wchar_t* tag, AVStream& stream) {
    if (!tracing(TraceSwitch::seek))
        return;
    const AVRational rate = guessed_frame_rate(handle, stream);
    trace(TraceSwitch::seek, tag, L"[%s] nf %d, time base %d %d, frame rate %d %d\n", source_name(handle),
          static_cast<int>(stream.nb_frames), stream.time_base.num, stream.time_base.den, rate.num, rate.den);
}

// The requested frame stands after "from" and the current one after "to"; readers of these traces know it so.
void trace_seek(const MediaHandle& handle, const wchar_t* tag, AVStream& stream, int result, int32_t frame,
                int64_t timestamp) {
    if (!tracing(TraceSwitch::seek))
        return;
    const AVRational rate = guessed_frame_rate(handle, stream);
    trace(TraceSwitch::seek, tag, L"[%s] res %d: from %d to %d: ts %I64d = %d * %d * %d / %d / %d\n",
          source_name(handle), result, frame, handle.reader.want_frame, timestamp, frame, rate.den,
          stream.time_base.den, rate.num, stream.time_base.num);
}

void trace_clock(const MediaHandle& handle, const AVStream& stream, int64_t timestamp) {
    const int64_t dts = handle.reader.clock.last_dts(stream);
    if (!tracing(TraceSwitch::seek) || dts == AV_NOPTS_VALUE)
        return;
    trace(TraceSwitch::seek, kSeekFrame, L"[%s] cur_dts %I64d, start_time %I64d, ts %I64d, new frame %d\n",
          source_name(handle), dts, stream.start_time, timestamp, static_cast<int>(timestamp_to_frame(stream, dts)));
}

// Positions by the frame-position index. A byte seek that fails is no error, on purpose: the handle stays as it is.
int seek_by_index(MediaHandle& handle, const wchar_t* tag, int32_t frame, int64_t frames) {
    const int32_t clamped = static_cast<int32_t>(std::clamp<int64_t>(frame, 0, frames - 1));
    const int64_t position = frame_index::position(*handle.index_mapping, clamped);
    const int result = seek_container(handle, handle.reader.video_stream_index, position, kAnyByte);
    if (tracing(TraceSwitch::seek))
        trace(TraceSwitch::seek, tag, L"[%s] frame %d, byte seek %I64d, res %d\n", source_name(handle), clamped,
              position, result);
    if (result >= 0)
        want(handle, clamped, false);
    return clamped;
}

// Positions the container by the frame's timestamp and makes it the wanted one.
int seek_by_timestamp(MediaHandle& handle, const wchar_t* tag, AVStream& stream, int32_t frame, int flags) {
    trace_rate(handle, tag, stream);
    const int64_t timestamp = frame_to_timestamp(handle, stream, frame);
    const int result = seek_container(handle, handle.reader.video_stream_index, timestamp, flags);
    trace_seek(handle, tag, stream, result, frame, timestamp);
    if (result < 0)
        return refuse_seeking(handle);
    want(handle, frame, (flags & AVSEEK_FLAG_ANY) != 0);
    handle.reader.seek_position = scale_time(timestamp, stream.time_base, AV_TIME_BASE);
    return frame;
}

// A fresh handle stands at frame 0 already.
bool is_at_start(const ReaderState& reader, int32_t frame) {
    return reader.want_frame == 0 && frame == 0 && reader.have_frame == kNoFrame && !reader.moved;
}

int seek_frame_ex(MediaHandle& handle, int32_t frame) {
    if (handle.reader.video_stream_index == -1)
        return rewind_audio(handle);
    trace_offset(handle, kSeekFrameEx);
    if (handle.reader.video_st == nullptr)
        return 0;
    return seek_by_timestamp(handle, kSeekFrameEx, *handle.reader.video_st, std::max(frame, 0), AVSEEK_FLAG_ANY);
}

// Reads one packet where the seek landed and goes back. The wanted frame stays as it was, on purpose: the host sets
// what it reads next.
int seek_twice(MediaHandle& handle, AVStream& stream, int32_t frame) {
    const int64_t timestamp = frame_to_timestamp(handle, stream, frame);
    const int index = handle.reader.video_stream_index;
    if (seek_container(handle, index, timestamp, AVSEEK_FLAG_ANY) < 0)
        return refuse_seeking(handle);
    flush_decoders(handle);
    read::forget_target(handle);
    if (!read::read_packet(handle))
        return kSeekFailed;
    seek_container(handle, index, timestamp, AVSEEK_FLAG_ANY);
    return frame;
}

int seek_frame_ex_old(MediaHandle& handle, int32_t frame) {
    ReaderState& reader = handle.reader;
    if (reader.video_stream_index == -1)
        return rewind_audio(handle);
    if (is_seeking_refused(handle, kSeekFrameExOld, frame))
        return stand_at_frame_zero(handle);
    if (frame == reader.want_frame) {
        if (tracing(TraceSwitch::seek))
            trace(TraceSwitch::seek, kSeekFrameExOld, L"[%s] already on frame %d\n", source_name(handle), frame);
        return frame;
    }
    if (reader.frame_count == 1)
        return stand_at_frame_zero(handle);
    if (reader.video_st == nullptr)
        return 0;
    if (const int64_t frames = frame_index::frame_total(handle.index_mapping.get()); frames > 0)
        return seek_by_index(handle, kSeekFrameExOld, frame, frames);
    return seek_twice(handle, *reader.video_st, frame);
}

int64_t seek_stream(MediaHandle& handle, int stream, int64_t timestamp) {
    read::forget_target(handle);
    if (stream == -1 || seek_container(handle, stream, timestamp, AVSEEK_FLAG_BACKWARD) < 0)
        return 0;
    flush_decoders(handle);
    return timestamp;
}

int64_t seek_timestamp(MediaHandle& handle, int64_t timestamp, int kind) {
    if (kind == kAudioKind)
        return seek_stream(handle, current_audio_stream(handle.audio), timestamp);
    if (kind != kVideoKind || handle.reader.video_stream_index == -1)
        return 0;
    if (handle.reader.frame_count <= 1)
        return stand_at_frame_zero(handle);
    return seek_stream(handle, handle.reader.video_stream_index, timestamp);
}

int set_target_format(MediaHandle& handle, int number) {
    ReaderState& reader = handle.reader;
    reader.dst_pix_fmt = ffmpeg::pixel_format_from_interface(number);
    reader.dst_picture_size =
        av_image_get_buffer_size(reader.dst_pix_fmt, reader.width, reader.height, kPictureAlignment);
    return 1;
}

// In a writer there is nothing to seek; its frame counter is the time of its next picture.
template <class Result, class Routine>
Result seek_reader(MediaHandle* h, Result failure, Routine&& routine) {
    return with_handle<Result>(
        h, 0, failure, [&](MediaHandle& handle) -> Result { return is_writer(handle) ? failure : routine(handle); });
}

}  // namespace

int qmio_seek_frame(MediaHandle* h, int frame) {
    return seek_reader<int>(h, kSeekFailed, [=](MediaHandle& handle) { return read::seek_frame(handle, frame); });
}

int qmio_seek_frame_ex(MediaHandle* h, int frame) {
    return seek_reader<int>(h, kSeekFailed, [=](MediaHandle& handle) { return seek_frame_ex(handle, frame); });
}

int qmio_seek_frame_ex_old(MediaHandle* h, int frame) {
    return seek_reader<int>(h, kSeekFailed, [=](MediaHandle& handle) { return seek_frame_ex_old(handle, frame); });
}

int64_t qmio_seek_ts(MediaHandle* h, int64_t ts, int kind) {
    return seek_reader<int64_t>(h, 0, [=](MediaHandle& handle) { return seek_timestamp(handle, ts, kind); });
}

int qmio_set_dst_fmt(MediaHandle* h, int pix_fmt) {
    return with_handle(h, 0, 0, [=](MediaHandle& handle) { return set_target_format(handle, pix_fmt); });
}

namespace qmio::read {

int seek_frame(MediaHandle& handle, int32_t frame) {
    ReaderState& reader = handle.reader;
    if (reader.video_stream_index == -1)
        return rewind_audio(handle);
    if (is_seeking_refused(handle, kSeekFrame, frame) || reader.frame_count == 1)
        return stand_at_frame_zero(handle);
    trace_offset(handle, kSeekFrame);
    if (reader.video_st == nullptr)
        return 0;
    if (const int64_t frames = frame_index::frame_total(handle.index_mapping.get()); frames > 0)
        return seek_by_index(handle, kSeekFrame, frame, frames);
    const int32_t wanted = std::max(frame, 0);
    if (is_at_start(reader, wanted))
        return 0;
    const int result = seek_by_timestamp(handle, kSeekFrame, *reader.video_st, wanted, AVSEEK_FLAG_BACKWARD);
    if (result >= 0)
        trace_clock(handle, *reader.video_st, frame_to_timestamp(handle, *reader.video_st, wanted));
    return result;
}

bool seek_before(MediaHandle& handle, int32_t frame, bool by_time) {
    ReaderState& reader = handle.reader;
    if (reader.video_st == nullptr)
        return false;
    int64_t position = frame_to_timestamp(handle, *reader.video_st, frame);
    int flags = AVSEEK_FLAG_BACKWARD;
    if (const int64_t frames = frame_index::frame_total(handle.index_mapping.get()); !by_time && frame < frames) {
        position = frame_index::position(*handle.index_mapping, frame);
        flags = kAnyByte;
    }
    if (seek_container(handle, reader.video_stream_index, position, flags) < 0)
        return false;
    flush_decoders(handle);
    return true;
}

bool seek_to_start(MediaHandle& handle) {
    ReaderState& reader = handle.reader;
    if (reader.video_st == nullptr)
        return false;
    // Long before anything: some containers then give their first packet, others refuse, so forward from there comes
    // next, and the first byte last.
    const int64_t start = reader.video_st->start_time != AV_NOPTS_VALUE ? reader.video_st->start_time : 0;
    const int64_t long_before =
        av_sat_sub64(start, av_rescale_q(int64_t{86400} * AV_TIME_BASE, AV_TIME_BASE_Q, reader.video_st->time_base));
    const int stream = reader.video_stream_index;
    if (seek_container(handle, stream, long_before, AVSEEK_FLAG_BACKWARD) < 0 &&
        seek_container(handle, stream, long_before, 0) < 0 &&
        !(can_seek_bytes(handle) && seek_container(handle, stream, 0, kAnyByte) >= 0))
        return false;
    flush_decoders(handle);
    reader.want_frame = 0;
    return true;
}

}  // namespace qmio::read
