#include "support/sound_through_ring.h"

#include <algorithm>

namespace qmio::test {

namespace {

constexpr std::size_t kUsualRing = 48000;

struct Measures {
    explicit Measures(const SoundForm& form)
        : bytes(static_cast<std::size_t>(av_get_bytes_per_sample(form.format))),
          channels(static_cast<std::size_t>(form.channels)),
          planes(av_sample_fmt_is_planar(form.format) != 0 ? channels : 1),
          unit(bytes * channels / planes) {}

    std::size_t bytes;  // of a sample of one channel
    std::size_t channels;
    std::size_t planes;
    std::size_t unit;  // bytes of a sample in one plane
};

class Model {
  public:
    Model(const SoundForm& form, int frame)
        : measures_(form), frame_(static_cast<std::size_t>(frame)), planes_(measures_.planes) {}

    void call(const Bytes& data) {
        const std::size_t count = data.size() / (measures_.bytes * measures_.channels);
        const std::size_t stored = store(data.data(), count);
        take_frames();
        if (stored < count)
            store(data.data() + stored, count - stored);
    }

    void close() {
        if (ready() == 0)
            return;
        const std::size_t values = frame_ * measures_.channels;
        const uint8_t silence = measures_.bytes < 2 ? 128 : 0;
        call(Bytes(measures_.bytes * (values - ready() % values), silence));
    }

    std::vector<Bytes> frames;

  private:
    std::size_t ready() const { return planes_[0].size() / measures_.unit; }
    std::size_t capacity() const { return frame_ > kUsualRing / 2 ? kUsualRing + frame_ : kUsualRing; }

    std::size_t store(const uint8_t* data, std::size_t count) {
        const std::size_t room = std::min(count, capacity() - ready());
        for (std::size_t plane = 0; plane < measures_.planes; ++plane) {
            const uint8_t* const first = data + plane * count * measures_.unit;
            planes_[plane].insert(planes_[plane].end(), first, first + room * measures_.unit);
        }
        return room;
    }

    void take_frames() {
        for (const std::size_t size = frame_ * measures_.unit; ready() >= frame_;) {
            Bytes frame;
            for (Bytes& plane : planes_) {
                const auto end = plane.begin() + static_cast<std::ptrdiff_t>(size);
                frame.insert(frame.end(), plane.begin(), end);
                plane.erase(plane.begin(), end);
            }
            frames.push_back(frame);
        }
    }

    Measures measures_;
    std::size_t frame_;
    std::vector<Bytes> planes_;
};

}  // namespace

std::vector<Bytes> frames_through_ring(const SoundForm& form, int frame, const std::vector<Bytes>& calls) {
    Model model(form, frame);
    for (const Bytes& call : calls)
        model.call(call);
    model.close();
    return model.frames;
}

Bytes packed(const SoundForm& form, const std::vector<Bytes>& frames) {
    const Measures measures(form);
    Bytes all;
    for (const Bytes& frame : frames) {
        const std::size_t count = frame.size() / (measures.bytes * measures.channels);
        const std::size_t plane = count * measures.bytes * (measures.planes > 1 ? 1 : 0);
        for (std::size_t sample = 0; sample < count; ++sample)
            for (std::size_t channel = 0; channel < measures.channels; ++channel) {
                const std::size_t at = measures.planes > 1 ? channel * plane + sample * measures.bytes
                                                           : (sample * measures.channels + channel) * measures.bytes;
                all.insert(all.end(), frame.begin() + static_cast<std::ptrdiff_t>(at),
                           frame.begin() + static_cast<std::ptrdiff_t>(at + measures.bytes));
            }
    }
    return all;
}

}  // namespace qmio::test
