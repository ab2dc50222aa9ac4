// A handle's records as reading works on them, for the time of a call.
#pragma once

#include "core/handle/media_handle.h"

namespace qmio::read {

struct Source {
    explicit Source(MediaHandle& handle)
        : media(handle),
          name(handle.file_name),
          container(handle.container),
          video(handle.video),
          reading(handle.reading),
          tracks(handle.tracks),
          sound(handle.sound) {}

    MediaHandle& media;  // for background reading, which belongs to the handle as a whole
    const char* name;
    Container& container;
    Video& video;
    Reading& reading;
    Tracks& tracks;
    Sound& sound;
};

}  // namespace qmio::read
