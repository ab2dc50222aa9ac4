#include "write/creation_options.h"

#include <string>
#include <string_view>
#include <utility>

#include "audio/sample_formats.h"
#include "core/handle/track.h"
#include "core/process/trace.h"
#include "core/process/why.h"
#include "ffmpeg/pixel_format.h"
#include "platform/text.h"
#include "write/creation_keys.h"

namespace qmio::write {
namespace {

constexpr const wchar_t* kTag = L"opt_global";

// One pass over an option string. `track` is the one that audio parameters apply to: the most recent audio encoder's.
struct Pass {
    AskedFile file;
    int track = -1;

    bool has_track() const { return track >= 0 && track < kMaxTracks; }
    ffmpeg::SoundForm& form() { return file.tracks.back().form; }
};

template <class... Values>
void trace_option(TraceFormat<const char*, const char*, Values...> format, const Option& option,
                  const Values&... values) {
    const char* key = option.key.c_str();
    const char* value = option.value.c_str();
    trace(TraceSwitch::options, kTag, format, key, value, values...);
}

std::wstring wide(const char* text) {
    return text != nullptr ? platform::widen(text, platform::kCodePageUtf8) : std::wstring();
}

std::string lowercase(std::string text) {
    for (char& letter : text)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return text;
}

// Four characters, the first one lowest; a shorter text is filled up with spaces.
uint32_t pack_tag(std::string_view text) {
    uint32_t tag = 0;
    for (size_t i = 0; i < 4; ++i) {
        const char letter = i < text.size() ? text[i] : ' ';
        tag |= uint32_t{static_cast<uint8_t>(letter)} << (8 * i);
    }
    return tag;
}

// What is unknown is left out, which may be what the creation then fails over.
void remark_unknown(bool is_unknown, const char* kind, const Option& option) {
    if (is_unknown)
        why::remark("option %s: no %s is called %s", option.key.c_str(), kind, option.value.c_str());
}

void set_container(AskedFile& file, const Option& option) {
    file.output_format = av_guess_format(lowercase(option.value).c_str(), nullptr, nullptr);
    trace_option(L"\t%S=%S (%p)\n", option, static_cast<const void*>(file.output_format));
}

void set_video_encoder(AskedFile& file, const Option& option) {
    const AVCodec* encoder = avcodec_find_encoder_by_name(option.value.c_str());
    file.video_encoder = encoder;
    remark_unknown(encoder == nullptr, "encoder", option);
    if (!tracing(TraceSwitch::options))
        return;
    const std::wstring name = wide(encoder != nullptr ? encoder->name : nullptr);
    trace_option(L"\t%S=%S (%p) id %d [%s]\n", option, static_cast<const void*>(encoder),
                 encoder != nullptr ? static_cast<int>(encoder->id) : -1, name.c_str());
}

void set_pixel_format(AskedFile& file, const Option& option) {
    file.pix_fmt = av_get_pix_fmt(option.value.c_str());
    remark_unknown(file.pix_fmt == AV_PIX_FMT_NONE, "pixel format", option);
    trace_option(L"\t%S=%S (%d)\n", option, ffmpeg::pixel_format_to_interface(file.pix_fmt));
}

void set_number(int32_t& target, const Option& option) {
    target = read_number(option.value);
    trace_option(L"\t%S=%S (%d)\n", option, target);
}

void set_size(AskedFile& file, const Option& option) {
    const std::string& text = option.value;
    const std::size_t cross = text.find('x');
    file.width = read_number(text.substr(0, cross));
    file.height = cross != text.npos ? read_number(text.substr(cross + 1)) : 0;
    trace_option(L"\t%S=%S (%dx%d)\n", option, file.width, file.height);
}

void next_track(Pass& pass, const Option& option) {
    ++pass.track;
    if (!pass.has_track())
        return;
    const AVCodec* encoder = avcodec_find_encoder_by_name(option.value.c_str());
    pass.file.tracks.push_back({.encoder = encoder});
    remark_unknown(encoder == nullptr, "encoder", option);
    trace_option(L"\t%S=%S audio codec, track %d\n", option, pass.track);
    trace(TraceSwitch::options, kTag, L"\t%p, id %d\n", static_cast<const void*>(encoder),
          encoder != nullptr ? static_cast<int>(encoder->id) : -1);
}

void set_channels(Pass& pass, const Option& option) {
    const int32_t channels = pass.form().channels = read_number(option.value);
    trace_option(L"\t%S=%S audio num chans %d\n", option, channels);
}

void set_sample_rate(Pass& pass, const Option& option) {
    const int32_t rate = pass.form().rate = read_number(option.value);
    trace_option(L"\t%S=%S audio rate %d\n", option, rate);
}

bool begins_a_number(const char* text) {
    return (*text >= '0' && *text <= '9') || *text == '+' || *text == '-';
}

void set_sample_format(Pass& pass, const Option& option) {
    const bool is_number = begins_a_number(option.value.c_str());
    const int32_t code = is_number ? read_integer(option.value) : 0;
    const AVSampleFormat format =
        is_number ? audio::sample_format_from_code(code) : av_get_sample_fmt(option.value.c_str());
    pass.form().format = format;
    remark_unknown(format == AV_SAMPLE_FMT_NONE, "sample format", option);
    trace_option(L"\t%S=%S audio sample src %d, dst %d\n", option, code, static_cast<int>(format));
}

void set_video_tag(AskedFile& file, const Option& option) {
    file.video_tag = pack_tag(option.value);
    trace_option(L"\t%S=%S (%4.4S)\n", option, option.value.c_str());
}

// "tag:NAME" is the file's, "tag:v:NAME" the video's, "tag:a:NAME" that of the track begun last.
void add_tag(Pass& pass, const Option& option) {
    const std::size_t colon = option.key.find(':');
    if (colon == std::string::npos)
        return;
    const std::string name = option.key.substr(colon + 1);
    const bool of_stream = name.size() > 2 && name[1] == ':';
    if (of_stream && name[0] == 'v')
        pass.file.video_tags.add(name.substr(2), option.value);
    else if (of_stream && name[0] == 'a' && pass.has_track())
        pass.file.tracks.back().tags.add(name.substr(2), option.value);
    else if (!of_stream || name[0] != 'a')
        pass.file.tags.add(name, option.value);
    trace_option(L"\t%S=%S\n", option);
}

void apply_to_track(Pass& pass, CreationKey key, const Option& option) {
    if (!pass.has_track())
        return;
    if (key == CreationKey::channels)
        set_channels(pass, option);
    else if (key == CreationKey::sample_rate)
        set_sample_rate(pass, option);
    else
        set_sample_format(pass, option);
}

void apply(Pass& pass, const Option& option) {
    AskedFile& file = pass.file;
    const CreationKey key = creation_key(option.key);
    switch (key) {
        case CreationKey::container:
            return set_container(file, option);
        case CreationKey::video_encoder:
            return set_video_encoder(file, option);
        case CreationKey::pixel_format:
            return set_pixel_format(file, option);
        case CreationKey::width:
            return set_number(file.width, option);
        case CreationKey::height:
            return set_number(file.height, option);
        case CreationKey::size:
            return set_size(file, option);
        case CreationKey::video_tag:
            return set_video_tag(file, option);
        case CreationKey::audio_encoder:
            return next_track(pass, option);
        case CreationKey::channels:
        case CreationKey::sample_rate:
        case CreationKey::sample_format:
            return apply_to_track(pass, key, option);
        case CreationKey::tag:
            return add_tag(pass, option);
        default:
            return;  // looked up where they are needed, or left to FFmpeg; the encoders' own audio tags stay
    }
}

}  // namespace

AskedFile read_creation_options(const Options& options) {
    Pass pass;
    if (options.text() != nullptr && tracing(TraceSwitch::options))
        trace(TraceSwitch::options, kTag, L"[%s]:\n", wide(options.text()).c_str());
    for (const Option& option : options)
        apply(pass, option);
    return std::move(pass.file);
}

}  // namespace qmio::write
