// The command-line host of the library: one verb per file, registered here.
#include <qmio.h>
#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <stdexcept>

#include "failure.h"
#include "system.h"
#include "verbs.h"

namespace {

enum ExitCode { kDone = 0, kFailed = 1, kWrongUsage = 2 };

void add_verbs(CLI::App& app) {
    host::add_info(app);
    host::add_frames(app);
    host::add_sheet(app);
    host::add_audio(app);
    host::add_wave(app);
    host::add_convert(app);
    host::add_remux(app);
    host::add_make(app);
    host::add_play(app);
    host::add_timecode(app);
    host::add_formats(app);
    host::add_codecs(app);
    host::add_pixel_formats(app);
}

int run(std::vector<std::string> arguments) {
    CLI::App app("Reads media files by frame number, and writes them.", "qmio");
    app.allow_windows_style_options(false);  // a path may begin with a slash, on Windows too
    app.set_version_flag("--version", std::string(qmio_get_file_info(nullptr, "ver")) + ", built " +
                                          qmio_get_file_info(nullptr, "build"));
    app.require_subcommand(1);
    app.failure_message(CLI::FailureMessage::help);
    add_verbs(app);
    std::reverse(arguments.begin(), arguments.end());  // the parser takes them from the back
    try {
        app.parse(arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kWrongUsage;
    }
    std::cout.flush();
    if (!std::cout)
        throw std::runtime_error("standard output cannot be written");
    return kDone;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(host::utf8_arguments(argc, argv));
    } catch (const std::exception& error) {
        std::cerr << "qmio: " << error.what() << '\n';
        return kFailed;
    }
}
