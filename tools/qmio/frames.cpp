// qmio frames FILE --at 0,100,17 --out DIR: frames by number, each as a PNG file.
#include <CLI/CLI.hpp>
#include <charconv>
#include <filesystem>
#include <iomanip>
#include <memory>
#include <optional>
#include <sstream>

#include "failure.h"
#include "png.h"
#include "progress.h"
#include "source.h"
#include "text.h"
#include "verbs.h"

namespace host {

namespace {

struct FramesOptions {
    std::string file;
    std::string numbers;
    std::string folder = ".";
    std::string opening;
    bool force = false;
};

// Nothing when the text is no list of numbers from 0 on, separated by commas.
std::optional<std::vector<int>> parse_numbers(const std::string& text) {
    std::vector<int> numbers;
    std::istringstream list(text);
    for (std::string item; std::getline(list, item, ',');) {
        int number = 0;
        const auto [stopped, error] = std::from_chars(item.data(), item.data() + item.size(), number);
        if (error != std::errc() || stopped != item.data() + item.size() || number < 0)
            return {};
        numbers.push_back(number);
    }
    return numbers.empty() || text.back() == ',' ? std::nullopt : std::optional(numbers);
}

std::string complain_of_numbers(const std::string& text) {
    return parse_numbers(text) ? "" : "'" + text + "' is no list of frame numbers (0,100,17: counted from 0)";
}

void make_folder(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(path_of(folder), error);
    if (error)
        throw Failure(folder, "the folder cannot be made: " + error.message());
}

Target frame_target(const FramesOptions& options, int number, bool force) {
    std::ostringstream name;
    name << "frame-" << std::setw(6) << std::setfill('0') << number << ".png";
    return {utf8_of(path_of(options.folder) / name.str()), force};
}

std::string listed(const std::vector<int>& numbers) {
    std::ostringstream text;
    for (const int number : numbers)
        text << (text.tellp() > 0 ? ", " : "") << number;
    return text.str();
}

// Writes the frames that the file has and gives the numbers that it has not.
std::vector<int> write_frames(Source& source, const FramesOptions& options, const std::vector<int>& numbers) {
    Picture picture(source.width(), source.height());
    Progress progress("frames", static_cast<int64_t>(numbers.size()));
    std::vector<int> missing;
    for (const int number : numbers) {
        if (source.read_frame(number, picture))
            // All of them were looked for before; the same number may be asked for twice.
            write_png(frame_target(options, number, true), picture);
        else
            missing.push_back(number);
        progress.step();
    }
    return missing;
}

void frames(const FramesOptions& options) {
    Source source(options.file, options.opening);
    source.require_pictures();
    make_folder(options.folder);
    const std::vector<int> numbers = parse_numbers(options.numbers).value();
    for (const int number : numbers)
        require_free(frame_target(options, number, options.force));
    const std::vector<int> missing = write_frames(source, options, numbers);
    if (!missing.empty())
        throw Failure(options.file, "no picture at frame " + listed(missing) + " (it counts " +
                                        std::to_string(source.frame_count()) + " frames)");
}

}  // namespace

void add_frames(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("frames", "Write frames of a file, chosen by number, as PNG files");
    auto options = std::make_shared<FramesOptions>();
    verb->add_option("FILE", options->file, "The file to read")->required();
    verb->add_option("--at", options->numbers, "Frame numbers, counted from 0, separated by commas")
        ->required()
        ->check(CLI::Validator(complain_of_numbers, "NUMBER,..."));
    verb->add_option("--out", options->folder, "Folder for frame-NNNNNN.png, made when missing")->capture_default_str();
    verb->add_flag("--force", options->force, "Write over what is there");
    verb->add_option("--options", options->opening, kOpeningOptions);
    verb->callback([options] { frames(*options); });
}

}  // namespace host
