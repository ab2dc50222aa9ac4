// The command-line host of the library: one verb per file, registered here.
#include <qmio.h>
#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <stdexcept>

#include "failure.h"
#include "help.h"
#include "platform/console.h"
#include "quiet.h"
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

// What is wrong, and where to read on; not the whole help.
std::string usage_message(const CLI::App* app, const CLI::Error& error) {
    std::string verb;
    for (const CLI::App* chosen : app->get_subcommands())
        verb += chosen->get_name() + " ";
    return "qmio: " + std::string(error.what()) + "\nSee: qmio " + verb + "--help\n";
}

bool is_verb(const CLI::App& app, const std::string& word) {
    const std::vector<const CLI::App*> verbs = app.get_subcommands([](const CLI::App*) { return true; });
    return std::any_of(verbs.begin(), verbs.end(), [&](const CLI::App* verb) { return verb->get_name() == word; });
}

// The first word is a verb, or an option of the program's own. Empty when it is.
std::string complain_of_verb(const CLI::App& app, const std::vector<std::string>& arguments) {
    if (arguments.empty())
        return "a verb is missing, such as: qmio info FILE";
    const std::string& first = arguments.front();
    return is_verb(app, first) || first.rfind('-', 0) == 0 ? "" : "there is no verb '" + first + "'";
}

int run(std::vector<std::string> arguments) {
    CLI::App app("Reads media files by frame number, and writes them.", "qmio");
    app.allow_windows_style_options(false);  // a path may begin with a slash, on Windows too
    app.set_version_flag("--version", std::string(qmio_get_file_info(nullptr, "ver")) + ", built " +
                                          qmio_get_file_info(nullptr, "build"));
    app.require_subcommand(1);
    app.failure_message(usage_message);
    add_verbs(app);
    host::add_quiet(app);
    host::add_help(app);
    if (const std::string complaint = complain_of_verb(app, arguments); !complaint.empty()) {
        std::cerr << "qmio: " << complaint << "\nSee: qmio --help\n";
        return kWrongUsage;
    }
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
        return run(qmio::platform::utf8_arguments(argc, argv));
    } catch (const std::exception& error) {
        std::cerr << "qmio: " << error.what() << '\n';
        return kFailed;
    }
}
