#include "target.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>
#include <system_error>

#include "failure.h"
#include "platform/console.h"
#include "text.h"

namespace host {

namespace {

namespace fs = std::filesystem;

// Containers that make several files out of one name.
constexpr std::array<std::string_view, 4> kManyFiles = {"image2", "segment", "ssegment", "stream_segment"};

// File systems take names of 255 bytes.
constexpr std::size_t kLongestStem = 180;

bool is_digit(char letter) {
    return std::isdigit(static_cast<unsigned char>(letter)) != 0;
}

// "ftp://...", "pipe:1"; a single letter is a drive.
bool is_address(const std::string& name) {
    const auto of_scheme = [](char letter) {
        return std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '+' || letter == '.' || letter == '-';
    };
    const auto end = std::find_if_not(name.begin(), name.end(), of_scheme);
    return end != name.end() && *end == ':' && end - name.begin() > 1;
}

bool is_standard_output(const std::string& name) {
    return name == "-";
}

// "a%03d.png"
bool is_pattern(const std::string& name) {
    return name.find('%') != std::string::npos;
}

bool is_numbered(const std::string& name, const std::string& container) {
    return is_pattern(name) && std::find(kManyFiles.begin(), kManyFiles.end(), container) != kManyFiles.end();
}

bool is_there(const fs::path& path) {
    std::error_code ignored;
    return fs::exists(path, ignored);
}

bool is_file(const fs::path& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

bool is_folder(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

// A link stays one; what it leads to is written.
fs::path behind_links(const fs::path& path) {
    std::error_code error;
    fs::path target = fs::is_symlink(path, error) ? fs::canonical(path, error) : path;
    return error ? path : target;
}

// Keeps the extension, by which some tell the container.
fs::path temporary_beside(const fs::path& path) {
    std::string stem = utf8_of(path.stem());
    if (stem.size() > kLongestStem)
        stem.clear();
    const std::string name =
        "." + stem + ".partial-" + std::to_string(qmio::platform::process_number()) + utf8_of(path.extension());
    return path.parent_path() / path_of(name);
}

// One of the files that a pattern stands for.
std::optional<fs::path> numbered_file(const fs::path& pattern) {
    const std::string name = utf8_of(pattern.filename());
    const std::size_t begin = name.find('%');
    const std::size_t end = begin != std::string::npos ? name.find('d', begin) : begin;
    if (end == std::string::npos)
        return {};
    const std::string before = name.substr(0, begin);
    const std::string behind = name.substr(end + 1);
    const auto is_meant = [&](const std::string& file) {
        return file.size() > before.size() + behind.size() && file.compare(0, before.size(), before) == 0 &&
               file.compare(file.size() - behind.size(), behind.size(), behind) == 0 &&
               std::all_of(file.begin() + static_cast<std::ptrdiff_t>(before.size()),
                           file.end() - static_cast<std::ptrdiff_t>(behind.size()), is_digit);
    };
    std::error_code ignored;
    const fs::path folder = pattern.has_parent_path() ? pattern.parent_path() : fs::path(".");
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored))
        if (is_meant(utf8_of(entry.path().filename())))
            return entry.path();
    return {};
}

Failure is_there_already(const std::string& name) {
    return {name, "is there already (--force writes over it)"};
}

}  // namespace

void add_force(CLI::App& verb, Target& target) {
    verb.add_flag("--force", target.force, "Write over what is there");
}

void require_free(const Target& target, const std::string& in) {
    // The library would take what stands behind it for no part of the name.
    if (target.name.find('|') != std::string::npos)
        throw Failure(target.name, "no name of a file to write has a '|'");
    if (has_prefix(target.name, "mem:"))
        throw Failure(target.name, "memory cannot be named on a command line");
    if (is_address(target.name) || is_standard_output(target.name))
        return;
    const fs::path path = path_of(target.name);
    std::error_code ignored;
    if (!in.empty() && fs::equivalent(path_of(in), path, ignored))
        throw Failure(target.name, "is the file that is read");
    if (is_folder(path))
        throw Failure(target.name, "is a folder");
    if (target.force)
        return;
    if (is_file(path))
        throw is_there_already(target.name);
    if (const auto file = numbered_file(path); file && !is_there(path))
        throw is_there_already(utf8_of(*file));
}

Place place_of(const Target& target, const std::string& container) {
    if (is_standard_output(target.name))
        return {"pipe:1", {}};
    if (is_address(target.name) || is_numbered(target.name, container))
        return {target.name, {}};
    const fs::path path = behind_links(path_of(target.name));
    if (is_there(path) && !is_file(path))
        return {target.name, {}};
    return {utf8_of(temporary_beside(path)), path};
}

}  // namespace host
