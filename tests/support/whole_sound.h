// The whole sound of a track as the ffmpeg program decodes it: what sound by position is held against.
#pragma once

#include <filesystem>

#include "support/open_media.h"
#include "support/plain_sound.h"
#include "support/seed.h"

namespace qmio::test {

// What qmio_read_sound gives for a range, in a buffer of exactly the size that it asks for.
struct HeardRange {
    int result = 0;
    Bytes bytes;  // as many as the result says
};
HeardRange hear(MediaHandle* media, int track, int64_t start, int samples);

// The track's own form, packed, as the one that is delivered. The bytes of a sample of all channels; 0 without one.
int choose_packed_form(MediaHandle* media, int track);

// Interleaved samples in the format that is delivered; at another rate than the file's where one is given.
Bytes whole_sound(const std::filesystem::path& path, int track, int format_code, int rate = 0);

// Empty when so many random ranges of the track and its beginning and end are those of the whole, else the first that is
// not.
std::string difference_in_ranges(MediaHandle* media, int track, const Bytes& whole, int block, int ranges, Dice& dice);

}  // namespace qmio::test
