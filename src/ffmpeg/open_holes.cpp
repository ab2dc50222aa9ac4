#include "ffmpeg/open_holes.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

#include "ffmpeg/codec_lookup.h"

namespace qmio::ffmpeg {

namespace {

struct Hole {
    AVCodecID codec;
    const char* decoder;
    const char* last_release;  // that has it
    const char* name;
};

// A row goes when no release that can be linked has the hole.
constexpr Hole kHoles[] = {
    // The height of a slice is not held against the rows of the chroma: pixels are written behind the picture.
    {AV_CODEC_ID_MAGICYUV, "magicyuv", "5.1.9", "CVE-2026-8461"},
};

using Release = std::array<int, 3>;

// Zeros for what is no release, as "N-109000-gabcdef" and "git-2026-01-01".
Release release_of(const char* version) {
    Release release{};
    const char* const end = version + std::strlen(version);
    const char* place = *version == 'n' ? version + 1 : version;
    for (int& number : release) {
        const auto [behind, error] = std::from_chars(place, end, number);
        if (error != std::errc() || behind == end || *behind != '.')
            break;
        place = behind + 1;
    }
    return release;
}

bool is_open(const Hole& hole) {
    return is_up_to_release(av_version_info(), hole.last_release);
}

bool is_taken_out(const Hole& hole) {
    return is_open(hole) && is_vetoed(avcodec_find_decoder_by_name(hole.decoder));
}

}  // namespace

bool is_up_to_release(const char* version, const char* last) {
    const Release release = release_of(version);
    return release != Release{} && release <= release_of(last);
}

void veto_open_holes(const std::vector<std::string>& allowed) {
    for (const Hole& hole : kHoles) {
        if (is_open(hole) && std::find(allowed.begin(), allowed.end(), hole.decoder) == allowed.end())
            veto_decoder(hole.decoder);
    }
}

const char* open_hole(AVCodecID codec) {
    const auto* const hole = std::find_if(std::begin(kHoles), std::end(kHoles),
                                          [=](const Hole& row) { return row.codec == codec && is_taken_out(row); });
    return hole != std::end(kHoles) ? hole->name : nullptr;
}

std::string decoders_without_holes() {
    if (std::none_of(std::begin(kHoles), std::end(kHoles), is_taken_out))
        return {};
    std::string names;
    void* position = nullptr;
    while (const AVCodec* codec = av_codec_iterate(&position)) {
        if (av_codec_is_decoder(codec) != 0 && !(open_hole(codec->id) != nullptr && is_vetoed(codec)))
            names += (names.empty() ? "" : ",") + std::string(codec->name);
    }
    return names;
}

}  // namespace qmio::ffmpeg
