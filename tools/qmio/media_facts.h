// What a file says of itself that a conversion keeps.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "source.h"

namespace host {

struct PictureFacts {
    std::string format;  // FFmpeg's name of the pixel format
    int width = 0;
    int height = 0;
    int64_t pixel_width = 0;  // against pixel_height; both 0 when unknown
    int64_t pixel_height = 0;
    std::string field_order;                     // FFmpeg's: "progressive", "tt", ...; empty when unknown
    std::map<std::string, std::string> colours;  // by the keys of qmio_get_text
    std::string time_code;                       // empty when there is none

    bool is_interlaced() const { return !field_order.empty() && field_order != "progressive"; }
    bool is_top_first() const { return is_interlaced() && field_order[0] == 't'; }
};

// The keys of `colours`.
inline constexpr const char* kColourKeys[] = {"color_primaries", "color_transfer", "color_space", "color_range",
                                              "chroma_location"};

// `fields`: what decoding its first picture came to; the file's own word counts more.
PictureFacts picture_facts(const Source& source, int fields);

// Tags that a conversion keeps of a part, QMIO_CONTAINER, QMIO_VIDEO or a track: title and, of streams, language.
using Tags = std::map<std::string, std::string>;
Tags kept_tags(const Source& source, int part);

}  // namespace host
