// A handle's records as reading works on them, for the time of a call.
#pragma once

#include "core/handle/entry.h"
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

// What a call that reads is made of: `routine` gets the source that the handle reads, wherever container and decoder
// stand, and its failures are told.
template <class Routine>
int reading_as_it_stands(MediaHandle* h, int null_handle, int failure, Routine&& routine) noexcept {
    return told_with_handle_as_it_stands(h, null_handle, failure, [&](MediaHandle& handle) {
        Source source(handle);
        const int result = routine(source);
        if (why::is_failure_value(result) && why::has_failed())
            why::within("cannot read %s", shown_name(handle).c_str());
        return result;
    });
}

// The same where the host's packets are concerned.
template <class Routine>
int reading(MediaHandle* h, int null_handle, int failure, Routine&& routine) noexcept {
    return reading_as_it_stands(h, null_handle, failure, [&](Source& source) {
        catch_up(source.media);
        return routine(source);
    });
}

}  // namespace qmio::read
