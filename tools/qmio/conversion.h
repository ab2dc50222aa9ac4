// How a file is written anew: which options the user's become, which tracks are written, and where they begin.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "media_facts.h"
#include "option_list.h"
#include "picture_reader.h"
#include "source.h"

namespace host {

struct Conversion {
    const Source& source;
    OptionList chosen;  // by the user, and the container
    bool has_pictures = false;
    bool takes_all_tracks = false;  // the options name one encoder of sound, for as many as there are
    PictureFacts pictures = {};
    double first_picture = 0;      // when it is shown, in seconds on the file's clock
    std::vector<int> tracks = {};  // of the source, in the order in which they are written
    std::vector<std::optional<double>> starts =
        {};  // of these tracks, on the same clock; nothing where it is not known

    // Pictures a second that are written.
    double rate() const;

    // So often is the first picture written before it is shown in the source, so that no sound is lost that begins earlier.
    int64_t lead() const;

    // Seconds of silence in front of a track, by its number among those that are written.
    double silence(int track) const;
};

// Throws a Failure when nothing can be made of what was asked for. `wanted`: the tracks to write; empty: all. `reader` stands
// on the first picture afterwards.
Conversion plan_conversion(const Source& source, PictureReader& reader, const OptionList& chosen,
                           const std::vector<int>& wanted);

// The options for the first `tracks` tracks. `keeps`: with all that the user did not ask for, but that the source has.
OptionList options_for(const Conversion& conversion, int tracks, bool keeps);

}  // namespace host
