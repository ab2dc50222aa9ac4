// Texts and numbers about a file.
#include "audio/sample_formats.h"
#include "core/handle/entry.h"
#include "ffmpeg/frame_flags.h"
#include "ffmpeg/pixel_format.h"
#include "info/keys.h"
#include "info/part_numbers.h"
#include "info/version.h"
#include "qmio.h"

namespace qmio::info {

namespace {

const AVCodecContext* video_codec(const MediaHandle& handle) {
    return decoding_context(handle);
}
const AVCodecContext* audio_codec(const MediaHandle& handle) {
    return handle.tracks.first().codec;
}

// Of a source alone: in a file that is being written these keys tell nothing.
const AVCodec* video_decoder(const MediaHandle& handle) {
    return is_writer(handle) ? nullptr : handle.video.coder;
}
const AVCodec* audio_decoder(const MediaHandle& handle) {
    return is_writer(handle) ? nullptr : handle.tracks.first().coder;
}

// ---- texts ----

struct Text {
    const char* name;
    const char* (*value)(const MediaHandle& handle);
};

template <class Object>
const char* name_of(const Object* object) {
    return object != nullptr ? object->name : nullptr;
}
template <class Object>
const char* description_of(const Object* object) {
    return object != nullptr ? object->long_name : nullptr;
}

const AVInputFormat* input_format(const MediaHandle& handle) {
    return handle.container.format_ctx != nullptr ? handle.container.format_ctx->iformat : nullptr;
}
const AVOutputFormat* output_format(const MediaHandle& handle) {
    return handle.container.format_ctx != nullptr ? handle.container.format_ctx->oformat : nullptr;
}

const char* pixel_text(const MediaHandle& handle, const char* key) {
    const AVCodecContext* codec = video_codec(handle);
    return codec != nullptr ? qmio_get_pix_info(ffmpeg::pixel_format_to_interface(codec->pix_fmt), key) : nullptr;
}

constexpr Text kTexts[] = {
    {"fmt", [](const MediaHandle& h) { return name_of(input_format(h)); }},
    {"fdescr", [](const MediaHandle& h) { return description_of(input_format(h)); }},
    {"ofmt", [](const MediaHandle& h) { return name_of(output_format(h)); }},
    {"ofdescr", [](const MediaHandle& h) { return description_of(output_format(h)); }},
    {"codec", [](const MediaHandle& h) { return name_of(video_decoder(h)); }},
    {"cdescr", [](const MediaHandle& h) { return description_of(video_decoder(h)); }},
    {"pix", [](const MediaHandle& h) { return pixel_text(h, "name"); }},
    {"pdescr", [](const MediaHandle& h) { return pixel_text(h, "descr"); }},
    {"acodec", [](const MediaHandle& h) { return name_of(audio_decoder(h)); }},
    {"acdescr", [](const MediaHandle& h) { return description_of(audio_decoder(h)); }},
};

const char* file_text(const MediaHandle& handle, const char* key) {
    const Text* known = find_key(kTexts, key);
    const char* text = known != nullptr ? known->value(handle) : nullptr;
    return text != nullptr ? text : "";
}

// ---- numbers ----

// The frame that the time code of the file's start names; 0 when it has none.
int64_t start_frame(const MediaHandle& handle) {
    const char* text = timecode_text(handle.container, handle.video.stream);
    AVTimecode timecode = {};
    const bool known = video_codec(handle) != nullptr && text != nullptr &&
                       av_timecode_init_from_string(&timecode, handle.video.frame_rate, text, nullptr) >= 0;
    return known ? timecode.start : 0;
}

int64_t of_picture(const MediaHandle& handle, bool (*question)(const AVFrame&)) {
    const AVFrame* picture = decoded_picture(handle);
    return picture != nullptr ? question(*picture) : -1;
}

int64_t file_channels(const MediaHandle& handle) {
    int64_t channels = 0;
    for (const Track& track : handle.tracks)
        channels += track.codec != nullptr ? track.codec->ch_layout.nb_channels : 0;
    return channels;
}

int64_t user_channels(const MediaHandle& handle) {
    int64_t channels = 0;
    for (const Track& track : handle.tracks)
        channels += track.delivered.channels;
    return channels;
}

// A number out of a codec context, or `otherwise` without one.
template <class Value>
int64_t of_codec(const AVCodecContext* codec, int64_t otherwise, Value&& value) {
    return codec != nullptr ? static_cast<int64_t>(value(*codec)) : otherwise;
}

constexpr FileKey kNumbers[] = {
    {"check", false, [](const MediaHandle& h) -> int64_t { return h.container.format_ctx != nullptr ? 0 : -1; }},
    {"error", false, [](const MediaHandle& h) -> int64_t { return h.reading.read_result; }},
    {"write_error", false, [](const MediaHandle& h) -> int64_t { return h.writing.first_error; }},
    {"width", true, [](const MediaHandle& h) -> int64_t { return h.video.width; }},
    {"height", true, [](const MediaHandle& h) -> int64_t { return h.video.height; }},
    {"frames", true, [](const MediaHandle& h) -> int64_t { return h.video.frame_count; }},
    {"nvideo", true, [](const MediaHandle& h) -> int64_t { return h.video.stream_count; }},
    {"naudio", true, [](const MediaHandle& h) -> int64_t { return h.tracks.count(); }},
    {"video", true, [](const MediaHandle& h) -> int64_t { return h.video.stream_index; }},
    {"audio", true, [](const MediaHandle& h) -> int64_t { return h.tracks.first().stream_index; }},
    {"fmt", true, [](const MediaHandle& h) { return address(input_format(h)); }},
    {"codec", true, [](const MediaHandle& h) { return address(video_decoder(h)); }},
    {"acodec", true, [](const MediaHandle& h) { return address(audio_decoder(h)); }},
    {"pix", true,
     [](const MediaHandle& h) {
         return of_codec(video_codec(h), -1,
                         [](const AVCodecContext& codec) { return ffmpeg::pixel_format_to_interface(codec.pix_fmt); });
     }},
    {"start", true, start_frame},
    {"interlace", true, [](const MediaHandle& h) { return of_picture(h, ffmpeg::is_interlaced); }},
    {"top_field", true, [](const MediaHandle& h) { return of_picture(h, ffmpeg::is_top_field_first); }},
    {"dts_frame", false, [](const MediaHandle& h) -> int64_t { return h.video.have_frame; }},
    {"sample_rate", false,
     [](const MediaHandle& h) {
         return of_codec(audio_codec(h), 0, [](const AVCodecContext& codec) { return codec.sample_rate; });
     }},
    {"audio_rate", false, [](const MediaHandle& h) -> int64_t { return h.sound.user.rate; }},
    {"sample_fmt_id", false,
     [](const MediaHandle& h) {
         return of_codec(audio_codec(h), -1, [](const AVCodecContext& codec) { return codec.sample_fmt; });
     }},
    {"audio_fmt_id", false, [](const MediaHandle& h) -> int64_t { return h.sound.user.format; }},
    {"sample_fmt", false,
     [](const MediaHandle& h) {
         return of_codec(audio_codec(h), 0,
                         [](const AVCodecContext& codec) { return audio::code_of_sample_format(codec.sample_fmt); });
     }},
    {"audio_fmt", false,
     [](const MediaHandle& h) {
         return of_codec(audio_codec(h), 0,
                         [&](const AVCodecContext&) { return audio::code_of_sample_format(h.sound.user.format); });
     }},
    {"channels", false, file_channels},
    {"audio_channels", false, user_channels},
    {"align", true,
     [](const MediaHandle& h) {
         return of_codec(audio_codec(h), 0, [](const AVCodecContext& codec) { return codec.block_align; });
     }},
    {"packet", true, [](const MediaHandle& h) -> int64_t { return h.reading.packet->stream_index; }},
    {"xfmt", false, [](const MediaHandle& h) { return address(h.container.format_ctx.get()); }},
    {"xvcodec", false, [](const MediaHandle& h) { return address(video_codec(h)); }},
    {"xacodec", false, [](const MediaHandle& h) { return address(audio_codec(h)); }},
    {"xvstream", false, [](const MediaHandle& h) { return address(h.video.stream); }},
    {"audio_map", false, [](const MediaHandle& h) { return address(h.sound.chan_map.data()); }},
    {"frame_rate_num", true, frame_rate_num},
    {"frame_rate_den", true, frame_rate_den},
    {"sar_num", true, pixel_aspect_num},
    {"sar_den", true, pixel_aspect_den},
    {"rotation", true, rotation},
    {"frames_origin", true, frame_count_origin},
    {"vb", false,
     [](const MediaHandle& h) {
         return of_codec(video_codec(h), 0, [](const AVCodecContext& codec) { return codec.bit_rate; });
     }},
    {"ab", false,
     [](const MediaHandle& h) {
         return of_codec(audio_codec(h), 0, [](const AVCodecContext& codec) { return codec.bit_rate; });
     }},
};

}  // namespace

const FileKey* find_file_key(const char* key) {
    return find_key(kNumbers, key);
}

std::vector<std::string_view> text_keys() {
    return names_in(kTexts);
}

std::vector<std::string_view> file_keys() {
    return names_in(kNumbers);
}

const AVFrame* decoded_picture(const MediaHandle& handle) {
    const AVFrame* frame = handle.reading.pFrame.get();
    return frame != nullptr && frame->data[0] != nullptr ? frame : nullptr;
}

}  // namespace qmio::info

using namespace qmio;

const char* qmio_get_file_info(MediaHandle* h, const char* key) {
    if (key != nullptr && av_strcasecmp(key, "ver") == 0)
        return info::kVersion;
    if (key != nullptr && av_strcasecmp(key, "build") == 0)
        return info::build_stamp();
    return with_handle_as_it_stands<const char*>(h, nullptr, "",
                                                 [key](MediaHandle& handle) { return info::file_text(handle, key); });
}

int64_t qmio_get_file_param(MediaHandle* h, const char* key) {
    return with_handle_as_it_stands<int64_t>(h, info::kUnknownKey, info::kUnknownKey, [key](MediaHandle& handle) {
        if (const info::PartKey* known = info::find_part_key(key); known != nullptr)
            return info::part_number(handle, *known, known->track);
        const info::FileKey* known = info::find_file_key(key);
        return known != nullptr ? known->value(handle) : info::kUnknownKey;
    });
}
