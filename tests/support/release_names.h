// What FFmpeg's releases tell under different names: what a codec takes, and how a picture stands.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace qmio::test {

// FFmpeg's own lists, each ended as its type does; null where the codec tells none.
#ifdef QMIO_CODECS_TELL_BY_CALL
template <class Value>
const Value* supported(const AVCodec& codec, AVCodecConfig kind) {
    const void* values = nullptr;
    avcodec_get_supported_config(nullptr, &codec, kind, 0, &values, nullptr);
    return static_cast<const Value*>(values);
}
inline const AVPixelFormat* pixel_formats_of(const AVCodec& codec) {
    return supported<AVPixelFormat>(codec, AV_CODEC_CONFIG_PIX_FORMAT);
}
inline const AVSampleFormat* sample_formats_of(const AVCodec& codec) {
    return supported<AVSampleFormat>(codec, AV_CODEC_CONFIG_SAMPLE_FORMAT);
}
inline const int* sample_rates_of(const AVCodec& codec) {
    return supported<int>(codec, AV_CODEC_CONFIG_SAMPLE_RATE);
}
inline const AVChannelLayout* layouts_of(const AVCodec& codec) {
    return supported<AVChannelLayout>(codec, AV_CODEC_CONFIG_CHANNEL_LAYOUT);
}
#else
inline const AVPixelFormat* pixel_formats_of(const AVCodec& codec) {
    return codec.pix_fmts;
}
inline const AVSampleFormat* sample_formats_of(const AVCodec& codec) {
    return codec.sample_fmts;
}
inline const int* sample_rates_of(const AVCodec& codec) {
    return codec.supported_samplerates;
}
inline const AVChannelLayout* layouts_of(const AVCodec& codec) {
    return codec.ch_layouts;
}
#endif

// 1 or 0, as the library tells it.
#ifdef AV_FRAME_FLAG_INTERLACED
inline int is_interlaced(const AVFrame& picture) {
    return (picture.flags & AV_FRAME_FLAG_INTERLACED) != 0 ? 1 : 0;
}
inline int is_top_field_first(const AVFrame& picture) {
    return (picture.flags & AV_FRAME_FLAG_TOP_FIELD_FIRST) != 0 ? 1 : 0;
}
#else
inline int is_interlaced(const AVFrame& picture) {
    return picture.interlaced_frame;
}
inline int is_top_field_first(const AVFrame& picture) {
    return picture.top_field_first;
}
#endif

}  // namespace qmio::test
