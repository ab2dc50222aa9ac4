#include "core/text/creation_keys.h"

namespace qmio {

CreationKey creation_key(std::string_view key) {
    struct Name {
        std::string_view text;
        CreationKey key;
    };
    static constexpr Name names[] = {
        {"fmt", CreationKey::container},
        {"f", CreationKey::container},
        {"codec", CreationKey::video_encoder},
        {"vcodec", CreationKey::video_encoder},
        {"codec:v", CreationKey::video_encoder},
        {"c:v", CreationKey::video_encoder},
        {"pix", CreationKey::pixel_format},
        {"pix_fmt", CreationKey::pixel_format},
        {"width", CreationKey::width},
        {"height", CreationKey::height},
        {"size", CreationKey::size},
        {"acodec", CreationKey::audio_encoder},
        {"codec:a", CreationKey::audio_encoder},
        {"c:a", CreationKey::audio_encoder},
        {"ac", CreationKey::channels},
        {"channels", CreationKey::channels},
        {"ar", CreationKey::sample_rate},
        {"sample_rate", CreationKey::sample_rate},
        {"afmt", CreationKey::sample_format},
        {"sample_fmt", CreationKey::sample_format},
        {"vtag", CreationKey::video_tag},
        {"atag", CreationKey::audio_tag},
    };
    for (const Name& name : names)
        if (name.text == key)
            return name.key;
    return CreationKey::none;
}

}  // namespace qmio
