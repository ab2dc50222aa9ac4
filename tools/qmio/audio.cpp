// qmio audio FILE --track 0 --start 1:05 --end 1:10 --out out.wav: a track's sound, or a part of it, as a WAV file.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <memory>

#include "failure.h"
#include "numbers.h"
#include "output.h"
#include "progress.h"
#include "sound.h"
#include "sound_writer.h"
#include "verbs.h"

namespace host {

namespace {

struct AudioOptions {
    std::string file;
    Target out{"out.wav"};
    int track = 0;
    int rate = 48000;
    int channels = 2;
    std::string format = "s16";
    std::string start;
    std::string end;
};

// How WAV files hold samples.
struct Held {
    std::string encoder;
    std::string samples;  // the format in which it takes them
};

const std::map<std::string, Held>& formats() {
    static const std::map<std::string, Held> formats = {{"u8", {"pcm_u8", "u8"}},      {"s16", {"pcm_s16le", "s16"}},
                                                        {"s24", {"pcm_s24le", "s32"}}, {"s32", {"pcm_s32le", "s32"}},
                                                        {"s64", {"pcm_s64le", "s64"}}, {"flt", {"pcm_f32le", "flt"}},
                                                        {"dbl", {"pcm_f64le", "dbl"}}};
    return formats;
}

std::string output_options(const AudioOptions& options) {
    const Held& held = formats().at(options.format);
    return "fmt=wav,acodec=" + held.encoder + ",ar=" + std::to_string(options.rate) +
           ",ac=" + std::to_string(options.channels) + ",afmt=" + held.samples;
}

std::string complain_of_time(const std::string& text) {
    return parse_time(text) ? "" : "'" + text + "' is no time (12.5, 1:05, 1:02:03.25)";
}

// The part of a track that is asked for, in frames of what is written.
struct Range {
    int64_t first = 0;
    int64_t end = std::numeric_limits<int64_t>::max();
};

Range range_of(const AudioOptions& options) {
    const auto frame = [&](const std::string& text) {
        return static_cast<int64_t>(std::llround(parse_time(text).value() * options.rate));
    };
    Range range;
    if (!options.start.empty())
        range.first = frame(options.start);
    if (!options.end.empty())
        range.end = frame(options.end);
    if (range.end <= range.first)
        throw Failure(options.file, "the end lies at or before the start");
    return range;
}

// What of the piece delivered last lies within the range.
Sound::Piece within(const Sound& sound, const Sound::Piece& piece, const Range& range) {
    const int64_t size = sound.bytes_per_frame();
    const int64_t end = sound.delivered_frames();
    const int64_t begin = end - piece.bytes / size;
    const int64_t first = std::max(begin, range.first);
    const int64_t last = std::min(end, range.end);
    if (last <= first)
        return {};
    return {piece.samples + (first - begin) * size, static_cast<int>((last - first) * size)};
}

// Writes what of the track lies within the range; the frames that were written.
int64_t copy(Sound& sound, Output& file, const Range& range) {
    const double end_ms = static_cast<double>(range.end) * 1000 / sound.form().rate;
    const auto total = static_cast<int64_t>(std::min(static_cast<double>(sound.duration_ms()), end_ms));
    Progress progress("audio", total, Unit::milliseconds);
    int64_t written = 0;
    while (sound.delivered_frames() < range.end) {
        const Sound::Piece piece = sound.next();
        if (piece.bytes <= 0)
            break;
        const Sound::Piece part = within(sound, piece, range);
        if (part.bytes > 0)
            write_samples(file, 0, sound.form(), part.samples, part.bytes);
        const int64_t frames = part.bytes / sound.bytes_per_frame();
        written += frames;
        progress.reach(std::min(sound.delivered_ms(), total));
    }
    progress.reach(total);
    return written;
}

void audio(const AudioOptions& options) {
    require_free(options.out, options.file);
    const Range range = range_of(options);
    const Held& held = formats().at(options.format);
    Sound sound(options.file, options.track, {options.channels, options.rate, sample_format_code(held.samples)});
    Output file(options.out, output_options(options));
    if (copy(sound, file, range) == 0 && range.first > 0)
        throw Failure(options.file,
                      "the sound of the track ends before the start, at " + time_text(sound.delivered_ms() * 1000));
    file.close();
}

}  // namespace

void add_audio(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("audio", "Write the sound of a track as a WAV file");
    auto options = std::make_shared<AudioOptions>();
    verb->add_option("FILE", options->file, "The file to read")->required();
    verb->add_option("--track", options->track, "Number of the track, counted from 0")
        ->check(CLI::Range(0, 15))
        ->capture_default_str();
    verb->add_option("--rate", options->rate, "Sample rate in Hz")->check(CLI::Range(1, 768000))->capture_default_str();
    verb->add_option("--channels", options->channels, "Channels")->check(CLI::Range(1, 8))->capture_default_str();
    verb->add_option("--format", options->format, "Sample format")
        ->check(CLI::IsMember(formats()))
        ->capture_default_str();
    const CLI::Validator time(complain_of_time, "TIME");
    verb->add_option("--start", options->start, "Where to begin: seconds, m:ss or h:mm:ss, with decimals")->check(time);
    verb->add_option("--end", options->end, "Where to end, counted from the beginning of the track, too")->check(time);
    verb->add_option("--out", options->out.name, "The WAV file to write")->capture_default_str();
    add_force(*verb, options->out);
    verb->callback([options] { audio(*options); });
}

}  // namespace host
