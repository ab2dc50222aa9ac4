// The parts of a file that texts and numbers are asked of: the container, its video, a track of its sound.
#pragma once

#include "core/handle/media_handle.h"
#include "qmio.h"

namespace qmio::info {

enum class PartKind : unsigned { container = 1, video = 2, sound = 4 };

struct Part {
    PartKind kind = PartKind::container;
    AVStream* stream = nullptr;  // null for the container
    const AVDictionary* tags = nullptr;
};

// The part that a host names: QMIO_CONTAINER, QMIO_VIDEO or a track's number. False for one that there is not.
bool find_part(const MediaHandle& handle, int track, Part& part);

// The time code of the file's start as its tags tell it; null without one. The first of the video's, the container's and
// the other streams' counts.
const char* time_code_tag(const MediaHandle& handle);

// A tag by its key in any case; null when there is none.
const char* find_tag(const AVDictionary* tags, const char* key);

}  // namespace qmio::info
