#include "ffmpeg/catalogue.h"

#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "ffmpeg/pixel_format.h"
#include "platform/never_destroyed.h"
#include "platform/static_mutex.h"

namespace qmio::ffmpeg {

namespace {

using FormatLists = std::map<const AVCodec*, std::vector<int32_t>>;

// Made when first asked for.
constinit platform::NeverDestroyed<std::unique_ptr<FormatLists>> lists;
constinit platform::StaticMutex lists_lock;

// The element behind `element`, or the first one for null.
template <class Element>
const Element* behind(const Element* (*iterate)(void**), const Element* element) {
    void* position = nullptr;
    const Element* found = iterate(&position);
    if (element == nullptr)
        return found;
    while (found != nullptr && found != element)
        found = iterate(&position);
    return found != nullptr ? iterate(&position) : nullptr;
}

#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(61, 13, 100)
const void* supported(const AVCodec& codec, AVCodecConfig kind) {
    const void* values = nullptr;
    avcodec_get_supported_config(nullptr, &codec, kind, 0, &values, nullptr);
    return values;
}
const AVPixelFormat* pixel_formats(const AVCodec& codec) {
    return static_cast<const AVPixelFormat*>(supported(codec, AV_CODEC_CONFIG_PIX_FORMAT));
}
#else
const AVPixelFormat* pixel_formats(const AVCodec& codec) {
    return codec.pix_fmts;
}
#endif

std::vector<int32_t> translate(const AVPixelFormat* formats) {
    std::vector<int32_t> numbers;
    for (; *formats != AV_PIX_FMT_NONE; ++formats)
        numbers.push_back(pixel_format_to_interface(*formats));
    numbers.push_back(-1);
    return numbers;
}

}  // namespace

const AVCodec* first_codec() {
    return behind<AVCodec>(av_codec_iterate, nullptr);
}
const AVCodec* next_codec(const AVCodec* codec) {
    return behind<AVCodec>(av_codec_iterate, codec);
}

const AVOutputFormat* first_format() {
    return behind<AVOutputFormat>(av_muxer_iterate, nullptr);
}
const AVOutputFormat* next_format(const AVOutputFormat* format) {
    return behind<AVOutputFormat>(av_muxer_iterate, format);
}

#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(61, 13, 100)
const AVSampleFormat* sample_formats(const AVCodec& codec) {
    return static_cast<const AVSampleFormat*>(supported(codec, AV_CODEC_CONFIG_SAMPLE_FORMAT));
}
const int* sample_rates(const AVCodec& codec) {
    return static_cast<const int*>(supported(codec, AV_CODEC_CONFIG_SAMPLE_RATE));
}
const AVChannelLayout* channel_layouts(const AVCodec& codec) {
    return static_cast<const AVChannelLayout*>(supported(codec, AV_CODEC_CONFIG_CHANNEL_LAYOUT));
}
#else
const AVSampleFormat* sample_formats(const AVCodec& codec) {
    return codec.sample_fmts;
}
const int* sample_rates(const AVCodec& codec) {
    return codec.supported_samplerates;
}
const AVChannelLayout* channel_layouts(const AVCodec& codec) {
    return codec.ch_layouts;
}
#endif

const int32_t* interface_pixel_formats_of(const AVCodec& codec) {
    const AVPixelFormat* formats = pixel_formats(codec);
    if (formats == nullptr)
        return nullptr;
    const std::lock_guard lock(lists_lock);
    if (lists.value == nullptr)
        lists.value = std::make_unique<FormatLists>();
    const auto found = lists.value->find(&codec);
    return found != lists.value->end() ? found->second.data()
                                       : lists.value->emplace(&codec, translate(formats)).first->second.data();
}

void forget_pixel_formats() {
    lists.value.reset();
}

}  // namespace qmio::ffmpeg
