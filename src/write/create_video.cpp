// The video stream of a new file and its encoder.
#include <cstdlib>
#include <string>

#include "core/codec_open.h"
#include "core/option_string.h"
#include "core/trace.h"
#include "write/create.h"

namespace qmio::write {

namespace {

constexpr AVRational kDefaultRate{25, 1};

// "25" or "30000/1001"; what is 0 becomes 25 above the line and 1 below it.
AVRational parse_rate(const std::string& text) {
    const std::size_t slash = text.find('/');
    AVRational rate{read_integer(text.c_str()), 1};
    if (slash != std::string::npos)
        rate.den = read_integer(text.c_str() + slash + 1);
    if (rate.den == 0)
        rate.den = 1;
    if (rate.num == 0)
        rate.num = static_cast<int>(int64_t{kDefaultRate.num} * rate.den);
    return rate;
}

AVRational rate_of(const Creation& creation) {
    std::string text;
    if (!find_value(creation.options, "r", text))
        return kDefaultRate;
    const AVRational rate = parse_rate(text);
    trace(TraceSwitch::options, kCreateTag, L"set fps %d/%d\n", rate.num, rate.den);
    return rate;
}

void set_rate(AVCodecContext& codec, AVStream& stream, AVRational rate) {
    stream.avg_frame_rate = stream.r_frame_rate = codec.framerate = rate;
    stream.time_base = codec.time_base = {rate.den, rate.num};
}

AVFieldOrder field_order_of(const Creation& creation, const AVCodec& encoder) {
    std::string text;
    if (!find_value(creation.options, "top", text)) {
        trace(TraceSwitch::options, kCreateTag, L"set progressive\n");
        return AV_FIELD_PROGRESSIVE;
    }
    const int32_t top = read_integer(text.c_str());
    trace(TraceSwitch::options, kCreateTag, L"set top_field %d\n", top);
    if (encoder.id == AV_CODEC_ID_MJPEG)
        return top != 0 ? AV_FIELD_TT : AV_FIELD_BB;
    return top != 0 ? AV_FIELD_TB : AV_FIELD_BT;
}

void describe(const Creation& creation, AVCodecContext& codec, AVStream& stream) {
    const WriterState& writer = creation.handle.writer;
    codec.width = writer.width;
    codec.height = writer.height;
    set_rate(codec, stream, rate_of(creation));
    // Encoding reads it from the context; the stream gets it with the other parameters once the encoder is open.
    codec.field_order = field_order_of(creation, *writer.video_encoder);
    ask_for_global_header(creation.handle, codec, L"video global header\n");
    codec.codec_tag = writer.video_tag;
    codec.pix_fmt = writer.pix_fmt;
}

bool open_encoder(const Creation& creation, AVCodecContext& codec) {
    ffmpeg::Dictionary options = encoder_options(creation, codec, add_video_encoder_options, L"video opts:\n");
    set_compliance(creation, codec, "strict:v", L"video experimental\n");
    const int result = open_codec(codec, *creation.handle.writer.video_encoder, &options);
    report(kCreateTag, L"unused opts:\n");
    dump_dictionary(options, kCreateTag);
    if (result < 0)
        report(kCreateTag, L"fail to avcodec_open2 %d\n", result);
    return result >= 0;
}

AVRational delivered_rate(const MediaHandle& handle, AVStream& stream) {
    const AVRational rate = av_guess_frame_rate(handle.format_ctx.get(), &stream, nullptr);
    return rate.num < 1 || rate.den < 1 ? stream.avg_frame_rate : rate;
}

bool adopt_encoder(MediaHandle& handle, AVCodecContext& codec, AVStream& stream) {
    WriterState& writer = handle.writer;
    if (avcodec_parameters_from_context(stream.codecpar, &codec) < 0)
        return false;
    // Options tell the encoder; muxers take it from the stream.
    stream.sample_aspect_ratio = codec.sample_aspect_ratio;
    writer.video_packets.attach(&codec);
    writer.video_frame.reset(av_frame_alloc());
    handle.reader.frame_rate = delivered_rate(handle, stream);
    handle.reader.width = writer.width;
    handle.reader.height = writer.height;
    handle.reader.pix_fmt = writer.pix_fmt;
    handle.reader.picture_size =
        av_image_get_buffer_size(writer.pix_fmt, writer.width, writer.height, kPictureAlignment);
    return writer.video_frame != nullptr;
}

}  // namespace

bool add_video(Creation& creation) {
    MediaHandle& handle = creation.handle;
    WriterState& writer = handle.writer;
    trace(TraceSwitch::create, kCreateTag, L"video\n");
    if (writer.video_encoder == nullptr)
        return true;
    AVStream* const stream = avformat_new_stream(handle.format_ctx.get(), nullptr);
    if (stream == nullptr)
        return true;
    writer.has_video = 1;
    handle.reader.video_stream_index = stream->index;
    handle.reader.video_stream_count = 1;
    handle.reader.video_st = writer.video_stream = stream;
    trace(TraceSwitch::create, kCreateTag, L"encoder found %p [%S]\n", static_cast<const void*>(writer.video_encoder),
          writer.video_encoder->name);
    AVCodecContext* const codec = writer.video_codec_ctx = add_codec(handle, *writer.video_encoder);
    if (codec == nullptr)
        return false;
    describe(creation, *codec, *stream);
    add_timecode(&handle.format_ctx->metadata, creation.options);
    add_timecode(&stream->metadata, creation.options);
    return open_encoder(creation, *codec) && adopt_encoder(handle, *codec, *stream);
}

}  // namespace qmio::write
