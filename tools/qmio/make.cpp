// qmio make OUT OPTIONS --frames N: a test file. Every picture carries its number, every channel a sound of its own.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <memory>

#include "container.h"
#include "failure.h"
#include "frame_buffer.h"
#include "label.h"
#include "output.h"
#include "output_options.h"
#include "picture.h"
#include "progress.h"
#include "sound_writer.h"
#include "test_sound.h"
#include "verbs.h"

namespace host {

namespace {

constexpr int kDefaultWidth = 640;
constexpr int kDefaultHeight = 360;
constexpr Colour kText{255, 255, 255, 255};
constexpr Colour kBehindText{0, 0, 0, 255};
constexpr std::array<Colour, 8> kBars = {{{235, 235, 235, 255},
                                          {235, 235, 16, 255},
                                          {16, 235, 235, 255},
                                          {16, 235, 16, 255},
                                          {235, 16, 235, 255},
                                          {235, 16, 16, 255},
                                          {16, 16, 235, 255},
                                          {16, 16, 16, 255}}};

struct MakeOptions {
    Target out;
    std::string options;
    int frames = 125;
};

// ---- pictures ----

void draw_bars(Picture& picture) {
    const int count = static_cast<int>(kBars.size());
    for (int bar = 0; bar < count; ++bar) {
        const int left = picture.width() * bar / count;
        picture.fill(left, 0, picture.width() * (bar + 1) / count - left, picture.height(),
                     kBars[static_cast<std::size_t>(bar)]);
    }
}

// The number in writing, and a line that wanders once through the picture in a hundred frames.
void draw_frame(Picture& picture, int number) {
    draw_bars(picture);
    picture.fill(picture.width() * (number % 100) / 100, 0, std::max(picture.width() / 100, 1), picture.height(),
                 kText);
    const std::string text = "frame " + std::to_string(number);
    const int width = label_width(text) + 16;
    const int left = (picture.width() - width) / 2;
    const int top = (picture.height() - label_height()) / 2;
    picture.fill(left, top - 8, width, label_height() + 16, kBehindText);
    draw_label(picture, left + 8, top, text, kText);
}

void write_picture(Output& output, Picture& picture, FrameBuffer& buffer, int number) {
    draw_frame(picture, number);
    imio_picture drawn = picture.record();
    if (imio_cvt(&buffer.record(), &drawn) <= 0)
        throw Failure("make", "the pictures cannot be converted into this pixel format");
    output.write(buffer.record());
}

// ---- sound ----

template <class Sample>
void store(uint8_t* place, double value) {
    Sample sample{};
    if constexpr (std::is_floating_point_v<Sample>)
        sample = static_cast<Sample>(value);
    else
        sample = static_cast<Sample>(value * static_cast<double>(std::numeric_limits<Sample>::max()));
    std::memcpy(place, &sample, sizeof sample);
}

void store_sample(uint8_t* place, int format, double value) {
    switch (format < -1 ? -format : format) {
        case 8:
            *place = static_cast<uint8_t>(128 + value * 127);
            return;
        case 16:
            return store<int16_t>(place, value);
        case 32:
            return store<int32_t>(place, value);
        case 64:
            return store<double>(place, value);
        case 128:
            return store<int64_t>(place, value);
        default:
            return store<float>(place, value);
    }
}

// The sound of a track, as much of it as its pictures last.
class TestSound {
  public:
    TestSound(Output& output, int track) : output_(output), track_(track), form_(form_of_track(output, track)) {}

    void write_until(double seconds) {
        const auto end = static_cast<int64_t>(seconds * form_.rate);
        // A track whose encoder is not known has no channels.
        if (form_.channels < 1 || end <= next_)
            return;
        const int count = static_cast<int>(end - next_);
        const int size = sample_size(form_.format);
        samples_.resize(static_cast<std::size_t>(count) * static_cast<std::size_t>(form_.channels * size));
        for (int index = 0; index < count; ++index)
            for (int channel = 0; channel < form_.channels; ++channel)
                store_sample(samples_.data() + place(index, channel, count) * size, form_.format,
                             test_sound(track_, channel, static_cast<double>(next_ + index) / form_.rate));
        write_samples(output_, track_, form_, samples_.data(), static_cast<int>(samples_.size()));
        next_ = end;
    }

  private:
    std::ptrdiff_t place(int index, int channel, int count) const {
        return form_.format < 0 ? std::ptrdiff_t{channel} * count + index
                                : std::ptrdiff_t{index} * form_.channels + channel;
    }

    Output& output_;
    int track_;
    SoundForm form_;
    int64_t next_ = 0;
    std::vector<uint8_t> samples_;
};

// ---- the whole ----

OptionList fill_in(const MakeOptions& asked) {
    OptionList options(asked.options);
    add_container(options, asked.out.name);
    add_picture_defaults(options, {kDefaultWidth, kDefaultHeight, "25"});
    options.add_track_defaults([](int, const std::string& encoder) { return track_defaults(encoder, {}); });
    return options;
}

void make(const MakeOptions& options) {
    require_free(options.out);
    const OptionList filled = fill_in(options);
    Output output(options.out, filled.text());
    std::vector<TestSound> sounds;
    sounds.reserve(static_cast<std::size_t>(output.track_count()));
    for (int track = 0; track < output.track_count(); ++track)
        sounds.emplace_back(output, track);
    std::unique_ptr<Picture> picture;
    std::unique_ptr<FrameBuffer> buffer;
    if (output.has_video()) {
        picture = std::make_unique<Picture>(output.width(), output.height());
        buffer = std::make_unique<FrameBuffer>(pixel_format_of(filled), output.width(), output.height());
    }
    Progress progress("make", options.frames);
    for (int frame = 0; frame < options.frames; ++frame) {
        if (picture != nullptr)
            write_picture(output, *picture, *buffer, frame);
        for (TestSound& sound : sounds)
            sound.write_until((frame + 1) * seconds_per_picture(filled));
        progress.step();
    }
    output.close();
}

}  // namespace

void add_make(CLI::App& app) {
    CLI::App* verb =
        app.add_subcommand("make", "Write a test file: numbered pictures, another sound for every channel");
    auto options = std::make_shared<MakeOptions>();
    verb->add_option("OUT", options->out.name, kTargetHelp)->required();
    add_force(*verb, options->out);
    verb->add_option("OPTIONS", options->options,
                     "What to write, for instance fmt=mp4,vcodec=libx264,r=25,acodec=aac; 640x360, 25 frames a second "
                     "and 48000 Hz stereo unless it says otherwise; without fmt the name of OUT tells the container")
        ->required();
    verb->add_option("--frames", options->frames, "Number of pictures")
        ->check(CLI::Range(1, 10000000))
        ->capture_default_str();
    verb->callback([options] { make(*options); });
}

}  // namespace host
