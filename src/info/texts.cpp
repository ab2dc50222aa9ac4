// Texts about the parts of a file, and time codes.
#include <optional>
#include <string>
#include <string_view>

#include "core/handle/entry.h"
#include "core/handle/frame_numbers.h"
#include "core/text/bounded_text.h"
#include "info/keys.h"
#include "info/parts.h"
#include "info/time_code.h"
#include "platform/text.h"
#include "qmio.h"

namespace qmio::info {

namespace {

constexpr int kNothing = -1;

// Null or empty: nothing is known.
using Value = std::optional<std::string>;

Value text_or_nothing(const char* text) {
    return text != nullptr ? Value(text) : Value();
}

// ---- containers ----

Value format_name(const MediaHandle& handle, const Part&) {
    const AVFormatContext& container = *handle.container.format_ctx;
    if (container.iformat != nullptr)
        return text_or_nothing(container.iformat->name);
    return container.oformat != nullptr ? text_or_nothing(container.oformat->name) : Value();
}

Value format_description(const MediaHandle& handle, const Part&) {
    const AVFormatContext& container = *handle.container.format_ctx;
    if (container.iformat != nullptr)
        return text_or_nothing(container.iformat->long_name);
    return container.oformat != nullptr ? text_or_nothing(container.oformat->long_name) : Value();
}

// ---- codecs ----

Value codec_name(const MediaHandle&, const Part& part) {
    const AVCodecDescriptor* const codec = avcodec_descriptor_get(part.stream->codecpar->codec_id);
    return codec != nullptr ? text_or_nothing(codec->name) : Value();
}

Value codec_description(const MediaHandle&, const Part& part) {
    const AVCodecDescriptor* const codec = avcodec_descriptor_get(part.stream->codecpar->codec_id);
    return codec != nullptr ? text_or_nothing(codec->long_name) : Value();
}

Value codec_tag(const MediaHandle&, const Part& part) {
    if (part.stream->codecpar->codec_tag == 0)
        return {};
    char text[AV_FOURCC_MAX_STRING_SIZE] = {};
    return Value(av_fourcc_make_string(text, part.stream->codecpar->codec_tag));
}

// A profile without a name has its number.
Value profile(const MediaHandle&, const Part& part) {
    const AVCodecParameters& codec = *part.stream->codecpar;
    constexpr int kUnknownProfile = -99;  // FFmpeg's constant changed its name
    if (const char* name = avcodec_profile_name(codec.codec_id, codec.profile); name != nullptr)
        return Value(name);
    return codec.profile != kUnknownProfile ? Value(std::to_string(codec.profile)) : Value();
}

// ---- pictures ----

Value pixel_format(const MediaHandle&, const Part& part) {
    return text_or_nothing(av_get_pix_fmt_name(static_cast<AVPixelFormat>(part.stream->codecpar->format)));
}

Value field_order(const MediaHandle&, const Part& part) {
    switch (part.stream->codecpar->field_order) {
        case AV_FIELD_PROGRESSIVE:
            return "progressive";
        case AV_FIELD_TT:
            return "tt";
        case AV_FIELD_BB:
            return "bb";
        case AV_FIELD_TB:
            return "tb";
        case AV_FIELD_BT:
            return "bt";
        default:
            return {};
    }
}

// The name of a number of the standards, where it is not the one for "unspecified".
template <class Number>
Value name_of_number(Number number, Number unspecified, const char* (*name)(Number)) {
    return number != unspecified ? text_or_nothing(name(number)) : Value();
}

Value colour_primaries(const MediaHandle&, const Part& part) {
    return name_of_number(part.stream->codecpar->color_primaries, AVCOL_PRI_UNSPECIFIED, av_color_primaries_name);
}
Value colour_transfer(const MediaHandle&, const Part& part) {
    return name_of_number(part.stream->codecpar->color_trc, AVCOL_TRC_UNSPECIFIED, av_color_transfer_name);
}
Value colour_matrix(const MediaHandle&, const Part& part) {
    return name_of_number(part.stream->codecpar->color_space, AVCOL_SPC_UNSPECIFIED, av_color_space_name);
}
Value colour_range(const MediaHandle&, const Part& part) {
    return name_of_number(part.stream->codecpar->color_range, AVCOL_RANGE_UNSPECIFIED, av_color_range_name);
}
Value chroma_location(const MediaHandle&, const Part& part) {
    return name_of_number(part.stream->codecpar->chroma_location, AVCHROMA_LOC_UNSPECIFIED, av_chroma_location_name);
}

// ---- sound ----

Value sample_format(const MediaHandle&, const Part& part) {
    return text_or_nothing(av_get_sample_fmt_name(static_cast<AVSampleFormat>(part.stream->codecpar->format)));
}

Value channel_layout(const MediaHandle&, const Part& part) {
    const AVChannelLayout& layout = part.stream->codecpar->ch_layout;
    char text[256] = {};
    const bool known = layout.order != AV_CHANNEL_ORDER_UNSPEC && layout.nb_channels > 0 &&
                       av_channel_layout_describe(&layout, text, sizeof text) > 0;
    return known ? Value(text) : Value();
}

// ---- tags and time codes ----

Value tag_names(const MediaHandle&, const Part& part) {
    std::string names;
    for (const AVDictionaryEntry* tag = nullptr;
         (tag = av_dict_get(part.tags, "", tag, AV_DICT_IGNORE_SUFFIX)) != nullptr;)
        names += (names.empty() ? "" : "\n") + std::string(tag->key);
    return names.empty() ? Value() : Value(names);
}

AVRational time_code_rate(const MediaHandle& handle) {
    const AVRational rate = guessed_frame_rate(handle.container, *handle.video.stream);
    return rate.num > 0 && rate.den > 0 ? rate : handle.video.frame_rate;
}

// Empty where the file has none or one that is no time code.
std::optional<TimeCodeStart> start_of(const MediaHandle& handle) {
    if (handle.video.stream == nullptr)
        return {};
    const AVRational rate = time_code_rate(handle);
    if (const char* const text = time_code_tag(handle); text != nullptr)
        return parse_time_code(text, rate);
    std::optional<TimeCodeStart> start = parse_time_code(handle.video.gop_time_code, rate);
    if (start)
        start->frame -= handle.video.gop_frame;
    return start;
}

// Without pictures to count there is the tag as it stands.
Value start_time_code(const MediaHandle& handle, const Part& part) {
    if (part.kind == PartKind::sound)
        return text_or_nothing(find_tag(part.tags, "timecode"));
    if (handle.video.stream == nullptr)
        return text_or_nothing(time_code_tag(handle));
    const std::optional<TimeCodeStart> start = start_of(handle);
    return start ? Value(time_code_text(*start, 0)) : Value();
}

// ---- keys ----

struct PartText {
    const char* name;
    unsigned of;  // the kinds of parts that it is about
    Value (*value)(const MediaHandle& handle, const Part& part);
};

constexpr unsigned kContainer = static_cast<unsigned>(PartKind::container);
constexpr unsigned kVideo = static_cast<unsigned>(PartKind::video);
constexpr unsigned kSound = static_cast<unsigned>(PartKind::sound);
constexpr unsigned kStreams = kVideo | kSound;
constexpr unsigned kAll = kStreams | kContainer;

constexpr PartText kPartTexts[] = {
    {"format", kContainer, format_name},
    {"format_long", kContainer, format_description},
    {"codec", kStreams, codec_name},
    {"codec_long", kStreams, codec_description},
    {"codec_tag", kStreams, codec_tag},
    {"profile", kStreams, profile},
    {"pix_fmt", kVideo, pixel_format},
    {"field_order", kVideo, field_order},
    {"color_primaries", kVideo, colour_primaries},
    {"color_transfer", kVideo, colour_transfer},
    {"color_space", kVideo, colour_matrix},
    {"color_range", kVideo, colour_range},
    {"chroma_location", kVideo, chroma_location},
    {"sample_fmt", kSound, sample_format},
    {"channel_layout", kSound, channel_layout},
    {"timecode", kAll, start_time_code},
    {"tags", kAll, tag_names},
};

constexpr std::string_view kTagPrefix = "tag:";

Value find_text(const MediaHandle& handle, int track, const char* key) {
    Part part;
    if (key == nullptr || key[0] == '\0' || !find_part(handle, track, part))
        return {};
    if (av_strncasecmp(key, kTagPrefix.data(), kTagPrefix.size()) == 0)
        return text_or_nothing(find_tag(part.tags, key + kTagPrefix.size()));
    const PartText* const known = find_key(kPartTexts, key);
    if (known == nullptr || (known->of & static_cast<unsigned>(part.kind)) == 0)
        return text_or_nothing(find_tag(part.tags, key));
    return known->value(handle, part);
}

// Tags are written by anyone in any code page.
std::string valid_utf8(const std::string& text) {
    return platform::narrow(platform::widen(text, platform::kCodePageUtf8), platform::kCodePageUtf8);
}

int deliver(const Value& text, char* buffer, int size) {
    copy_text(text ? *text : std::string_view(), buffer, size);
    return text ? static_cast<int>(text->size()) : kNothing;
}

Value find_time_code(const MediaHandle& handle, int64_t frame) {
    if (handle.video.stream == nullptr)
        return {};
    std::optional<TimeCodeStart> start = start_of(handle);
    if (!start)
        start = time_code_from_zero(time_code_rate(handle));
    return start ? Value(time_code_text(*start, frame)) : Value();
}

}  // namespace

std::vector<std::string_view> part_text_keys() {
    return names_in(kPartTexts);
}

}  // namespace qmio::info

using namespace qmio;

int qmio_get_text(MediaHandle* h, int track, const char* key, char* buf, int size) {
    copy_text({}, buf, size);
    return with_handle_as_it_stands(h, info::kNothing, info::kNothing, [=](MediaHandle& handle) {
        info::Value text = info::find_text(handle, track, key);
        if (text)
            text = info::valid_utf8(*text);
        return info::deliver(text, buf, size);
    });
}

int qmio_timecode(MediaHandle* h, long long frame, char* buf, int size) {
    copy_text({}, buf, size);
    return with_handle_as_it_stands(h, info::kNothing, info::kNothing, [=](MediaHandle& handle) {
        return info::deliver(info::find_time_code(handle, frame), buf, size);
    });
}
