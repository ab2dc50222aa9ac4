// Numbers about the parts of a file, and about its pictures.
#pragma once

#include <cstdint>

#include "info/parts.h"

namespace qmio::info {

// A key that is asked of any part.
struct PartKey {
    const char* name;
    int track;        // the part that it is about when a host names none
    int64_t unknown;  // what it answers for a part that there is not
    int64_t (*value)(const MediaHandle& handle, const Part& part);
};

// Null for a key that there is not.
const PartKey* find_part_key(const char* key);

int64_t part_number(const MediaHandle& handle, const PartKey& key, int track);

// Of the pictures. A ratio that is not known has 0 for both numbers.
int64_t frame_rate_num(const MediaHandle& handle);
int64_t frame_rate_den(const MediaHandle& handle);
int64_t pixel_aspect_num(const MediaHandle& handle);
int64_t pixel_aspect_den(const MediaHandle& handle);
int64_t rotation(const MediaHandle& handle);            // degrees clockwise, 0 to 359
int64_t frame_count_origin(const MediaHandle& handle);  // a FrameCountOrigin

}  // namespace qmio::info
