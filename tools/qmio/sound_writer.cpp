#include "sound_writer.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

constexpr int kMostFrames = 32768;

// A run of frames out of a planar block of `frames`, its planes moved together.
std::vector<uint8_t> cut_planes(const uint8_t* samples, const SoundForm& form, int sample_size, int frames, int first,
                                int count) {
    std::vector<uint8_t> run;
    for (int channel = 0; channel < form.channels; ++channel) {
        const uint8_t* begin = samples + (static_cast<std::ptrdiff_t>(channel) * frames + first) * sample_size;
        run.insert(run.end(), begin, begin + static_cast<std::ptrdiff_t>(count) * sample_size);
    }
    return run;
}

}  // namespace

SoundForm form_of_track(const Output& output, int track) {
    return {output.track_param("file_channels", track), output.track_param("file_sample_rate", track),
            output.track_param("file_sample_fmt", track)};
}

void write_samples(Output& output, int track, const SoundForm& form, const uint8_t* samples, int bytes) {
    const int size_of_one = sample_size(form.format);
    const int frames = bytes / (size_of_one * form.channels);
    const bool planar = form.format < 0;
    for (int first = 0; first < frames; first += kMostFrames) {
        const int count = std::min(frames - first, kMostFrames);
        const int size = count * size_of_one * form.channels;
        if (planar)
            output.write(track, cut_planes(samples, form, size_of_one, frames, first, count).data(), size);
        else
            output.write(track, samples + static_cast<std::ptrdiff_t>(first) * size_of_one * form.channels, size);
    }
}

SoundWriter::SoundWriter(Output& output, int track, const std::string& file, int file_track, double silence)
    : output_(output), track_(track) {
    // A track whose encoder is not known is not written.
    const SoundForm form = form_of_track(output, track);
    if (form.channels > 0 && file_track >= 0)
        sound_ = std::make_unique<Sound>(file, file_track, form);
    if (sound_ != nullptr && silence > 0) {
        const auto frames = static_cast<int64_t>(std::llround(silence * form.rate));
        silence_ = static_cast<double>(frames) / form.rate;
        write_silence(frames);
    }
}

void SoundWriter::write_silence(int64_t frames) {
    const SoundForm& form = sound_->form();
    const bool is_unsigned = form.format == 8 || form.format == -8;
    const std::vector<uint8_t> none(
        static_cast<std::size_t>(kMostFrames) * static_cast<std::size_t>(sound_->bytes_per_frame()),
        is_unsigned ? 0x80 : 0);
    for (; frames > 0; frames -= kMostFrames)
        output_.write(track_, none.data(),
                      static_cast<int>(std::min<int64_t>(frames, kMostFrames)) * sound_->bytes_per_frame());
}

bool SoundWriter::write_piece() {
    const Sound::Piece piece = sound_ != nullptr ? sound_->next() : Sound::Piece();
    if (piece.bytes <= 0)
        sound_.reset();
    else
        write_samples(output_, track_, sound_->form(), piece.samples, piece.bytes);
    return piece.bytes > 0;
}

void SoundWriter::write_until(double seconds) {
    while (sound_ != nullptr && silence_ * 1000 + static_cast<double>(sound_->delivered_ms()) < seconds * 1000)
        write_piece();
}

void SoundWriter::write_rest() {
    while (write_piece()) {
    }
}

}  // namespace host
