// qmio timecode FILE --at N: the time code of a frame.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <limits>
#include <memory>

#include "failure.h"
#include "source.h"
#include "verbs.h"

namespace host {

namespace {

struct TimecodeOptions {
    std::string file;
    int frame = 0;
};

void timecode(const TimecodeOptions& options) {
    const Source source(options.file);
    source.require_pictures();
    const int packed = qmio_get_smpte(source.handle(), options.frame);
    if (packed == -1)
        throw Failure(options.file, "has no frame rate");
    const auto parts = static_cast<unsigned>(packed);
    char text[32];
    std::snprintf(text, sizeof text, "%02u:%02u:%02u:%02u", parts >> 24, parts >> 16 & 0xFF, parts >> 8 & 0xFF,
                  parts & 0xFF);
    std::cout << text << '\n';
}

}  // namespace

void add_timecode(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("timecode", "Print the time code of a frame, counted from the start");
    auto options = std::make_shared<TimecodeOptions>();
    verb->add_option("FILE", options->file, "The file to look at")->required();
    verb->add_option("--at", options->frame, "Frame number, counted from 0")
        ->required()
        ->check(CLI::Range(0, std::numeric_limits<int>::max()).description("NUMBER"));
    verb->callback([options] { timecode(*options); });
}

}  // namespace host
