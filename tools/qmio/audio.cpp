// qmio audio FILE --track 0 --rate 48000 --channels 2 --format s16 --out out.wav: a track's sound as a WAV file.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <vector>

#include "failure.h"
#include "output.h"
#include "progress.h"
#include "sound.h"
#include "source.h"
#include "verbs.h"

namespace host {

namespace {

struct AudioOptions {
    std::string file;
    std::string out = "out.wav";
    int track = 0;
    int rate = 48000;
    int channels = 2;
    std::string format = "s16";
    double start = -1;  // seconds; below 0 where it is not told
    double end = -1;
};

// What WAV files hold, by sample format.
const std::map<std::string, std::string>& encoders() {
    static const std::map<std::string, std::string> names = {{"u8", "pcm_u8"},     {"s16", "pcm_s16le"},
                                                             {"s32", "pcm_s32le"}, {"s64", "pcm_s64le"},
                                                             {"flt", "pcm_f32le"}, {"dbl", "pcm_f64le"}};
    return names;
}

std::string output_options(const AudioOptions& options) {
    return "fmt=wav,acodec=" + encoders().at(options.format) + ",ar=" + std::to_string(options.rate) +
           ",ac=" + std::to_string(options.channels) + ",afmt=" + options.format;
}

constexpr int kPiece = 16384;         // samples
constexpr double kMostSeconds = 1e6;  // eleven days

int64_t at_rate(double seconds, int rate) {
    return std::llround(seconds * rate);
}

// The samples from `start` on and before `end`, as decoding the whole gives them.
void write_range(const AudioOptions& options) {
    Source source(options.file);
    if (options.track >= source.file_param("naudio"))
        throw Failure(options.file, "has no track " + std::to_string(options.track));
    qmio_set_track(source.handle(), options.track);
    qmio_set_dst_audio(source.handle(), options.channels, options.rate, sample_format_code(options.format));
    Output file(options.out, output_options(options));
    std::vector<uint8_t> piece(static_cast<std::size_t>(kPiece * options.channels * 8));
    int64_t at = at_rate(std::max(options.start, 0.0), options.rate);
    const int64_t end = at_rate(options.end < 0 ? kMostSeconds : options.end, options.rate);
    for (int samples = 1; at < end && samples > 0; at += samples) {
        samples =
            qmio_read_sound(source.handle(), options.track, at, static_cast<int>(std::min<int64_t>(kPiece, end - at)),
                            piece.data(), static_cast<int>(piece.size()));
        if (samples < 0)
            throw Failure(options.file, "its sound cannot be read by position");
        const int bytes = samples * options.channels * sample_size(sample_format_code(options.format));
        if (bytes > 0)
            file.write(0, piece.data(), bytes);
        file.expect(bytes);
    }
    file.close();
}

void write_all(const AudioOptions& options) {
    Sound sound(options.file, options.track, {options.channels, options.rate, sample_format_code(options.format)});
    Output file(options.out, output_options(options));
    const auto total = static_cast<int>(std::min<int64_t>(sound.duration_ms(), std::numeric_limits<int>::max()));
    Progress progress("audio, ms", total);
    for (Sound::Piece piece = sound.next(); piece.bytes > 0; piece = sound.next()) {
        file.write(0, piece.samples, piece.bytes);
        progress.reach(static_cast<int>(std::min<int64_t>(sound.delivered_ms(), total)));
    }
    file.close();
    progress.reach(total);
}

void audio(const AudioOptions& options) {
    require_other_file(options.file, options.out);
    if (options.start >= 0 || options.end >= 0)
        return write_range(options);
    write_all(options);
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
        ->check(CLI::IsMember(encoders()))
        ->capture_default_str();
    verb->add_option("--start", options->start, "Second to begin with, to the sample")
        ->check(CLI::Range(0.0, kMostSeconds));
    verb->add_option("--end", options->end, "Second to end before")->check(CLI::Range(0.0, kMostSeconds));
    verb->add_option("--out", options->out, "The WAV file to write")->capture_default_str();
    verb->callback([options] { audio(*options); });
}

}  // namespace host
