// The video stream of a new file and its encoder.
#include <cstdlib>
#include <string>

#include "core/handle/codec_open.h"
#include "core/handle/frame_numbers.h"
#include "core/process/trace.h"
#include "core/process/why.h"
#include "core/text/option_passes.h"
#include "write/create.h"

namespace qmio::write {

namespace {

constexpr AVRational kDefaultRate{25, 1};

// "25" or "30000/1001"; what is 0 becomes 25 above the line and 1 below it.
AVRational parse_rate(const std::string& text) {
    const std::size_t slash = text.find('/');
    AVRational rate{read_integer(text), 1};
    if (slash != std::string::npos)
        rate.den = read_integer(text.substr(slash + 1));
    if (rate.den == 0)
        rate.den = 1;
    if (rate.num == 0)
        rate.num = static_cast<int>(int64_t{kDefaultRate.num} * rate.den);
    return rate;
}

AVRational rate_of(const Creation& creation) {
    const std::string* const text = find(creation.options, CreationKey::frame_rate);
    if (text == nullptr)
        return kDefaultRate;
    const AVRational rate = parse_rate(*text);
    trace(TraceSwitch::options, kCreateTag, L"set fps %d/%d\n", rate.num, rate.den);
    return rate;
}

void set_rate(AVCodecContext& codec, AVStream& stream, AVRational rate) {
    stream.avg_frame_rate = stream.r_frame_rate = codec.framerate = rate;
    stream.time_base = codec.time_base = {rate.den, rate.num};
}

AVFieldOrder field_order_of(const Creation& creation, const AVCodec& encoder) {
    const std::string* const text = find(creation.options, CreationKey::field_order);
    if (text == nullptr) {
        trace(TraceSwitch::options, kCreateTag, L"set progressive\n");
        return AV_FIELD_PROGRESSIVE;
    }
    const int32_t top = read_integer(*text);
    trace(TraceSwitch::options, kCreateTag, L"set top_field %d\n", top);
    if (encoder.id == AV_CODEC_ID_MJPEG)
        return top != 0 ? AV_FIELD_TT : AV_FIELD_BB;
    return top != 0 ? AV_FIELD_TB : AV_FIELD_BT;
}

void describe(const Creation& creation, AVCodecContext& codec, AVStream& stream) {
    const AskedFile& asked = creation.asked;
    codec.width = asked.width;
    codec.height = asked.height;
    set_rate(codec, stream, rate_of(creation));
    // Encoding reads it from the context; the stream gets it with the other parameters once the encoder is open.
    codec.field_order = field_order_of(creation, *asked.video_encoder);
    ask_for_global_header(creation.handle.container, codec, L"video global header\n");
    codec.codec_tag = asked.video_tag;
    codec.pix_fmt = asked.pix_fmt;
}

bool open_encoder(Creation& creation, AVCodecContext& codec) {
    ffmpeg::Dictionary options = encoder_options(creation, codec, add_video_encoder_options, L"video opts:\n");
    set_compliance(creation, codec, CreationKey::video_compliance, L"video experimental\n");
    const int result = open_codec(codec, *creation.asked.video_encoder, &options);
    report(kCreateTag, L"unused opts:\n");
    dump_dictionary(options, kCreateTag);
    if (result < 0) {
        report(kCreateTag, L"fail to avcodec_open2 %d\n", result);
        why::failed(result, "encoder %s cannot be opened", creation.asked.video_encoder->name);
    }
    return result >= 0;
}

AVRational told_rate(const Container& container, AVStream& stream) {
    const AVRational rate = guessed_frame_rate(container, stream);
    return rate.num < 1 || rate.den < 1 ? stream.avg_frame_rate : rate;
}

bool adopt_encoder(MediaHandle& handle, const AskedFile& asked) {
    Video& video = handle.video;
    if (const int result = avcodec_parameters_from_context(video.stream->codecpar, video.codec); result < 0) {
        why::failed(result);
        return false;
    }
    // Options tell the encoder; muxers take it from the stream.
    video.stream->sample_aspect_ratio = video.codec->sample_aspect_ratio;
    handle.writing.encoder.attach(video.codec);
    handle.writing.video_frame.reset(av_frame_alloc());
    video.frame_rate = told_rate(handle.container, *video.stream);
    video.width = asked.width;
    video.height = asked.height;
    video.pix_fmt = asked.pix_fmt;
    if (handle.writing.video_frame == nullptr)
        why::failed(AVERROR(ENOMEM));
    return handle.writing.video_frame != nullptr;
}

void enter_stream(Video& video, AVStream& stream, const AVCodec& encoder) {
    video.stream_index = stream.index;
    video.stream_count = 1;
    video.stream = &stream;
    video.coder = &encoder;
}

}  // namespace

bool add_video(Creation& creation) {
    MediaHandle& handle = creation.handle;
    Video& video = handle.video;
    const AVCodec* const encoder = creation.asked.video_encoder;
    trace(TraceSwitch::create, kCreateTag, L"video\n");
    if (encoder == nullptr)
        return true;
    AVStream* const stream = avformat_new_stream(handle.container.format_ctx.get(), nullptr);
    if (stream == nullptr)
        return true;
    enter_stream(video, *stream, *encoder);
    trace(TraceSwitch::create, kCreateTag, L"encoder found %p [%S]\n", static_cast<const void*>(encoder),
          encoder->name);
    video.codec = add_codec(handle.container, *encoder);
    if (video.codec == nullptr)
        return false;
    describe(creation, *video.codec, *stream);
    add_timecode(&handle.container.format_ctx->metadata, creation.options);
    add_timecode(&stream->metadata, creation.options);
    add_tags(&stream->metadata, creation.asked.video_tags);
    return open_encoder(creation, *video.codec) && adopt_encoder(handle, creation.asked);
}

}  // namespace qmio::write
