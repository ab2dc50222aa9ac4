#include "core/handle/codec_open.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "core/process/settings.h"
#include "ffmpeg/encoder_values.h"
#include "ffmpeg/packed_pixels.h"

namespace qmio {

namespace {

bool tells_threads(const ffmpeg::Dictionary* options) {
    return options != nullptr && options->get("threads") != nullptr;
}

int open_once(AVCodecContext& context, const AVCodec& codec, ffmpeg::Dictionary* options) {
    std::unique_lock<platform::NamedMutex> lock;
    if (settings().codec_mutex != nullptr)
        lock = std::unique_lock(*settings().codec_mutex);
    return avcodec_open2(&context, &codec, options != nullptr ? options->address() : nullptr);
}

bool can_have_thread() {
    try {
        std::thread([] {}).join();
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

// FFmpeg gives up altogether when the system has no thread left to give. So do the encoders of other makers, and few of
// them say why.
bool may_be_for_threads(int result, const AVCodec& codec) {
    if (result == AVERROR(EAGAIN) || result == AVERROR(ENOMEM))
        return true;
    return result < 0 && (codec.capabilities & AV_CODEC_CAP_OTHER_THREADS) != 0 &&
           (result == AVERROR_EXTERNAL || !can_have_thread());
}

}  // namespace

int open_codec(AVCodecContext& context, const AVCodec& codec, ffmpeg::Dictionary* options) {
    if (const int checked = ffmpeg::check_unchecked_values(context, codec); checked < 0)
        return checked;
    if (settings().core_count > 0 && av_codec_is_encoder(&codec) != 0 && !tells_threads(options))
        context.thread_count = settings().core_count;
    // A failed attempt empties the options and takes the channel layout out of the context.
    ffmpeg::Dictionary options_again = options != nullptr ? options->copy() : ffmpeg::Dictionary();
    const ffmpeg::ChannelLayout layout(context.ch_layout);
    const int result = open_once(context, codec, options);
    if (!may_be_for_threads(result, codec))
        return result;
    layout.copy_to(context.ch_layout);
    context.thread_count = 1;
    if (options == nullptr)
        return open_once(context, codec, options);
    *options = std::move(options_again);
    // The options are heeded after the context.
    options->set("threads", "1");
    return open_once(context, codec, options);
}

int most_pixels() {
    return settings().max_pixels > 0 ? settings().max_pixels : std::numeric_limits<int>::max();
}

int most_pixels(const AVFormatContext& container, const AVStream& stream) {
    return static_cast<int>(
        std::min<int64_t>(most_pixels(), ffmpeg::most_pixels_in(stream.codecpar->codec_id, container.pb)));
}

ffmpeg::CodecContextPtr make_stream_codec(const AVStream& stream) {
    ffmpeg::CodecContextPtr context(avcodec_alloc_context3(nullptr));
    if (context == nullptr || avcodec_parameters_to_context(context.get(), stream.codecpar) < 0)
        return nullptr;
    // Without the packets' time base, audio trimming and the pictures' timestamps are off.
    context->pkt_timebase = stream.time_base;
    context->max_pixels = most_pixels();
    return context;
}

}  // namespace qmio
