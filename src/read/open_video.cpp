// The first video stream: its decoder, its frames, its length; and the frame-position index of a file being written.
#include <algorithm>
#include <limits>

#include "core/codec_open.h"
#include "core/frame_index.h"
#include "core/frame_numbers.h"
#include "core/last_error.h"
#include "core/option_string.h"
#include "core/trace.h"
#include "ffmpeg/codec_lookup.h"
#include "ffmpeg/pixel_format.h"
#include "read/open.h"
#include "read/seek.h"

namespace qmio::read {

namespace {

bool find_decoder(MediaHandle& handle) {
    ReaderState& reader = handle.reader;
    trace(TraceSwitch::open, kOpenTag, L"VIDEO\n");
    reader.pCodecCtx = handle.stream_codec[static_cast<std::size_t>(reader.video_stream_index)].get();
    if (reader.pCodecCtx == nullptr)
        return false;
    if (reader.pCodecCtx->codec_id == AV_CODEC_ID_NONE) {
        trace(TraceSwitch::open, kOpenTag, L"No codec found for video stream %d", reader.video_stream_index);
        set_last_error(AV_LOG_ERROR, L"No codec found for video stream %d", reader.video_stream_index);
        return false;
    }
    reader.video_codec = ffmpeg::find_decoder(reader.pCodecCtx->codec_id);
    if (reader.video_codec == nullptr)
        return false;
    trace(TraceSwitch::open, kOpenTag, L"\tavcodec_find_decoder OK\n");
    return true;
}

bool open_decoder(MediaHandle& handle, const char* options) {
    AVCodecContext& codec = *handle.reader.pCodecCtx;
    ffmpeg::Dictionary dictionary;
    add_video_decoder_options(codec, dictionary, "threads=0");
    if (options != nullptr)
        add_video_decoder_options(codec, dictionary, options);
    if (tracing(TraceSwitch::options)) {
        trace(TraceSwitch::options, kOpenTag, L"video opts:\n");
        dump_dictionary(dictionary, kOpenTag);
    }
    if (open_codec(codec, *handle.reader.video_codec, &dictionary) < 0)
        return false;
    handle.reader.video_decoder.attach(&codec);
    handle.reader.skip_frame = codec.skip_frame;
    return true;
}

bool prepare_pictures(MediaHandle& handle) {
    ReaderState& reader = handle.reader;
    reader.width = reader.pCodecCtx->width;
    reader.height = reader.pCodecCtx->height;
    reader.pix_fmt = reader.pCodecCtx->pix_fmt;
    trace(TraceSwitch::open, kOpenTag, L"\tavcodec_open OK, %d x %d, pix fmt %d (%S)\n", reader.width, reader.height,
          ffmpeg::pixel_format_to_interface(reader.pix_fmt), av_get_pix_fmt_name(reader.pix_fmt));
    reader.picture_size = av_image_get_buffer_size(reader.pix_fmt, reader.width, reader.height, kPictureAlignment);
    reader.dst_pix_fmt = AV_PIX_FMT_BGRA;
    reader.dst_picture_size =
        av_image_get_buffer_size(reader.dst_pix_fmt, reader.width, reader.height, kPictureAlignment);
    reader.pFrame.reset(av_frame_alloc());
    reader.pFrameRGB.reset(av_frame_alloc());
    return reader.pFrame != nullptr && reader.pFrameRGB != nullptr;
}

int32_t to_frame_count(double frames) {
    return static_cast<int32_t>(std::clamp(frames, 0.0, double{std::numeric_limits<int32_t>::max()}));
}

int32_t count_by_container(const AVFormatContext& container, AVRational rate) {
    if (container.duration == AV_NOPTS_VALUE || rate.den == 0)
        return 1;
    const int64_t milliseconds = container.duration / 1000;
    trace(TraceSwitch::open, kOpenTag, L"format dur %I64d\n", container.duration);
    return to_frame_count(static_cast<double>(scale_time(milliseconds, rate, 1) / 1000));
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

int32_t count_frames(const MediaHandle& handle, AVStream& stream) {
    const AVRational rate = guessed_frame_rate(handle, stream);
    if (stream.avg_frame_rate.num == 0 || stream.avg_frame_rate.den == 0)
        return 1;
    if (stream.duration == AV_NOPTS_VALUE)
        return count_by_container(*handle.format_ctx, rate);
    return rate.den != 0 ? count_by_stream(stream, rate) : 1;
}

AVRational delivery_frame_rate(const MediaHandle& handle, AVStream& stream) {
    const AVRational rate = guessed_frame_rate(handle, stream);
    return rate.den < 1 || rate.num < 1 ? stream.avg_frame_rate : rate;
}

void measure_stream(MediaHandle& handle, AVStream& stream) {
    ReaderState& reader = handle.reader;
    reader.frame_count = count_frames(handle, stream);
    trace(TraceSwitch::open, kOpenTag, L"frames %d, stream frames  %I64d\n", reader.frame_count, stream.nb_frames);
    reader.video_st = &stream;
    reader.want_frame = 0;
    reader.have_frame = kNoFrame;
    if (stream.start_time != AV_NOPTS_VALUE)
        reader.start_time_us = scale_time(stream.start_time, stream.time_base, AV_TIME_BASE);
    reader.frame_rate = delivery_frame_rate(handle, stream);
}

}  // namespace

void find_first_video(MediaHandle& handle) {
    ReaderState& reader = handle.reader;
    for (std::size_t index = 0; index < handle.stream_codec.size(); ++index) {
        const AVCodecContext* codec = handle.stream_codec[index].get();
        if (codec == nullptr || codec->codec_type != AVMEDIA_TYPE_VIDEO)
            continue;
        if (reader.video_stream_count++ == 0)
            reader.video_stream_index = static_cast<int32_t>(index);
    }
    if (reader.video_stream_count > 0)
        reader.stream_flags |= stream_flag::has_video;
}

bool open_video(MediaHandle& handle, const char* options) {
    if (!find_decoder(handle) || !open_decoder(handle, options) || !prepare_pictures(handle))
        return false;
    measure_stream(handle, *handle.format_ctx->streams[handle.reader.video_stream_index]);
    return true;
}

void attach_frame_index(MediaHandle& handle) {
    handle.index_mapping = frame_index::attach(handle.file_name);
    const int64_t frames = frame_index::frame_total(handle.index_mapping.get());
    if (frames < 1)
        return;
    // The demuxer sees the last indexed frame once, before reading starts.
    seek_frame(handle, static_cast<int32_t>(frames - 1));
    seek_frame(handle, 0);
}

}  // namespace qmio::read
