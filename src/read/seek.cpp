#include "read/seek.h"

#include <algorithm>

#include "core/handle/entry.h"
#include "core/handle/frame_index.h"
#include "core/handle/frame_numbers.h"
#include "core/process/trace.h"
#include "core/process/why.h"
#include "core/text/names.h"
#include "qmio.h"
#include "read/choose.h"
#include "read/jogging.h"
#include "read/packets.h"
#include "read/position.h"
#include "read/release.h"

namespace qmio::read {

namespace {

constexpr const wchar_t* kSeekFrame = L"qmio_seek_frame";
constexpr const wchar_t* kSeekFrameEx = L"qmio_seek_frame_ex";
constexpr const wchar_t* kSeekFrameExOld = L"qmio_seek_frame_ex_old";
constexpr int kSeekFailed = -1;

// The container stream of the current audio track; -1 for none. All tracks at once stand for the first.
int current_audio_stream(const Sound& sound, const Tracks& tracks) {
    const Track* const track = tracks.find(std::max(sound.cur_track, 0));
    return track != nullptr ? track->stream_index : -1;
}

// An audio-only source is always rewound to its start, whatever frame is asked for.
int rewind_audio(Source& source) {
    const int stream = current_audio_stream(source.sound, source.tracks);
    if (stream == -1)
        return 0;
    seek_container(source.container, stream, 0, 0);
    flush_audio_decoders(source.tracks, source.sound);
    return 0;
}

// From now on frame seeks answer frame 0.
int refuse_seeking(Source& source, int result) {
    catch_up(source.media);
    release_kept(source.reading);
    tell_source_failure(source.container, result, "");
    source.reading.no_seek = true;
    source.reading.seek_position = 0;
    source.video.have_frame = kNoFrame;
    source.video.want_frame = 0;
    forget_target(source);
    return kSeekFailed;
}

void want(Source& source, int32_t frame, Landing landing) {
    flush_decoders(source);
    source.video.want_frame = frame;
    set_target(source, frame, landing);
}

int stand_at_frame_zero(Source& source) {
    forget_target(source);
    source.video.want_frame = 0;
    return 0;
}

// ---- traces ----

void tell_refusal(const Source& source, const wchar_t* tag, int32_t frame) {
    why::failed(AVERROR(ESPIPE), "a seek was refused before");
    if (tracing(TraceSwitch::seek))
        trace(TraceSwitch::seek, tag, L"[%s] NO SEEK SUPPORTED, frame %d\n", wide_name(source.media), frame);
}

void trace_offset(const Source& source, const wchar_t* tag) {
    const AVFormatContext* const container = source.container.format_ctx.get();
    if (tracing(TraceSwitch::seek) && container != nullptr)
        trace(TraceSwitch::seek, tag, L"[%s] offset %I64d\n", wide_name(source.media),
              avio_seek(container->pb, 0, SEEK_CUR));
}

void trace_rate(const Source& source, const wchar_t* tag, AVStream& stream) {
    if (!tracing(TraceSwitch::seek))
        return;
    const AVRational rate = guessed_frame_rate(source.container, stream);
    trace(TraceSwitch::seek, tag, L"[%s] nf %d, time base %d %d, frame rate %d %d\n", wide_name(source.media),
          static_cast<int>(stream.nb_frames), stream.time_base.num, stream.time_base.den, rate.num, rate.den);
}

// The requested frame stands after "from" and the current one after "to"; readers of these traces know it so.
void trace_seek(const Source& source, const wchar_t* tag, AVStream& stream, int result, int32_t frame,
                int64_t timestamp) {
    if (!tracing(TraceSwitch::seek))
        return;
    const AVRational rate = guessed_frame_rate(source.container, stream);
    trace(TraceSwitch::seek, tag, L"[%s] res %d: from %d to %d: ts %I64d = %d * %d * %d / %d / %d\n",
          wide_name(source.media), result, frame, source.video.want_frame, timestamp, frame, rate.den,
          stream.time_base.den, rate.num, stream.time_base.num);
}

void trace_clock(const Source& source, const AVStream& stream, int64_t timestamp) {
    const int64_t dts = source.container.clock.last_dts(stream);
    if (!tracing(TraceSwitch::seek) || dts == AV_NOPTS_VALUE)
        return;
    trace(TraceSwitch::seek, kSeekFrame, L"[%s] cur_dts %I64d, start_time %I64d, ts %I64d, new frame %d\n",
          wide_name(source.media), dts, stream.start_time, timestamp,
          static_cast<int>(timestamp_to_frame(stream, dts)));
}

void trace_byte_seek(const Source& source, const wchar_t* tag, int32_t frame, int result) {
    if (tracing(TraceSwitch::seek))
        trace(TraceSwitch::seek, tag, L"[%s] frame %d, byte seek %I64d, res %d\n", wide_name(source.media), frame,
              frame_index::position(*source.container.index_mapping, frame), result);
}

// ---- ways to seek ----

// A byte seek that fails is no error: the host is told the frame and nothing has moved. Only when it reads on is the
// container put there by time.
int seek_by_index(Source& source, const wchar_t* tag, int32_t frame, int64_t frames) {
    const int32_t clamped = static_cast<int32_t>(std::clamp<int64_t>(frame, 0, frames - 1));
    const int result = position_by_index(source, clamped);
    trace_byte_seek(source, tag, clamped, result);
    if (result < 0) {
        set_target(source, clamped, Landing::nowhere);
        return clamped;
    }
    want(source, clamped, can_land_by_index(source.container) ? Landing::key_packet : Landing::nowhere);
    note_landing(source, clamped);
    return clamped;
}

// Positions the container by the frame's timestamp and makes it the wanted one.
int seek_by_timestamp(Source& source, const wchar_t* tag, AVStream& stream, int32_t frame, int flags) {
    trace_rate(source, tag, stream);
    const int64_t timestamp = time_of_frame(source, stream, frame);
    const int result = position_at_frame(source, stream, frame, flags);
    trace_seek(source, tag, stream, result, frame, timestamp);
    if (result < 0)
        return refuse_seeking(source, result);
    want(source, frame, (flags & AVSEEK_FLAG_ANY) != 0 ? Landing::any_packet : Landing::key_packet);
    source.reading.seek_position = scale_time(timestamp, stream.time_base, AV_TIME_BASE);
    return frame;
}

// Reads one packet where the seek landed and goes back. The wanted frame stays as it was: a host that
// asks for the same frame again is not told that it is there already.
int seek_twice(Source& source, AVStream& stream, int32_t frame) {
    if (const int result = position_at_frame(source, stream, frame, AVSEEK_FLAG_ANY); result < 0)
        return refuse_seeking(source, result);
    flush_decoders(source);
    forget_target(source);
    if (!read_packet(source.container, source.reading))
        return kSeekFailed;
    position_at_frame(source, stream, frame, AVSEEK_FLAG_ANY);
    return frame;
}

// A fresh handle stands at frame 0 already.
bool is_at_start(const Source& source, int32_t frame) {
    return source.video.want_frame == 0 && frame == 0 && source.video.have_frame == kNoFrame && !source.container.moved;
}

int64_t seek_stream(Source& source, int stream, int64_t timestamp) {
    forget_target(source);
    const int result = stream == -1 ? AVERROR_STREAM_NOT_FOUND
                                    : seek_container(source.container, stream, timestamp, AVSEEK_FLAG_BACKWARD);
    if (result < 0) {
        tell_source_failure(source.container, result, "");
        return 0;
    }
    flush_decoders(source);
    return timestamp;
}

// ---- the entry points ----

int seek_frame_ex(Source& source, int32_t frame) {
    if (source.video.stream_index == -1)
        return rewind_audio(source);
    trace_offset(source, kSeekFrameEx);
    if (source.video.stream == nullptr)
        return 0;
    return seek_by_timestamp(source, kSeekFrameEx, *source.video.stream, std::max(frame, 0), AVSEEK_FLAG_ANY);
}

int seek_frame_ex_old(Source& source, int32_t frame) {
    const Video& video = source.video;
    if (video.stream_index == -1)
        return rewind_audio(source);
    if (source.reading.no_seek) {
        tell_refusal(source, kSeekFrameExOld, frame);
        return stand_at_frame_zero(source);
    }
    if (frame == video.want_frame) {
        if (tracing(TraceSwitch::seek))
            trace(TraceSwitch::seek, kSeekFrameExOld, L"[%s] already on frame %d\n", wide_name(source.media), frame);
        return frame;
    }
    if (video.frame_count == 1)
        return stand_at_frame_zero(source);
    if (video.stream == nullptr)
        return 0;
    if (const int64_t frames = indexed_frames(source.container); frames > 0)
        return seek_by_index(source, kSeekFrameExOld, frame, frames);
    return seek_twice(source, *video.stream, frame);
}

int64_t seek_timestamp(Source& source, int64_t timestamp, int kind) {
    if (kind == kAudioKind)
        return seek_stream(source, current_audio_stream(source.sound, source.tracks), timestamp);
    if (kind != kVideoKind || source.video.stream_index == -1)
        return 0;
    if (source.video.frame_count <= 1)
        return stand_at_frame_zero(source);
    return seek_stream(source, source.video.stream_index, timestamp);
}

}  // namespace

bool make_seek(Source& source, int32_t frame) {
    const int result = seek_by_timestamp(source, kSeekFrame, *source.video.stream, frame, AVSEEK_FLAG_BACKWARD);
    if (result >= 0)
        note_seek(source, kNoFrame);
    return result >= 0;
}

int seek_frame(Source& source, int32_t frame) {
    const Video& video = source.video;
    if (video.stream_index == -1)
        return rewind_audio(source);
    if (source.reading.no_seek)
        tell_refusal(source, kSeekFrame, frame);
    if (source.reading.no_seek || video.frame_count == 1)
        return stand_at_frame_zero(source);
    trace_offset(source, kSeekFrame);
    if (video.stream == nullptr)
        return 0;
    if (const int64_t frames = indexed_frames(source.container); frames > 0)
        return seek_by_index(source, kSeekFrame, frame, frames);
    const int32_t wanted = std::max(frame, 0);
    if (is_at_start(source, wanted)) {
        // Nothing moves, but pictures before frame 0 are passed over, as behind any other seek.
        set_target(source, 0, Landing::start);
        return 0;
    }
    const int32_t left = video.have_frame;
    if (can_put_off_seek(source, wanted))
        return owe_seek(source, wanted);
    const int result = seek_by_timestamp(source, kSeekFrame, *video.stream, wanted, AVSEEK_FLAG_BACKWARD);
    if (result >= 0)
        note_seek(source, left);
    if (result >= 0)
        trace_clock(source, *video.stream, frame_to_timestamp(source.container, *video.stream, wanted));
    return result;
}

}  // namespace qmio::read

