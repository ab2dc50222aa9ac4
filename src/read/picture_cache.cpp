#include "read/picture_cache.h"

#include <algorithm>
#include <atomic>
#include <limits>

#include "core/process/settings.h"
#include "ffmpeg/picture.h"

namespace qmio::read {

namespace {

constinit std::atomic<int64_t> all_bytes{0};

int64_t limit() {
    return std::max<int64_t>(settings().frame_cache, 0) << 20;
}

bool take_room(int64_t bytes) {
    int64_t taken = all_bytes.load(std::memory_order_relaxed);
    while (bytes <= limit() - taken)
        if (all_bytes.compare_exchange_weak(taken, taken + bytes, std::memory_order_relaxed))
            return true;
    return false;
}

void give_back(int64_t bytes) {
    all_bytes.fetch_sub(bytes, std::memory_order_relaxed);
}

}  // namespace

int64_t kept_bytes() {
    return all_bytes.load(std::memory_order_relaxed);
}

PictureCache::~PictureCache() {
    give_back(bytes_);
}

void PictureCache::keep(const AVFrame& picture, int32_t number, int32_t before) {
    if (pictures_.count(number) == 0) {
        const int64_t bytes = ffmpeg::memory_of(picture);
        ffmpeg::FramePtr frame(bytes > 0 ? av_frame_clone(&picture) : nullptr);
        if (frame == nullptr || !make_room(bytes))
            return;
        by_age_.push_back(number);
        pictures_[number] = {std::move(frame), number, kNoFrame, kNoFrame};
    }
    link(before, number);
}

void PictureCache::link(int32_t before, int32_t number) {
    if (before == kNoFrame)
        return;
    pictures_[number].before = before;
    if (const auto found = pictures_.find(before); found != pictures_.end())
        found->second.next = number;
}

const PictureCache::Kept* PictureCache::find(int32_t frame) const {
    const auto found = pictures_.lower_bound(frame);
    if (found == pictures_.end())
        return nullptr;
    const Kept& kept = found->second;
    const bool follows = kept.before != kNoFrame && kept.before < frame;
    return kept.number == frame || follows ? &kept : nullptr;
}

const PictureCache::Kept* PictureCache::find_next(int32_t number) const {
    const auto found = pictures_.find(number);
    if (found == pictures_.end() || found->second.next == kNoFrame)
        return nullptr;
    const auto next = pictures_.find(found->second.next);
    return next != pictures_.end() ? &next->second : nullptr;
}

int32_t PictureCache::capacity_for(const AVFrame& picture) const {
    const int64_t bytes = ffmpeg::memory_of(picture);
    const int64_t room = limit() - kept_bytes() + bytes_;
    return bytes > 0 ? static_cast<int32_t>(std::clamp<int64_t>(room / bytes, 0, std::numeric_limits<int32_t>::max()))
                     : 0;
}

bool PictureCache::make_room(int64_t bytes) {
    while (!take_room(bytes)) {
        if (by_age_.empty())
            return false;
        drop_oldest();
    }
    bytes_ += bytes;
    return true;
}

void PictureCache::drop_oldest() {
    const auto oldest = pictures_.find(by_age_.front());
    const int64_t bytes = ffmpeg::memory_of(*oldest->second.frame);
    by_age_.pop_front();
    pictures_.erase(oldest);
    give_back(bytes);
    bytes_ -= bytes;
}

}  // namespace qmio::read
