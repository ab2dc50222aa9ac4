// qmio wave FILE --out wave.png: the waveform of every track, one below the other.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>

#include "failure.h"
#include "label.h"
#include "output.h"
#include "png.h"
#include "progress.h"
#include "sound.h"
#include "verbs.h"

namespace host {

namespace {

constexpr int kMargin = 8;
constexpr int kWaveHeight = 120;
constexpr Colour kBackground{24, 24, 24, 255};
constexpr Colour kText{235, 235, 235, 255};
constexpr Colour kAxis{80, 80, 80, 255};
constexpr Colour kWave{110, 190, 255, 255};

struct WaveOptions {
    std::string file;
    std::string out;
    int width = 1200;
};

// The lowest and the highest of some samples.
struct Peak {
    int low = 0;
    int high = 0;

    void take(int value) {
        low = std::min(low, value);
        high = std::max(high, value);
    }
    void take(const Peak& other) {
        take(other.low);
        take(other.high);
    }
};

// A track's peaks, each of the same number of samples; all channels together.
struct Wave {
    std::string title;
    std::vector<Peak> peaks;
};

// As many peaks as a picture of any width needs, however long the file is.
class PeakMeter {
  public:
    void take(int value) {
        if (filled_ == 0)
            peaks_.emplace_back();
        peaks_.back().take(value);
        filled_ = (filled_ + 1) % samples_;
        if (filled_ == 0 && peaks_.size() == kMost)
            halve();
    }
    std::vector<Peak> peaks() && { return std::move(peaks_); }

  private:
    static constexpr std::size_t kMost = 1 << 16;

    void halve() {
        for (std::size_t index = 0; index < kMost / 2; ++index) {
            peaks_[index] = peaks_[2 * index];
            peaks_[index].take(peaks_[2 * index + 1]);
        }
        peaks_.resize(kMost / 2);
        samples_ *= 2;
    }

    std::vector<Peak> peaks_;
    int64_t samples_ = 64;
    int64_t filled_ = 0;
};

std::string title_of(int track, const SoundForm& form) {
    return "track " + std::to_string(track) + ": " + std::to_string(form.rate) + " Hz, " +
           std::to_string(form.channels) + (form.channels == 1 ? " channel" : " channels");
}

SoundForm form_of(const Source& source, int track) {
    return {static_cast<int>(source.track_param("file_channels", track)),
            static_cast<int>(source.track_param("file_sample_rate", track)), 16};
}

Wave measure(const std::string& file, int track, const SoundForm& form) {
    Sound sound(file, track, form);
    const auto total = static_cast<int>(std::min<int64_t>(sound.duration_ms(), std::numeric_limits<int>::max()));
    Progress progress("track " + std::to_string(track) + ", ms", total);
    PeakMeter meter;
    for (Sound::Piece piece = sound.next(); piece.bytes > 0; piece = sound.next()) {
        for (int place = 0; place + 1 < piece.bytes; place += 2) {
            int16_t value = 0;
            std::memcpy(&value, piece.samples + place, sizeof value);
            meter.take(value);
        }
        progress.reach(static_cast<int>(std::min<int64_t>(sound.delivered_ms(), total)));
    }
    progress.reach(total);
    return {title_of(track, form), std::move(meter).peaks()};
}

std::vector<Wave> measure_tracks(const std::string& file) {
    const Source source(file);
    std::vector<Wave> waves;
    for (int track = 0; track < source.file_param("naudio"); ++track) {
        const SoundForm form = form_of(source, track);
        if (form.channels > 0 && form.rate > 0)
            waves.push_back(measure(file, track, form));
    }
    if (waves.empty())
        throw Failure(file, "has no sound that can be decoded");
    return waves;
}

Peak peak_of_column(const Wave& wave, int column, int columns) {
    const std::size_t count = wave.peaks.size();
    const std::size_t first = count * static_cast<std::size_t>(column) / static_cast<std::size_t>(columns);
    const std::size_t end = count * static_cast<std::size_t>(column + 1) / static_cast<std::size_t>(columns);
    Peak peak;
    for (std::size_t index = first; index < std::max(end, first + 1) && index < count; ++index)
        peak.take(wave.peaks[index]);
    return peak;
}

int row_of(int value) {
    return kWaveHeight / 2 - value * (kWaveHeight / 2 - 1) / 32768;
}

void draw_wave(Picture& picture, int top, const Wave& wave) {
    const int columns = picture.width() - 2 * kMargin;
    draw_label(picture, kMargin, top, wave.title, kText);
    const int base = top + label_height();
    picture.fill(kMargin, base + kWaveHeight / 2, columns, 1, kAxis);
    for (int column = 0; column < columns; ++column) {
        const Peak peak = peak_of_column(wave, column, columns);
        const int first = row_of(peak.high);
        picture.fill(kMargin + column, base + first, 1, row_of(peak.low) - first + 1, kWave);
    }
}

void wave(const WaveOptions& options) {
    require_other_file(options.file, options.out);
    const std::vector<Wave> waves = measure_tracks(options.file);
    const int band = label_height() + kWaveHeight + kMargin;
    Picture picture(options.width, kMargin + static_cast<int>(waves.size()) * band, kBackground);
    int top = kMargin;
    for (const Wave& one : waves) {
        draw_wave(picture, top, one);
        top += band;
    }
    write_png(options.out, picture);
}

}  // namespace

void add_wave(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("wave", "Draw the waveform of every track into a PNG file");
    auto options = std::make_shared<WaveOptions>();
    verb->add_option("FILE", options->file, "The file to read")->required();
    verb->add_option("--out", options->out, "The PNG file to write")->required();
    verb->add_option("--width", options->width, "Width of the picture in pixels")
        ->check(CLI::Range(64, 16384))
        ->capture_default_str();
    verb->callback([options] { wave(*options); });
}

}  // namespace host
