#include "write/creation_options.h"

#include <string>
#include <string_view>
#include <utility>

#include "audio/sample_formats.h"
#include "core/handle/track.h"
#include "core/process/trace.h"
#include "core/text/creation_keys.h"
#include "core/text/option_string.h"
#include "ffmpeg/pixel_format.h"
#include "platform/text.h"

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
void trace_option(TraceFormat<const char*, const char*, Values...> format, const Token& token,
                  const Values&... values) {
    const char* key = token.key;
    const char* value = token.value;
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

void set_container(AskedFile& file, const Token& token) {
    file.output_format = av_guess_format(lowercase(token.value).c_str(), nullptr, nullptr);
    trace_option(L"\t%S=%S (%p)\n", token, static_cast<const void*>(file.output_format));
}

void set_video_encoder(AskedFile& file, const Token& token) {
    const AVCodec* encoder = avcodec_find_encoder_by_name(token.value);
    file.video_encoder = encoder;
    if (!tracing(TraceSwitch::options))
        return;
    const std::wstring name = wide(encoder != nullptr ? encoder->name : nullptr);
    trace_option(L"\t%S=%S (%p) id %d [%s]\n", token, static_cast<const void*>(encoder),
                 encoder != nullptr ? static_cast<int>(encoder->id) : -1, name.c_str());
}

void set_pixel_format(AskedFile& file, const Token& token) {
    file.pix_fmt = av_get_pix_fmt(token.value);
    trace_option(L"\t%S=%S (%d)\n", token, ffmpeg::pixel_format_to_interface(file.pix_fmt));
}

void set_number(int32_t& target, const Token& token) {
    target = read_number(token.value);
    trace_option(L"\t%S=%S (%d)\n", token, target);
}

void set_size(AskedFile& file, const Token& token) {
    const std::string_view text = token.value;
    const size_t cross = text.find('x');
    file.width = read_number(std::string(text.substr(0, cross)).c_str());
    file.height = cross != text.npos ? read_number(token.value + cross + 1) : 0;
    trace_option(L"\t%S=%S (%dx%d)\n", token, file.width, file.height);
}

void next_track(Pass& pass, const Token& token) {
    ++pass.track;
    if (!pass.has_track())
        return;
    const AVCodec* encoder = avcodec_find_encoder_by_name(token.value);
    pass.file.tracks.push_back({.encoder = encoder});
    trace_option(L"\t%S=%S audio codec, track %d\n", token, pass.track);
    trace(TraceSwitch::options, kTag, L"\t%p, id %d\n", static_cast<const void*>(encoder),
          encoder != nullptr ? static_cast<int>(encoder->id) : -1);
}

void set_channels(Pass& pass, const Token& token) {
    const int32_t channels = pass.form().channels = read_number(token.value);
    trace_option(L"\t%S=%S audio num chans %d\n", token, channels);
}

void set_sample_rate(Pass& pass, const Token& token) {
    const int32_t rate = pass.form().rate = read_number(token.value);
    trace_option(L"\t%S=%S audio rate %d\n", token, rate);
}

bool begins_a_number(const char* text) {
    return (*text >= '0' && *text <= '9') || *text == '+' || *text == '-';
}

void set_sample_format(Pass& pass, const Token& token) {
    const bool is_number = begins_a_number(token.value);
    const int32_t code = is_number ? read_integer(token.value) : 0;
    const AVSampleFormat format = is_number ? audio::sample_format_from_code(code) : av_get_sample_fmt(token.value);
    pass.form().format = format;
    trace_option(L"\t%S=%S audio sample src %d, dst %d\n", token, code, static_cast<int>(format));
}

void set_video_tag(AskedFile& file, const Token& token) {
    file.video_tag = pack_tag(token.value);
    trace_option(L"\t%S=%S (%4.4S)\n", token, static_cast<const char*>(token.value));
}

void apply_to_track(Pass& pass, CreationKey key, const Token& token) {
    if (!pass.has_track())
        return;
    if (key == CreationKey::channels)
        set_channels(pass, token);
    else if (key == CreationKey::sample_rate)
        set_sample_rate(pass, token);
    else
        set_sample_format(pass, token);
}

void apply(Pass& pass, const Token& token) {
    AskedFile& file = pass.file;
    const CreationKey key = creation_key(token.key);
    switch (key) {
        case CreationKey::none:
            return;  // left to FFmpeg's options
        case CreationKey::container:
            return set_container(file, token);
        case CreationKey::video_encoder:
            return set_video_encoder(file, token);
        case CreationKey::pixel_format:
            return set_pixel_format(file, token);
        case CreationKey::width:
            return set_number(file.width, token);
        case CreationKey::height:
            return set_number(file.height, token);
        case CreationKey::size:
            return set_size(file, token);
        case CreationKey::video_tag:
            return set_video_tag(file, token);
        case CreationKey::audio_encoder:
            return next_track(pass, token);
        case CreationKey::channels:
        case CreationKey::sample_rate:
        case CreationKey::sample_format:
            return apply_to_track(pass, key, token);
        case CreationKey::audio_tag:
            return;  // the encoders' own tags stay, see create_audio.cpp
    }
}

}  // namespace

AskedFile read_creation_options(const char* options) {
    Pass pass;
    if (options != nullptr && tracing(TraceSwitch::options))
        trace(TraceSwitch::options, kTag, L"[%s]:\n", wide(options).c_str());
    for_each_option(options, [&](const Token& token) { apply(pass, token); });
    return std::move(pass.file);
}

}  // namespace qmio::write
