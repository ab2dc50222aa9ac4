// What the linked FFmpeg can write and decode, by name and in words.
#include <cstring>
#include <string>
#include <string_view>

#include "audio/sample_formats.h"
#include "core/handle/entry.h"
#include "ffmpeg/catalogue.h"
#include "ffmpeg/codec_lookup.h"
#include "ffmpeg/pixel_format.h"
#include "info/pixel_descriptions.h"
#include "qmio.h"

using namespace qmio;

namespace {

constexpr int kPictureAlignment = 16;  // of rows, in the picture sizes that hosts are told

bool same(const char* text, const char* other) {
    return text != nullptr && std::strcmp(text, other) == 0;
}

bool same_in_any_case(const char* text, const char* other) {
    return text != nullptr && av_strcasecmp(text, other) == 0;
}

// The host gave no size for its buffer: it holds what the texts of this file come to.
void copy_text(char* buffer, std::string_view text) {
    if (buffer == nullptr)
        return;
    std::memcpy(buffer, text.data(), text.size());
    buffer[text.size()] = '\0';
}

// ---- codecs ----

bool is_codec(const AVCodec& codec, const char* kind) {
    if (same_in_any_case(kind, "video"))
        return codec.type == AVMEDIA_TYPE_VIDEO;
    if (same_in_any_case(kind, "audio"))
        return codec.type == AVMEDIA_TYPE_AUDIO;
    if (same_in_any_case(kind, "data"))
        return codec.type == AVMEDIA_TYPE_DATA;
    if (same_in_any_case(kind, "subtitle"))
        return codec.type == AVMEDIA_TYPE_SUBTITLE;
    if (same_in_any_case(kind, "encoder"))
        return av_codec_is_encoder(&codec) != 0;
    return same_in_any_case(kind, "decoder") && av_codec_is_decoder(&codec) != 0;
}

// Case-sensitive, unlike the kinds: "Name" is no key, and hosts get null for it.
const void* codec_info(const AVCodec& codec, char* buffer, const char* key) {
    if (key == nullptr || same(key, "name")) {
        copy_text(buffer, codec.name);
        return codec.name;
    }
    if (same(key, "format"))
        return ffmpeg::interface_pixel_formats_of(codec);
    if (same(key, "sample_fmts"))
        return ffmpeg::sample_formats(codec);
    return same(key, "sample_rates") ? ffmpeg::sample_rates(codec) : nullptr;
}

// ---- formats ----

// "mp4,m4a" as a file dialog wants it: "*.mp4;*.m4a".
std::string patterns(std::string_view extensions) {
    std::string text = "*.";
    for (const char letter : extensions) {
        if (letter == ',')
            text += ";*.";
        else
            text += letter;
    }
    return text;
}

std::string description(const AVOutputFormat& format) {
    std::string text = format.long_name != nullptr ? format.long_name : "";
    text += std::string(" - ") + format.name;
    if (format.extensions != nullptr && *format.extensions != '\0')
        text += " (" + patterns(format.extensions) + ")";
    return text;
}

const char* format_info(const AVOutputFormat& format, char* buffer, const char* key) {
    if (same(key, "name")) {
        copy_text(buffer, format.name);
        return format.name;
    }
    if (buffer != nullptr)
        copy_text(buffer, description(format));
    return buffer;
}

// ---- pixel formats ----

const char* alpha_text(int32_t number) {
    return ffmpeg::has_alpha(ffmpeg::pixel_format_from_interface(number)) ? "true" : nullptr;
}

const char* pixel_info(int32_t number, const char* key) {
    if (same_in_any_case(key, "descr")) {
        const char* text = info::pixel_description(number);
        return text != nullptr ? text : "Unknown format";
    }
    if (same_in_any_case(key, "name"))
        return av_get_pix_fmt_name(ffmpeg::pixel_format_from_interface(number));
    if (same_in_any_case(key, "luma"))
        return reinterpret_cast<const char*>(static_cast<intptr_t>(info::luma_class(number)));
    if (same_in_any_case(key, "sample"))  // the number is a sample format's: hosts have no other call for its name
        return av_get_sample_fmt_name(static_cast<AVSampleFormat>(number));
    return same_in_any_case(key, "alpha") ? alpha_text(number) : "";
}

// ---- by name ----

constexpr intptr_t kUnknown = -1;

intptr_t address(const void* object) {
    return reinterpret_cast<intptr_t>(object);
}

// Kinds are case-sensitive here: "Codec" is none, and hosts get -1.
intptr_t object_id(const char* name, const char* kind) {
    if (same(kind, "codec") || same(kind, "decoder"))
        return address(avcodec_find_decoder_by_name(name));
    if (same(kind, "encoder"))
        return address(avcodec_find_encoder_by_name(name));
    if (same(kind, "fmt"))
        return name != nullptr ? address(av_find_input_format(name)) : 0;
    if (same(kind, "ofmt"))
        return name != nullptr ? address(av_guess_format(name, nullptr, nullptr)) : 0;
    return kUnknown;
}

intptr_t number_id(const char* name, const char* kind) {
    if (name == nullptr)
        return kUnknown;
    if (same(kind, "pix"))
        return ffmpeg::pixel_format_to_interface(av_get_pix_fmt(name));
    if (same(kind, "sample_fmt"))
        return av_get_sample_fmt(name);
    return same(kind, "sample_bits") ? audio::code_of_sample_format(av_get_sample_fmt(name)) : kUnknown;
}

intptr_t find_id(const char* name, const char* kind) {
    const intptr_t object = object_id(name, kind);
    return object != kUnknown ? object : number_id(name, kind);
}

}  // namespace

