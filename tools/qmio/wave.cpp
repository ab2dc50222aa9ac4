// qmio wave FILE --out wave.png: the waveform of every channel of every track, one below the other.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "failure.h"
#include "label.h"
#include "level_meter.h"
#include "output.h"
#include "png.h"
#include "progress.h"
#include "sound.h"
#include "text.h"
#include "time_axis.h"
#include "verbs.h"

namespace host {

namespace {

constexpr int kMargin = 8;
constexpr int kBandHeight = 97;  // of a channel: rows above and below the axis and the axis itself
constexpr int kTick = 6;         // pixels of a mark on the time axis
constexpr int kRoomOfMark = 90;  // pixels from one mark to the next, at least
constexpr int kDelivered = 0;    // the library's code of float samples
constexpr int kMostPictureRows = 32000;
constexpr Colour kBackground{24, 24, 24, 255};
constexpr Colour kText{235, 235, 235, 255};
constexpr Colour kAxis{80, 80, 80, 255};
constexpr Colour kPeak{110, 190, 255, 255};
constexpr Colour kPower{40, 120, 230, 255};

struct WaveOptions {
    std::string file;
    Target out;
    int width = 1200;
};

struct Wave {
    std::string title;
    double seconds = 0;
    std::vector<LevelMeter> channels;
};

// ---- measuring ----

SoundForm form_of(const Source& source, int track) {
    return {static_cast<int>(source.track_param("file_channels", track)),
            static_cast<int>(source.track_param("file_sample_rate", track)), kDelivered};
}

std::string title_of(const Source& source, int track, const SoundForm& form) {
    std::string title = "track " + std::to_string(track) + ": " + source.text(track, "codec").value_or("") + ", " +
                        std::to_string(form.rate) + " Hz, " +
                        source.text(track, "channel_layout").value_or(std::to_string(form.channels) + " ch");
    for (const char* key : {"language", "title"})
        if (const auto text = source.text(track, key); text)
            title += ", " + *text;
    return title;
}

void take(Wave& wave, const Sound::Piece& piece) {
    const std::size_t channels = wave.channels.size();
    const std::size_t samples = static_cast<std::size_t>(piece.bytes) / sizeof(float);
    for (std::size_t index = 0; index < samples; ++index) {
        float value = 0;
        std::memcpy(&value, piece.samples + index * sizeof value, sizeof value);
        wave.channels[index % channels].take(value);
    }
}

Wave measure(const Source& source, int track, const SoundForm& form) {
    Sound sound(source.name(), track, form);
    Wave wave{title_of(source, track, form), 0, std::vector<LevelMeter>(static_cast<std::size_t>(form.channels))};
    Progress progress("track " + std::to_string(track), sound.duration_ms(), Unit::milliseconds);
    for (Sound::Piece piece = sound.next(); piece.bytes > 0; piece = sound.next()) {
        take(wave, piece);
        progress.reach(std::min(sound.delivered_ms(), sound.duration_ms()));
    }
    progress.reach(sound.duration_ms());
    wave.seconds = static_cast<double>(sound.delivered_frames()) / form.rate;
    return wave;
}

std::vector<Wave> measure_tracks(const std::string& file) {
    const Source source(file);
    std::vector<Wave> waves;
    for (int track = 0; track < source.file_param("naudio"); ++track) {
        const SoundForm form = form_of(source, track);
        if (form.channels > 0 && form.rate > 0)
            waves.push_back(measure(source, track, form));
    }
    if (waves.empty())
        throw Failure(file, "has no sound that can be decoded");
    return waves;
}

// ---- drawing ----

std::string decibel_text(double amplitude) {
    if (amplitude <= 0)
        return "silent";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f dB", decibels(amplitude));
    return text;
}

int channel_height() {
    return label_height() + kBandHeight + kMargin;
}
int track_height(const Wave& wave) {
    return label_height() + static_cast<int>(wave.channels.size()) * channel_height() + kTick + label_height() +
           kMargin;
}

// Rows of the band that an amplitude reaches from its axis.
int rows_of(double amplitude) {
    constexpr int half = kBandHeight / 2;
    return static_cast<int>(std::clamp(amplitude, 0.0, 1.0) * half);
}

// The span of a column's samples, and within it the power: what one sees of a sound and what one hears.
void draw_column(Picture& picture, int column, int axis, const Level& level) {
    const int above = rows_of(level.high);
    const int power = rows_of(level.rms());
    picture.fill(column, axis - above, 1, above + rows_of(-level.low) + 1, kPeak);
    picture.fill(column, axis - power, 1, 2 * power + 1, kPower);
}

void draw_channel(Picture& picture, int top, int number, const LevelMeter& meter) {
    const Level whole = meter.whole();
    const int columns = picture.width() - 2 * kMargin;
    const std::string text = "channel " + std::to_string(number) + ": peak " + decibel_text(whole.peak()) + ", power " +
                             decibel_text(whole.rms());
    draw_label(picture, kMargin, top, drawable(text, columns), kText);
    const int axis = top + label_height() + kBandHeight / 2;
    picture.fill(kMargin, axis, columns, 1, kAxis);
    for (int column = 0; column < columns; ++column)
        draw_column(picture, kMargin + column, axis, meter.part(column, columns));
}

void draw_time_axis(Picture& picture, int top, double seconds) {
    const int columns = picture.width() - 2 * kMargin;
    picture.fill(kMargin, top, columns, 1, kAxis);
    for (const TimeMark& mark : time_marks(seconds, columns / kRoomOfMark + 1)) {
        const int place = seconds > 0 ? static_cast<int>(mark.seconds / seconds * (columns - 1)) : 0;
        picture.fill(kMargin + place, top, 1, kTick, kText);
        const int width = label_width(mark.text);
        draw_label(picture,
                   std::clamp(kMargin + place - width / 2, kMargin / 2, std::max(picture.width() - width, kMargin / 2)),
                   top + kTick, mark.text, kText);
    }
}

void draw_wave(Picture& picture, int top, const Wave& wave) {
    draw_label(picture, kMargin, top, drawable(wave.title, picture.width() - 2 * kMargin), kText);
    top += label_height();
    int number = 0;
    for (const LevelMeter& channel : wave.channels) {
        draw_channel(picture, top, number++, channel);
        top += channel_height();
    }
    draw_time_axis(picture, top, wave.seconds);
}

void wave(const WaveOptions& options) {
    require_free(options.out, options.file);
    const std::vector<Wave> waves = measure_tracks(options.file);
    int height = label_height() + 2 * kMargin;
    for (const Wave& one : waves)
        height += track_height(one);
    Picture picture(options.width, std::min(height, kMostPictureRows), kBackground);
    draw_label(picture, kMargin, kMargin,
               drawable(utf8_of(path_of(options.file).filename()), picture.width() - 2 * kMargin), kText);
    int top = label_height() + 2 * kMargin;
    for (const Wave& one : waves) {
        draw_wave(picture, top, one);
        top += track_height(one);
    }
    write_png(options.out, picture);
}

}  // namespace

void add_wave(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("wave", "Draw peak and power of every channel over time into a PNG file");
    auto options = std::make_shared<WaveOptions>();
    verb->add_option("FILE", options->file, "The file to read")->required();
    verb->add_option("--out", options->out.name, "The PNG file to write")->required();
    add_force(*verb, options->out);
    verb->add_option("--width", options->width, "Width of the picture in pixels")
        ->check(CLI::Range(64, 16384))
        ->capture_default_str();
    verb->callback([options] { wave(*options); });
}

}  // namespace host
