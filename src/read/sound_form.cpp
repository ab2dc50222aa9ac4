#include "read/sound_form.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "audio/copy_samples.h"
#include "audio/planes.h"
#include "audio/sample_formats.h"

namespace qmio::read {

namespace {

constexpr int kPiece = 4096;  // samples that are resampled at a time

// What is asked for next is mostly what follows. From further away it is begun anew.
constexpr int64_t kNear = 65536;

// libswresample's filter is 32 samples long, at the lower of both rates. Twice that many samples before the first that
// counts are none of what it makes up for a beginning.
int64_t lead_in(int64_t from, int64_t to) {
    return 256 * std::max<int64_t>(1, (from + to - 1) / to);
}

using SourcePlanes = std::array<const uint8_t*, audio::kMaxPlanes>;

bool is_planar(AVSampleFormat format) {
    return av_sample_fmt_is_planar(format) != 0;
}

// Where the planes of a frame are from its sample `first` on.
SourcePlanes planes_from(const AVFrame& frame, int first) {
    SourcePlanes planes{};
    const ffmpeg::SoundForm form = ffmpeg::form_of(frame);
    const int count = is_planar(form.format) ? std::min(form.channels, audio::kMaxPlanes) : 1;
    const std::size_t offset = is_planar(form.format) ? audio::plane_size(form.format, first)  //
                                                      : audio::block_size(form, first);
    for (int plane = 0; plane < count; ++plane)
        planes[static_cast<std::size_t>(plane)] = frame.extended_data[plane] + offset;
    return planes;
}

}  // namespace

ffmpeg::SoundForm SoundInForm::packed_form() const {
    return {form_.channels, av_get_packed_sample_fmt(form_.format), form_.rate};
}

bool SoundInForm::has_samples_of_track() const {
    const ffmpeg::SoundForm& own = track_.form();
    return own.channels == form_.channels && own.rate == form_.rate &&
           av_get_packed_sample_fmt(own.format) == av_get_packed_sample_fmt(form_.format);
}

bool SoundInForm::prepare() {
    if (audio::block_size(form_, 1) == 0 || form_.rate < 1)
        return false;
    resamples_ = !has_samples_of_track();
    if (!resamples_)
        return true;
    resampler_.prepare(track_.form(), packed_form());
    return resampler_.init();
}

int SoundInForm::read(int64_t position, int most, uint8_t* buffer) {
    const int count = has_other_rate() ? read_resampled(position, most) : read_converted(position, most);
    deliver(count, buffer);
    return count;
}

// ---- at the track's own rate ----

int SoundInForm::read_converted(int64_t position, int most) {
    int done = 0;
    ready_.clear();
    while (done < most) {
        const SoundTrack::Place place = track_.find(position + done);
        if (place.frame == nullptr)
            break;
        const int count = std::min(place.frame->nb_samples - place.sample, most - done);
        if (!add_frame(*place.frame, place.sample, count))
            break;
        done += count;
    }
    return done;
}

bool SoundInForm::add_frame(const AVFrame& frame, int first, int count) {
    if (!resamples_) {
        add_packed(frame, first, count);
        return true;
    }
    // Without a change of rate there is nothing that a sample could have of those before it.
    return add_converted(planes_from(frame, first).data(), count);
}

void SoundInForm::add_packed(const AVFrame& frame, int first, int count) {
    const SourcePlanes planes = planes_from(frame, first);
    const std::size_t size = audio::block_size(form_, count);
    const std::size_t before = ready_.size();
    if (!is_planar(static_cast<AVSampleFormat>(frame.format))) {
        ready_.insert(ready_.end(), planes[0], planes[0] + size);
        return;
    }
    ready_.resize(before + size);
    const auto bytes = static_cast<std::size_t>(audio::sample_bytes(form_.format));
    for (int channel = 0; channel < form_.channels; ++channel)
        audio::copy_channel({ready_.data() + before + bytes * static_cast<std::size_t>(channel),
                             bytes * static_cast<std::size_t>(form_.channels)},
                            {frame.extended_data[channel] + bytes * static_cast<std::size_t>(first), bytes}, bytes,
                            static_cast<std::size_t>(count));
}

// ---- at another rate ----

int SoundInForm::read_resampled(int64_t position, int most) {
    const std::size_t block = audio::block_size(form_, 1);
    const auto end_of_ready = [&] { return ready_from_ + static_cast<int64_t>(ready_.size() / block); };
    if (position < ready_from_ || (drained_ && position >= end_of_ready()) || position > end_of_ready() + kNear)
        begin_resampling(position);
    while (end_of_ready() < position + most && resample_more()) {
        // What lies before the position was needed to get here, and no more.
        const auto passed = std::clamp<int64_t>(position - ready_from_, 0, end_of_ready() - ready_from_);
        ready_.erase(ready_.begin(), ready_.begin() + passed * static_cast<int64_t>(block));
        ready_from_ += passed;
    }
    const auto passed = std::clamp<int64_t>(position - ready_from_, 0, end_of_ready() - ready_from_);
    ready_.erase(ready_.begin(), ready_.begin() + passed * static_cast<int64_t>(block));
    ready_from_ += passed;
    return position == ready_from_ ? static_cast<int>(std::min<int64_t>(end_of_ready() - position, most)) : 0;
}

// Where both rates meet, the filter stands as it does at the start.
void SoundInForm::begin_resampling(int64_t position) {
    const int64_t from = track_.form().rate;
    const int64_t to = form_.rate;
    const int64_t common = std::gcd(from, to);
    const int64_t target = av_rescale(position, from, to);
    const int64_t period = std::max<int64_t>(0, target - lead_in(from, to)) / (from / common);
    next_in_ = period * (from / common);
    ready_from_ = period * (to / common);
    ready_.clear();
    drained_ = false;
    resampler_.restart();
}

bool SoundInForm::resample_more() {
    if (drained_)
        return false;
    const SoundTrack::Place place = track_.find(next_in_);
    if (place.frame == nullptr) {
        drained_ = true;
        return add_converted(nullptr, 0);
    }
    const int count = std::min(place.frame->nb_samples - place.sample, kPiece);
    next_in_ += count;
    return add_converted(planes_from(*place.frame, place.sample).data(), count);
}

// Null planes: what the resampler still holds.
bool SoundInForm::add_converted(const uint8_t* const* planes, int count) {
    const int capacity = resampler_.expected(count, track_.form().rate) + 32;
    piece_.resize(audio::block_size(form_, capacity));
    uint8_t* const target[] = {piece_.data()};
    const int converted = resampler_.convert(target, capacity, planes, count);
    if (converted < 0)
        return false;
    ready_.insert(ready_.end(), piece_.begin(),
                  piece_.begin() + static_cast<std::ptrdiff_t>(audio::block_size(form_, converted)));
    return true;
}

// ---- to the host ----

void SoundInForm::deliver(int count, uint8_t* buffer) const {
    if (count < 1)
        return;
    if (!is_planar(form_.format)) {
        std::memcpy(buffer, ready_.data(), audio::block_size(form_, count));
        return;
    }
    const auto bytes = static_cast<std::size_t>(audio::sample_bytes(form_.format));
    for (int channel = 0; channel < form_.channels; ++channel) {
        const auto index = static_cast<std::size_t>(channel);
        audio::copy_channel({buffer + audio::plane_size(form_.format, count) * index, bytes},
                            {ready_.data() + bytes * index, bytes * static_cast<std::size_t>(form_.channels)}, bytes,
                            static_cast<std::size_t>(count));
    }
}

}  // namespace qmio::read