const AVCodec* qmio_first_codec(void) {
    return ffmpeg::first_codec();
}

const AVCodec* qmio_next_codec(const AVCodec* codec) {
    return codec != nullptr ? ffmpeg::next_codec(codec) : nullptr;
}

const AVOutputFormat* qmio_first_format(void) {
    return ffmpeg::first_format();
}

const AVOutputFormat* qmio_next_format(const AVOutputFormat* format) {
    return format != nullptr ? ffmpeg::next_format(format) : nullptr;
}

int qmio_is_codec(const AVCodec* codec, const char* kind) {
    return codec != nullptr && is_codec(*codec, kind) ? 1 : 0;
}

int qmio_is_format(const AVOutputFormat* format, const char* kind) {
    if (format == nullptr)
        return 0;
    if (same_in_any_case(kind, "video"))
        return format->video_codec != AV_CODEC_ID_NONE ? 1 : 0;
    return same_in_any_case(kind, "audio") && format->audio_codec != AV_CODEC_ID_NONE ? 1 : 0;
}

const void* qmio_get_codec_info(const AVCodec* codec, char* buf, const char* key) {
    copy_text(buf, "");
    return guarded<const void*>(nullptr, [=] { return codec != nullptr ? codec_info(*codec, buf, key) : nullptr; });
}

const char* qmio_get_format_info(const AVOutputFormat* format, char* buf, const char* key) {
    copy_text(buf, "");
    return guarded<const char*>(nullptr, [=] { return format != nullptr ? format_info(*format, buf, key) : nullptr; });
}

const AVCodec* qmio_get_format_prop(const AVOutputFormat* format, const char* key) {
    if (format == nullptr || !same_in_any_case(key, "vcodec") || format->video_codec == AV_CODEC_ID_NONE)
        return nullptr;
    // Encoder or decoder, whichever is registered first: for many formats hosts get a decoder.
    const AVCodec* codec = ffmpeg::first_codec();
    while (codec != nullptr &&
           (codec->type != AVMEDIA_TYPE_VIDEO || codec->id != format->video_codec || ffmpeg::is_vetoed(codec)))
        codec = ffmpeg::next_codec(codec);
    return codec;
}

const char* qmio_get_pix_info(int fmt, const char* key) {
    return guarded<const char*>("", [=] { return pixel_info(fmt, key); });
}

intptr_t qmio_get_id(const char* name, const char* kind) {
    return guarded(kUnknown, [=] { return kind != nullptr ? find_id(name, kind) : kUnknown; });
}

int qmio_get_bufsize(int fmt, int width, int height) {
    return guarded(-1, [=] {
        return av_image_get_buffer_size(ffmpeg::pixel_format_from_interface(fmt), width, height, kPictureAlignment);
    });
}
