// Decoded pictures of one source by their numbers, held by reference. What all of them may take together is configured
// (Settings::frame_cache); where there is no room, the oldest picture of the same source goes.
#pragma once

#include <cstdint>
#include <deque>
#include <map>

#include "core/handle/video.h"
#include "ffmpeg/owners.h"

namespace qmio::read {

class PictureCache {
  public:
    struct Kept {
        ffmpeg::FramePtr frame;
        int32_t number = kNoFrame;
        int32_t before = kNoFrame;  // number of the picture that comes out just before this one; kNoFrame: not known
        int32_t next = kNoFrame;    // number of the one that comes out just after it; the same
    };

    PictureCache() = default;
    PictureCache(const PictureCache&) = delete;
    PictureCache& operator=(const PictureCache&) = delete;
    ~PictureCache();

    // Keeps a reference to the picture, if there is room or can be made. `before` as above. Of a picture that is kept
    // already only what comes before and after it is learnt.
    void keep(const AVFrame& picture, int32_t number, int32_t before);

    // The picture that is delivered where `frame` is sought: the one of this number or, where there is none of it, the one
    // that follows. Null when that is not kept or not known. It stays until the next picture is kept.
    const Kept* find(int32_t frame) const;

    // The picture that comes out just after the one that has this number; null as above.
    const Kept* find_next(int32_t number) const;

    // How many pictures like this one fit if those kept now go; 0 without memory of its own.
    int32_t capacity_for(const AVFrame& picture) const;

  private:
    void link(int32_t before, int32_t number);
    bool make_room(int64_t bytes);
    void drop_oldest();

    std::map<int32_t, Kept> pictures_;
    std::deque<int32_t> by_age_;  // the numbers of those above, the oldest first
    int64_t bytes_ = 0;
};

// What all sources keep together, in bytes.
int64_t kept_bytes();

}  // namespace qmio::read
