// qmio info FILE: what the library knows of a file.
#include <CLI/CLI.hpp>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>

#include "info_json.h"
#include "source.h"
#include "verbs.h"

namespace host {

namespace {

void print_row(const std::string& label, const std::string& text) {
    std::cout << "  " << std::left << std::setw(16) << label << ' ' << text << '\n';
}

std::string bit_rate(int64_t bits_per_second) {
    return bits_per_second > 0 ? std::to_string(bits_per_second / 1000) + " kbit/s" : "not told";
}

std::string ratio(double value) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(3) << value;
    return text.str();
}

void print_video(const Source& source) {
    print_row("video streams", std::to_string(source.file_param("nvideo")));
    if (!source.has_video())
        return;
    print_row("video stream", std::to_string(source.file_param("video")));
    print_row("picture size", std::to_string(source.width()) + " x " + std::to_string(source.height()));
    print_row("pixel aspect", ratio(source.pixel_aspect()));
    print_row("frames", std::to_string(source.frame_count()));
    print_row("video bit rate", bit_rate(source.file_param("vb")));
}

void print_track(const Source& source, int track) {
    const int64_t rate = source.track_param("sample_rate", track);
    const int64_t channels = source.track_param("channels", track);
    const std::string text = rate > 0 ? std::to_string(rate) + " Hz, " + std::to_string(channels) +
                                            (channels == 1 ? " channel" : " channels")
                                      : "cannot be decoded";
    print_row("track " + std::to_string(track), text);
}

void print_audio(const Source& source) {
    const int tracks = static_cast<int>(source.file_param("naudio"));
    print_row("audio tracks", std::to_string(tracks));
    if (tracks <= 0)
        return;
    print_row("audio stream", std::to_string(source.file_param("audio")));
    print_row("audio duration", std::to_string(qmio_get_dur(source.handle())) + " ms");
    print_row("audio bit rate", bit_rate(source.file_param("ab")));
    for (int track = 0; track < tracks; ++track)
        print_track(source, track);
}

struct InfoOptions {
    std::string file;
    bool json = false;
    std::string opening;
};

void info(const InfoOptions& options) {
    const Source source(options.file, options.opening);
    if (options.json)
        return print_json(source, std::cout);
    std::cout << options.file << '\n';
    print_video(source);
    print_audio(source);
}

}  // namespace

void add_info(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("info", "Print streams, sizes, rates, counts and durations of a file");
    auto options = std::make_shared<InfoOptions>();
    verb->add_option("FILE", options->file, "The file to look at")->required();
    verb->add_flag("--json", options->json, "Everything that the library tells, by key, as JSON");
    verb->add_option("--options", options->opening, kOpeningOptions);
    verb->callback([options] { info(*options); });
}

}  // namespace host
