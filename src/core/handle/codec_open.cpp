#include "core/handle/codec_open.h"

#include <mutex>
#include <utility>

#include "core/process/settings.h"

namespace qmio {

namespace {

int open_once(AVCodecContext& context, const AVCodec& codec, ffmpeg::Dictionary* options) {
    std::unique_lock<platform::NamedMutex> lock;
    if (settings().codec_mutex != nullptr)
        lock = std::unique_lock(*settings().codec_mutex);
    return avcodec_open2(&context, &codec, options != nullptr ? options->address() : nullptr);
}

}  // namespace

int open_codec(AVCodecContext& context, const AVCodec& codec, ffmpeg::Dictionary* options) {
    // A failed attempt empties the options and takes the channel layout out of the context.
    ffmpeg::Dictionary options_again = options != nullptr ? options->copy() : ffmpeg::Dictionary();
    const ffmpeg::ChannelLayout layout(context.ch_layout);
    const int result = open_once(context, codec, options);
    // FFmpeg gives up altogether when the system has no thread left to give.
    if (result != AVERROR(EAGAIN) && result != AVERROR(ENOMEM))
        return result;
    if (options != nullptr)
        *options = std::move(options_again);
    layout.copy_to(context.ch_layout);
    context.thread_count = 1;
    return open_once(context, codec, options);
}

ffmpeg::CodecContextPtr make_stream_codec(const AVStream& stream) {
    ffmpeg::CodecContextPtr context(avcodec_alloc_context3(nullptr));
    if (context == nullptr || avcodec_parameters_to_context(context.get(), stream.codecpar) < 0)
        return nullptr;
    // Without the packets' time base, audio trimming and the pictures' timestamps are off.
    context->pkt_timebase = stream.time_base;
    return context;
}

}  // namespace qmio
