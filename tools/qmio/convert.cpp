// qmio convert IN OUT OPTIONS: a file read and written anew, its pictures and its sound in the form that is asked for.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>

#include "container.h"
#include "conversion.h"
#include "failure.h"
#include "frame_buffer.h"
#include "losses.h"
#include "numbers.h"
#include "output.h"
#include "output_options.h"
#include "progress.h"
#include "sound_writer.h"
#include "verbs.h"

namespace host {

namespace {

// Pictures come in the colours that the file tells, and upright: what players turn is not told again.
constexpr const char* kReading = "matrix=file,rotate=1";

struct ConvertOptions {
    std::string in;
    Target out;
    std::string options;
    std::vector<int> tracks;
};

// ---- making the file ----

struct Made {
    OptionList options;
    std::unique_ptr<Output> output;
};

// FFmpeg's messages about a try that failed are part of the reason.
Made make_output(const ConvertOptions& asked, const Conversion& conversion, int tracks, bool keeps) {
    OptionList options = options_for(conversion, tracks, keeps);
    const qmio::platform::QuietErrors quiet;
    auto output = std::make_unique<Output>(asked.out, options.text());
    return {options, std::move(output)};
}

// Containers do not tell beforehand what they take: where one refuses, it is tried with fewer tracks, and without what was
// not asked for. What goes to no plain file is tried once.
Made make_what_is_taken(const ConvertOptions& asked, const Conversion& conversion) {
    const int all = static_cast<int>(conversion.tracks.size());
    const int fewest = conversion.takes_all_tracks ? std::min(all, 1) : all;
    const bool is_plain = place_of(asked.out, container_of(conversion.chosen)).final.has_value();
    std::optional<Failure> first;
    for (const bool keeps : {true, false})
        for (int tracks = all; tracks >= fewest; --tracks)
            try {
                return make_output(asked, conversion, tracks, keeps);
            } catch (const Failure& failure) {
                if (!first)
                    first = failure;
                if (!is_plain)
                    throw;
            }
    throw Failure(*first);
}

void say_what_was_of_no_use(const Output& output) {
    char text[2048] = {};
    if (qmio_why(text, sizeof text) == 0 && text[0] != '\0')
        say(output.name(), text);
}

std::vector<SoundWriter> open_sounds(const Conversion& conversion, Output& output) {
    std::vector<SoundWriter> sounds;
    sounds.reserve(static_cast<std::size_t>(output.track_count()));
    for (int track = 0; track < output.track_count(); ++track)
        sounds.emplace_back(output, track, conversion.source.name(), conversion.tracks[static_cast<std::size_t>(track)],
                            conversion.silence(track));
    return sounds;
}

// ---- pictures ----

class PictureWriter {
  public:
    PictureWriter(const Conversion& conversion, const OptionList& options, Output& output,
                  std::vector<SoundWriter>& sounds)
        : output_(output),
          sounds_(sounds),
          format_(pixel_format_of(options)),
          start_(conversion.first_picture),
          period_(seconds_per_picture(options)),
          match_(1 / period_, conversion.lead()),
          buffer_(format_, output.width(), output.height()) {}

    // All pictures from the one on that the reader stands on.
    void write_all(PictureReader& reader, Progress& progress) {
        reader.deliver(format_, buffer_.record());
        bool is_first = true;
        while (reader.next()) {
            const int64_t times = write(reader.time());
            repeated_ += is_first ? 0 : std::max<int64_t>(times - 1, 0);
            left_out_ += times == 0 ? 1 : 0;
            is_first = false;
            reader.deliver(format_, buffer_.record());
            progress.step();
        }
        if (write(reader.end()) == 0 && match_.written() == 0)
            write_once();
        progress.step();
    }

    int64_t repeated() const { return repeated_; }
    int64_t left_out() const { return left_out_; }

  private:
    int64_t write(double until) {
        const int64_t times = match_.times_until(until - start_);
        for (int64_t time = 0; time < times; ++time)
            write_once();
        return times;
    }

    void write_once() {
        output_.write(buffer_.record());
        ++written_;
        for (SoundWriter& sound : sounds_)
            sound.write_until(static_cast<double>(written_) * period_);
    }

