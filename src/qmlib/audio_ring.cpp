#include "qmlib/audio_ring.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace qmio::qmlib {

namespace {

constexpr int kMaxPlanes = 64;

// Any format of this size will do: the FIFO moves bytes.
AVSampleFormat format_of(int bytes_per_sample, bool planar) {
    switch (bytes_per_sample) {
        case 1:
            return planar ? AV_SAMPLE_FMT_U8P : AV_SAMPLE_FMT_U8;
        case 2:
            return planar ? AV_SAMPLE_FMT_S16P : AV_SAMPLE_FMT_S16;
        case 4:
            return planar ? AV_SAMPLE_FMT_S32P : AV_SAMPLE_FMT_S32;
        case 8:
            return planar ? AV_SAMPLE_FMT_S64P : AV_SAMPLE_FMT_S64;
        default:
            return AV_SAMPLE_FMT_NONE;
    }
}

}  // namespace

std::unique_ptr<AudioRing> AudioRing::create(int capacity, int bytes_per_sample, int channels, bool planar) {
    const AVSampleFormat format = format_of(bytes_per_sample, planar);
    if (format == AV_SAMPLE_FMT_NONE || channels < 1 || (planar && channels > kMaxPlanes) || capacity < 1)
        return nullptr;
    ffmpeg::AudioFifoPtr fifo(av_audio_fifo_alloc(format, channels, capacity));
    if (fifo == nullptr)
        return nullptr;
    return std::unique_ptr<AudioRing>(new AudioRing(std::move(fifo), capacity, bytes_per_sample, channels, planar));
}

AudioRing::AudioRing(ffmpeg::AudioFifoPtr fifo, int capacity, int bytes_per_sample, int channels, bool planar)
    : fifo_(std::move(fifo)),
      capacity_(capacity),
      bytes_per_sample_(bytes_per_sample),
      channels_(channels),
      planar_(planar) {}

int AudioRing::write(const uint8_t* data, int count) {
    const int room = std::clamp(count, 0, capacity_ - ready());
    std::array<void*, kMaxPlanes> planes{};
    const std::size_t plane =
        static_cast<std::size_t>(bytes_per_sample_) * static_cast<std::size_t>(std::max(count, 0));
    // The FIFO only reads; its parameter has no const in older releases.
    auto* first = const_cast<uint8_t*>(data);
    for (std::size_t index = 0; index < (planar_ ? static_cast<std::size_t>(channels_) : 1); ++index)
        planes[index] = first + plane * index;
    return room > 0 ? std::max(av_audio_fifo_write(fifo_.get(), planes.data(), room), 0) : 0;
}

int AudioRing::fill(uint8_t value, int count) {
    const int room = std::clamp(count, 0, capacity_ - ready());
    const std::vector<uint8_t> samples(static_cast<std::size_t>(room) * static_cast<std::size_t>(bytes_per_sample_) *
                                           static_cast<std::size_t>(channels_),
                                       value);
    return write(samples.data(), room);
}

int AudioRing::read(uint8_t* data, int count) {
    if (count < 1 || ready() < count)
        return 0;
    std::array<void*, kMaxPlanes> planes{};
    const std::size_t plane = static_cast<std::size_t>(bytes_per_sample_) * static_cast<std::size_t>(count);
    for (std::size_t index = 0; index < (planar_ ? static_cast<std::size_t>(channels_) : 1); ++index)
        planes[index] = data + plane * index;
    return std::max(av_audio_fifo_read(fifo_.get(), planes.data(), count), 0);
}

int AudioRing::ready() const {
    return av_audio_fifo_size(fifo_.get());
}

}  // namespace qmio::qmlib
