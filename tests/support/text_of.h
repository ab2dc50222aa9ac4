// Answers of qmio_get_text and qmio_timecode as strings.
#pragma once

#include <qmio.h>

#include <optional>
#include <string>

#include "support/open_media.h"

namespace qmio::test {

// Nothing where nothing is known.
inline std::optional<std::string> text_of(const Media& media, int track, const std::string& key) {
    const int length = qmio_get_text(media.get(), track, key.c_str(), nullptr, 0);
    if (length < 0)
        return {};
    std::string text(static_cast<std::size_t>(length) + 1, '?');
    qmio_get_text(media.get(), track, key.c_str(), text.data(), length + 1);
    text.pop_back();
    return text;
}

inline std::string timecode_of(const Media& media, int64_t frame) {
    char text[32] = "";
    return qmio_timecode(media.get(), frame, text, sizeof text) < 0 ? "none" : text;
}

}  // namespace qmio::test
