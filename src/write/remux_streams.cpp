// The streams of a file that takes packets of other files as they are.
#include <mutex>

#include "core/handle/codec_open.h"
#include "core/handle/frame_numbers.h"
#include "core/process/trace.h"
#include "core/process/why.h"
#include "ffmpeg/stream_copy.h"
#include "write/remux.h"

namespace qmio::write {

namespace {

void trace_step(const wchar_t* text) {
    trace(TraceSwitch::create, kMuxTag, L"%s", text);
}

// A context that is never opened: it tells hosts what the stream holds, and in which time base they hand packets over.
AVCodecContext* describe_codec(Container& container, const AVStream& stream, AVRational time_base) {
    container.stream_codec.push_back(make_stream_codec(stream));
    AVCodecContext* const codec = container.stream_codec.back().get();
    if (codec != nullptr)
        codec->time_base = time_base;
    else
        why::failed(AVERROR(ENOMEM));
    return codec;
}

AVStream* add_stream(const Container& container, const AVStream& source) {
    AVStream* const stream = avformat_new_stream(container.format_ctx.get(), nullptr);
    const bool described =
        stream != nullptr && ffmpeg::copy_description(*stream, source, *container.format_ctx->oformat);
    if (!described)
        why::failed(AVERROR(ENOMEM), "a stream cannot be described as that of the source is");
    return described ? stream : nullptr;
}

void copy_timecode(const Container& container, AVStream& stream, const AVStream& source) {
    trace_step(L"try get timecode from input video\n");
    const AVDictionaryEntry* const timecode = av_dict_get(source.metadata, "timecode", nullptr, 0);
    if (timecode == nullptr)
        return trace_step(L"NO timecode in input video\n");
    trace(TraceSwitch::create, kMuxTag, L"stream got timecode meta [%S]\n", timecode->value);
    av_dict_set(&container.format_ctx->metadata, "timecode", timecode->value, 0);
    av_dict_set(&stream.metadata, "timecode", timecode->value, 0);
}

AVRational set_times(const Container& container, AVStream& stream, MediaHandle& source) {
    AVStream& from = *source.video.stream;
    const AVOutputFormat& format = *container.format_ctx->oformat;
    stream.avg_frame_rate = from.avg_frame_rate;
    stream.r_frame_rate = from.r_frame_rate;
    const ffmpeg::SourceTimes times =
        ffmpeg::video_times(from.codecpar->codec_id, guessed_frame_rate(source.container, from), from.time_base);
    stream.time_base = ffmpeg::stream_time_base_of_copy(format, times);
    trace_step(L"timebase calc done\n");
    return ffmpeg::codec_time_base_of_copy(format, times);
}

void copy_picture(AVStream& stream, const Video& source) {
    trace_step(L"start video specific\n");
    stream.codecpar->video_delay = source.codec->has_b_frames;
    const AVRational told = source.stream->sample_aspect_ratio;
    stream.sample_aspect_ratio = stream.codecpar->sample_aspect_ratio =
        told.num != 0 ? told : source.codec->sample_aspect_ratio;
    trace_step(L"end of video\n");
}

void trace_description() {
    for (const wchar_t* step :
         {L"copy codec param done\n", L"copy codec tag done\n", L"copy bitrate done\n", L"copy extradata done\n"})
        trace_step(step);
}

void enter_stream(Video& video, AVStream& stream, const Video& source) {
    video.stream = &stream;
    video.stream_index = stream.index;
    video.stream_count = 1;
    video.frame_rate = source.frame_rate;
    // A source that delivers its pictures turned has packets that are not.
    video.width = source.turn.transposes ? source.height : source.width;
    video.height = source.turn.transposes ? source.width : source.height;
    video.pix_fmt = source.pix_fmt;
}

bool has_video(const MediaHandle& source) {
    return is_demuxing(source.container) && source.video.stream != nullptr && decoding_context(source) != nullptr;
}

bool has_sound(const MediaHandle& source) {
    const Track& track = source.tracks.first();
    return is_demuxing(source.container) && track.stream != nullptr && track.codec != nullptr;
}

void enter_track(Track& track, AVStream& stream, const Track& source) {
    track.stream = &stream;
    track.stream_index = stream.index;
    track.file = track.delivered = source.file;
}

}  // namespace

bool add_copied_video(MediaHandle& handle, MediaHandle& source) {
    const std::lock_guard lock(source.call_lock);
    if (!has_video(source)) {
        why::failed(AVERROR(EINVAL), "the source has no video");
        return false;
    }
    trace_step(L"video\n");
    AVStream* const stream = add_stream(handle.container, *source.video.stream);
    if (stream == nullptr) {
        trace_step(L"error create video stream\n");
        return false;
    }
    trace_description();
    handle.writing.mode |= mode::copies_video;
    handle.remuxing.video_source = source.number;
    copy_timecode(handle.container, *stream, *source.video.stream);
    const AVRational time_base = set_times(handle.container, *stream, source);
    copy_picture(*stream, source.video);
    enter_stream(handle.video, *stream, source.video);
    handle.video.codec = describe_codec(handle.container, *stream, time_base);
    return handle.video.codec != nullptr;
}

bool add_copied_sound(MediaHandle& handle, MediaHandle& source) {
    const std::lock_guard lock(source.call_lock);
    if (!has_sound(source))
        return true;
    trace_step(L"audio\n");
    const Track& from = source.tracks.first();
    AVStream* const stream = add_stream(handle.container, *from.stream);
    if (stream == nullptr)
        return false;
    stream->time_base = from.stream->time_base;
    handle.writing.mode |= mode::copies_sound;
    handle.remuxing.sound_source = source.number;
    Track& track = handle.tracks.add();
    enter_track(track, *stream, from);
    // The choice that pictures go through leaves it: no clock is coarser than itself.
    track.codec = describe_codec(handle.container, *stream, from.stream->time_base);
    handle.sound.user = track.delivered;
    return track.codec != nullptr;
}

}  // namespace qmio::write