    Output& output_;
    std::vector<SoundWriter>& sounds_;
    int format_;
    double start_;
    double period_;
    RateMatch match_;
    FrameBuffer buffer_;
    int64_t written_ = 0;
    int64_t repeated_ = 0;
    int64_t left_out_ = 0;
};

void write_pictures(const Conversion& conversion, PictureReader& reader, const Made& made,
                    std::vector<SoundWriter>& sounds) {
    PictureWriter writer(conversion, made.options, *made.output, sounds);
    {
        Progress progress("convert", conversion.source.frame_count());
        writer.write_all(reader, progress);
    }
    const bool is_even = writer.repeated() == 0 && writer.left_out() == 0;
    if (!is_even && !conversion.chosen.has({"r"}))
        say(conversion.source.name(), "its pictures have no constant rate: at " + made.options.value({"r"}) +
                                          " a second " + std::to_string(writer.repeated()) + " are repeated and " +
                                          std::to_string(writer.left_out()) + " left out");
}

// ---- what is not kept ----

std::string seconds_text(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f s", seconds);
    return text;
}

void say_starts(const Conversion& conversion, int tracks) {
    const double period = 1 / conversion.rate();
    if (conversion.lead() > 1)
        say(conversion.source.name(), "its pictures begin behind its sound: the first is shown for " +
                                          seconds_text(static_cast<double>(conversion.lead()) * period) + " before");
    for (int track = 0; track < tracks; ++track)
        if (conversion.silence(track) > period)
            say(conversion.source.name(),
                "track " + std::to_string(conversion.tracks[static_cast<std::size_t>(track)]) +
                    " begins later: silence of " + seconds_text(conversion.silence(track)) + " is written before it");
}

void say_tracks(const Conversion& conversion, const Output& output) {
    const Source& source = conversion.source;
    for (std::size_t track = static_cast<std::size_t>(output.track_count()); track < conversion.tracks.size(); ++track)
        say(source.name(), "track " + std::to_string(conversion.tracks[track]) +
                               " is left out: " + container_of(conversion.chosen) + " does not take it");
    for (int track = 0; track < output.track_count(); ++track) {
        const int from = conversion.tracks[static_cast<std::size_t>(track)];
        const int64_t rate = source.track_param("file_sample_rate", from);
        const int written = output.track_param("file_sample_rate", track);
        if (written != rate && !conversion.chosen.has({"ar", "sample_rate"}))
            say(source.name(), "track " + std::to_string(from) + ": " + std::to_string(rate) + " Hz becomes " +
                                   std::to_string(written) + " Hz");
    }
    if (conversion.has_pictures && source.file_param("nvideo") > 1)
        say(source.name(), "of its video streams the first alone is written");
}

void say_tags(const Conversion& conversion, const Source& written) {
    const Source& source = conversion.source;
    const OptionList& chosen = conversion.chosen;
    const auto compare = [&](const std::string& part, int from, int to) {
        for (const std::string& line : tag_losses(part, kept_tags(source, from), kept_tags(written, to)))
            say(source.name(), line);
    };
    if (!chosen.has({"tag:title", "metadata"}))
        compare("the file", QMIO_CONTAINER, QMIO_CONTAINER);
    if (conversion.has_pictures && !chosen.has({"tag:v:title", "tag:v:language"}))
        compare("the video", QMIO_VIDEO, QMIO_VIDEO);
    const auto tracks =
        std::min<std::size_t>(conversion.tracks.size(), static_cast<std::size_t>(written.file_param("naudio")));
    for (std::size_t track = 0; track < tracks && !chosen.has({"tag:a:title", "tag:a:language"}); ++track)
        compare("track " + std::to_string(conversion.tracks[track]), conversion.tracks[track], static_cast<int>(track));
}

// What can be read of the new file is what was kept. Some cannot be read by anybody: check sums, for instance.
void say_losses(const Conversion& conversion, const Made& made) {
    if (made.output->readable_name().empty())
        return;
    std::unique_ptr<Source> written;
    std::vector<std::string> lines;
    {
        const qmio::platform::QuietErrors quiet;
        try {
            written = std::make_unique<Source>(made.output->readable_name());
        } catch (const Failure&) {
            return;
        }
        PictureReader reader(*written);
        if (conversion.has_pictures && reader.next())
            lines = picture_losses(conversion.pictures, picture_facts(*written, reader.fields()), made.options,
                                   conversion.chosen);
    }
    for (const std::string& line : lines)
        say(conversion.source.name(), line);
    say_tags(conversion, *written);
}

void convert(const ConvertOptions& asked) {
    require_free(asked.out, asked.in);
    OptionList chosen(asked.options);
    add_container(chosen, asked.out.name);
    const Source source(asked.in, kReading);
    PictureReader reader(source);
    const Conversion conversion = plan_conversion(source, reader, chosen, asked.tracks);
    const Made made = make_what_is_taken(asked, conversion);
    Output& output = *made.output;
    say_what_was_of_no_use(output);
    std::vector<SoundWriter> sounds = open_sounds(conversion, output);
    if (output.has_video())
        write_pictures(conversion, reader, made, sounds);
    for (SoundWriter& sound : sounds)
        sound.write_rest();
    output.finish();
    say_starts(conversion, output.track_count());
    say_tracks(conversion, output);
    say_losses(conversion, made);
    output.keep();
}

}  // namespace

void add_convert(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("convert", "Write the pictures and the sound of a file into a new one");
    auto options = std::make_shared<ConvertOptions>();
    verb->add_option("IN", options->in, "The file to read")->required();
    verb->add_option("OUT", options->out.name, kTargetHelp)->required();
    verb->add_option(
            "OPTIONS", options->options,
            "What to write, for instance vcodec=libx264,b:v=2M,acodec=aac. What is left out is as in IN: size, "
            "rates, pixel format, aspect, fields, colours, time code, titles and languages; fmt is told by the "
            "name of OUT; one acodec is for all tracks. What cannot be kept is said on standard error. Times are "
            "kept: another r repeats pictures or leaves some out")
        ->required();
    verb->add_option("--track", options->tracks, "Only this track of IN, counted from 0; may be given more than once")
        ->check(CLI::Range(0, 15));
    add_force(*verb, options->out);
    verb->callback([options] { convert(*options); });
}

}  // namespace host
