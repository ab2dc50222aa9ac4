// qmio timecode FILE --at N: the time code of a frame.
#include <CLI/CLI.hpp>
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
    const std::optional<std::string> text = source.time_code(options.frame);
    if (!text)
        throw Failure(options.file, "has no frame rate");
    std::cout << *text << '\n';
}

}  // namespace

void add_timecode(CLI::App& app) {
    CLI::App* verb =
        app.add_subcommand("timecode", "Print the SMPTE time code of a frame, counted from the one that the file has");
    auto options = std::make_shared<TimecodeOptions>();
    verb->add_option("FILE", options->file, "The file to look at")->required();
    verb->add_option("--at", options->frame, "Frame number, counted from 0")
        ->required()
        ->check(CLI::Range(0, std::numeric_limits<int>::max()).description("NUMBER"));
    verb->callback([options] { timecode(*options); });
}

}  // namespace host
