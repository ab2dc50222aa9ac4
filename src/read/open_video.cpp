// The first video stream: its decoder, its frames, its length; and the frame-position index of a file being written.
#include <algorithm>
#include <limits>

#include "core/handle/codec_open.h"
#include "core/handle/frame_index.h"
#include "core/handle/frame_numbers.h"
#include "core/process/last_error.h"
#include "core/process/trace.h"
#include "core/process/why.h"
#include "core/text/option_passes.h"
#include "ffmpeg/codec_lookup.h"
#include "ffmpeg/frame_threads.h"
#include "ffmpeg/open_holes.h"
#include "ffmpeg/pixel_format.h"
#include "read/open.h"
#include "read/seek.h"

namespace qmio::read {

namespace {

bool find_decoder(const Container& container, Video& video) {
    trace(TraceSwitch::open, kOpenTag, L"VIDEO\n");
    video.codec = container.stream_codec[static_cast<std::size_t>(video.stream_index)].get();
    if (video.codec == nullptr) {
        why::failed(AVERROR(ENOMEM));
        return false;
    }
    if (video.codec->codec_id == AV_CODEC_ID_NONE) {
        trace(TraceSwitch::open, kOpenTag, L"No codec found for video stream %d", video.stream_index);
        set_last_error(AV_LOG_ERROR, L"No codec found for video stream %d", video.stream_index);
        why::failed(AVERROR_DECODER_NOT_FOUND, "nothing tells the codec of video stream %d", video.stream_index);
        return false;
    }
    video.coder = ffmpeg::find_decoder(video.codec->codec_id);
    if (video.coder == nullptr) {
        const char* const hole = ffmpeg::open_hole(video.codec->codec_id);
        why::failed(AVERROR_DECODER_NOT_FOUND, "there is no decoder of %s for video stream %d%s%s",
                    avcodec_get_name(video.codec->codec_id), video.stream_index,
                    hole != nullptr ? ": FFmpeg's has an open hole, " : "", hole != nullptr ? hole : "");
        return false;
    }
    trace(TraceSwitch::open, kOpenTag, L"\tavcodec_find_decoder OK\n");
    return true;
}

// Any number of a host's options is taken; beyond the ends it means what the end means.
AVDiscard take_skipping(AVCodecContext& codec) {
    int64_t number = AVDISCARD_DEFAULT;
    av_opt_get_int(&codec, "skip_frame", 0, &number);
    codec.skip_frame = static_cast<AVDiscard>(std::clamp<int64_t>(number, AVDISCARD_NONE, AVDISCARD_ALL));
    return codec.skip_frame;
}

bool open_decoder(const Video& video, Reading& reading, const Options& options) {
    AVCodecContext& codec = *video.codec;
    ffmpeg::Dictionary dictionary;
    add_video_decoder_options(codec, dictionary, Options("threads=0"));
    add_video_decoder_options(codec, dictionary, options);
    if (tracing(TraceSwitch::options)) {
        trace(TraceSwitch::options, kOpenTag, L"video opts:\n");
        dump_dictionary(dictionary, kOpenTag);
    }
    ffmpeg::keep_from_frame_threads(codec.codec_id, dictionary);
    reading.decoder_options = dictionary.copy();
    reading.concealment.watch(codec);
    if (const int result = open_codec(codec, *video.coder, &dictionary); result < 0) {
        why::failed(result, "decoder %s cannot be opened", video.coder->name);
        return false;
    }
    reading.decoder.attach(&codec);
    reading.skip_frame = take_skipping(codec);
    return true;
}

bool prepare_pictures(Video& video, Reading& reading) {
    video.width = video.codec->width;
    video.height = video.codec->height;
    video.pix_fmt = video.codec->pix_fmt;
    trace(TraceSwitch::open, kOpenTag, L"\tavcodec_open OK, %d x %d, pix fmt %d (%S)\n", video.width, video.height,
          ffmpeg::pixel_format_to_interface(video.pix_fmt), av_get_pix_fmt_name(video.pix_fmt));
    video.dst_pix_fmt = AV_PIX_FMT_BGRA;
    reading.pFrame.reset(av_frame_alloc());
    reading.pFrameRGB.reset(av_frame_alloc());
    const bool is_done = reading.pFrame != nullptr && reading.pFrameRGB != nullptr;
    if (!is_done)
        why::failed(AVERROR(ENOMEM));
    return is_done;
}

int32_t to_frame_count(double frames) {
    return static_cast<int32_t>(std::clamp(frames, 0.0, double{std::numeric_limits<int32_t>::max()}));
}

int32_t count_by_container(const AVFormatContext& container, AVRational rate) {
    if (container.duration == AV_NOPTS_VALUE || rate.den == 0)
        return 1;
    const int64_t milliseconds = container.duration / 1000;
    trace(TraceSwitch::open, kOpenTag, L"format dur %I64d\n", container.duration);
    const int64_t frames = scale_time(milliseconds, rate, 1) / 1000;
    return to_frame_count(static_cast<double>(frames));
}

int32_t count_by_stream(const AVStream& stream, AVRational rate) {
    // In this order and in double: a source whose length is a whole number of frames may come out one short, as ever.
    const double frames = (static_cast<double>(rate.num) / rate.den) * static_cast<double>(stream.duration) *
                          (static_cast<double>(stream.time_base.num) / stream.time_base.den);
    const int32_t count = to_frame_count(frames);
    trace(TraceSwitch::open, kOpenTag, L"frames %I64d, stream dur %I64d, timebase %d/%d, framerate %d/%d\n",
          int64_t{count}, stream.duration, stream.time_base.num, stream.time_base.den, rate.num, rate.den);
    return count;
}

int32_t count_frames(const Container& container, AVStream& stream) {
    const AVRational rate = guessed_frame_rate(container, stream);
    if (stream.avg_frame_rate.num == 0 || stream.avg_frame_rate.den == 0)
        return 1;
    if (stream.duration == AV_NOPTS_VALUE)
        return count_by_container(*container.format_ctx, rate);
    return rate.den != 0 ? count_by_stream(stream, rate) : 1;
}

// The count is a quotient of length and rate; what the container tells of its own can only confirm it.
FrameCountOrigin origin_of_count(const Container& container, const AVStream& stream, int32_t count) {
    const bool has_length = stream.duration != AV_NOPTS_VALUE || container.format_ctx->duration != AV_NOPTS_VALUE;
    const bool has_rate = stream.avg_frame_rate.num != 0 && stream.avg_frame_rate.den != 0;
    if (stream.nb_frames > 0 && stream.nb_frames == count)
        return FrameCountOrigin::told;
    return has_length && has_rate ? FrameCountOrigin::computed : FrameCountOrigin::unknown;
}

AVRational delivery_frame_rate(const Container& container, AVStream& stream) {
    const AVRational rate = guessed_frame_rate(container, stream);
    return rate.den < 1 || rate.num < 1 ? stream.avg_frame_rate : rate;
}

void measure_stream(const Container& container, Video& video, AVStream& stream) {
    video.frame_count = count_frames(container, stream);
    video.frame_count_origin = origin_of_count(container, stream, video.frame_count);
    trace(TraceSwitch::open, kOpenTag, L"frames %d, stream frames  %I64d\n", video.frame_count, stream.nb_frames);
    video.stream = &stream;
    if (stream.start_time != AV_NOPTS_VALUE)
        video.start_time_us = scale_time(stream.start_time, stream.time_base, AV_TIME_BASE);
    video.frame_rate = delivery_frame_rate(container, stream);
}

}  // namespace

void find_first_video(const Container& container, Video& video) {
    for (std::size_t index = 0; index < container.stream_codec.size(); ++index) {
        const AVCodecContext* codec = container.stream_codec[index].get();
        if (codec == nullptr || codec->codec_type != AVMEDIA_TYPE_VIDEO)
            continue;
        if (video.stream_count++ == 0)
            video.stream_index = static_cast<int32_t>(index);
    }
}

bool open_video(MediaHandle& handle, const Options& options) {
    Video& video = handle.video;
    if (!find_decoder(handle.container, video) || !open_decoder(video, handle.reading, options) ||
        !prepare_pictures(video, handle.reading))
        return false;
    measure_stream(handle.container, video, *handle.container.format_ctx->streams[video.stream_index]);
    return true;
}

void renew_decoder(Source& source) {
    Video& video = source.video;
    Reading& reading = source.reading;
    ffmpeg::CodecContextPtr codec = video.stream != nullptr ? make_stream_codec(*video.stream) : nullptr;
    ffmpeg::Dictionary options = reading.decoder_options.copy();
    options.set("threads", "1");
    if (codec == nullptr)
        return;
    reading.concealment.watch(*codec);
    if (open_codec(*codec, *video.coder, &options) < 0)
        return;
    reading.decoder.flush();
    reading.decoder.attach(codec.get());
    video.codec = codec.get();
    source.container.stream_codec[static_cast<std::size_t>(video.stream_index)] = std::move(codec);
}

void attach_frame_index(MediaHandle& handle) {
    handle.container.index_mapping = frame_index::attach(handle.file_name);
    const int64_t frames = frame_index::frame_total(handle.container.index_mapping.get());
    if (frames < 1)
        return;
    // The demuxer sees the last indexed frame once, before reading starts.
    Source source(handle);
    seek_frame(source, static_cast<int32_t>(frames - 1));
    seek_frame(source, 0);
}

}  // namespace qmio::read