using namespace qmio;

namespace {

// In a writer there is nothing to seek; its frame counter is the time of its next picture. A source that is read in the
// background is its reader's alone.
template <class Result, class Routine>
Result seek_reader_as_it_stands(MediaHandle* h, Result failure, Routine&& routine) {
    return told_with_handle_as_it_stands<Result>(h, 0, failure, [&](MediaHandle& handle) -> Result {
        read::Source source(handle);
        const bool can_seek = !is_writer(handle) && handle.reader_queue == nullptr;
        if (!can_seek)
            why::failed(AVERROR(EBUSY), "it is being written, or read in the background");
        const Result result = can_seek ? routine(source) : failure;
        if (why::is_failure_value(result) && why::has_failed())
            why::within("cannot seek in %s", shown_name(handle).c_str());
        return result;
    });
}

template <class Result, class Routine>
Result seek_reader(MediaHandle* h, Result failure, Routine&& routine) {
    return seek_reader_as_it_stands(h, failure, [&](read::Source& source) -> Result {
        catch_up(source.media);
        return routine(source);
    });
}

}  // namespace

int qmio_seek_frame(MediaHandle* h, int frame) {
    return seek_reader_as_it_stands<int>(h, read::kSeekFailed,
                                         [=](read::Source& source) { return read::seek_frame(source, frame); });
}

int qmio_seek_frame_ex(MediaHandle* h, int frame) {
    return seek_reader<int>(h, read::kSeekFailed,
                            [=](read::Source& source) { return read::seek_frame_ex(source, frame); });
}

int qmio_seek_frame_ex_old(MediaHandle* h, int frame) {
    return seek_reader<int>(h, read::kSeekFailed,
                            [=](read::Source& source) { return read::seek_frame_ex_old(source, frame); });
}

int64_t qmio_seek_ts(MediaHandle* h, int64_t ts, int kind) {
    return seek_reader<int64_t>(h, 0, [=](read::Source& source) { return read::seek_timestamp(source, ts, kind); });
}
