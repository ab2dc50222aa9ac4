#include "write/creation_keys.h"

namespace qmio::write {

namespace {

struct KeyName {
    std::string_view text;
    CreationKey key;
    bool for_ffmpeg;  // FFmpeg gets it as well
};

constexpr KeyName kNames[] = {
    {"fmt", CreationKey::container, false},
    {"f", CreationKey::container, false},
    {"codec", CreationKey::video_encoder, false},
    {"vcodec", CreationKey::video_encoder, false},
    {"codec:v", CreationKey::video_encoder, false},
    {"c:v", CreationKey::video_encoder, false},
    {"pix", CreationKey::pixel_format, false},
    {"pix_fmt", CreationKey::pixel_format, false},
    {"width", CreationKey::width, false},
    {"height", CreationKey::height, false},
    {"size", CreationKey::size, false},
    {"r", CreationKey::frame_rate, true},
    {"top", CreationKey::field_order, true},
    {"vtag", CreationKey::video_tag, false},
    {"strict:v", CreationKey::video_compliance, true},
    {"acodec", CreationKey::audio_encoder, false},
    {"codec:a", CreationKey::audio_encoder, false},
    {"c:a", CreationKey::audio_encoder, false},
    {"ac", CreationKey::channels, false},
    {"channels", CreationKey::channels, false},
    {"ar", CreationKey::sample_rate, false},
    {"sample_rate", CreationKey::sample_rate, false},
    {"afmt", CreationKey::sample_format, false},
    {"sample_fmt", CreationKey::sample_format, false},
    {"atag", CreationKey::audio_tag, false},
    {"ab", CreationKey::audio_bit_rate, true},
    {"b:a", CreationKey::audio_bit_rate, true},
    {"strict:a", CreationKey::audio_compliance, true},
    {"metadata", CreationKey::metadata, true},
    {"timecode", CreationKey::timecode, true},
    {"tag", CreationKey::tag, false},
};

const KeyName* find_name(std::string_view text) {
    for (const KeyName& name : kNames)
        if (name.text == text)
            return &name;
    return nullptr;
}

bool is_handed_on(std::string_view text) {
    const KeyName* const name = find_name(text);
    return name == nullptr || name->for_ffmpeg;
}

}  // namespace

CreationKey creation_key(std::string_view key) {
    if (key.starts_with("tag:"))
        return CreationKey::tag;
    const KeyName* const name = find_name(key);
    return name != nullptr ? name->key : CreationKey::none;
}

const std::string* find(const Options& options, CreationKey key) {
    for (const Option& pair : options)
        if (creation_key(pair.key) == key)
            return &pair.value;
    return nullptr;
}

int32_t find_number(const Options& options, CreationKey key) {
    for (const KeyName& name : kNames)
        if (const int32_t number = name.key == key ? options.number(name.text) : 0; number != 0)
            return number;
    return 0;
}

Options for_ffmpeg(const Options& options) {
    Options handed_on;
    for (const Option& pair : options)
        if (is_handed_on(pair.key) && is_handed_on(pair.key.substr(0, pair.key.find(':'))))
            handed_on.add(pair.key, pair.value);
    return handed_on;
}

}  // namespace qmio::write
