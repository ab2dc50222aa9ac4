// The file that a verb is asked to write.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace host {

struct Target {
    std::string name;  // UTF-8; "-" is standard output
    bool force = false;
};

// What verbs say of the file that they write.
inline constexpr const char* kTargetHelp =
    "The file to write. It gets its name when it is complete; what goes to an address, a pipe, a device, standard "
    "output "
    "(-) or numbered pictures (a%03d.png) is written at once";

// Adds the flag that lets the verb write over what is there.
void add_force(CLI::App& verb, Target& target);

// Throws a Failure for a name that cannot be written to: one with a '|', one that is a file already, unless that may be
// written over, and that of the file `in`, which is read.
void require_free(const Target& target, const std::string& in = {});

// Where the bytes go.
struct Place {
    std::string name;                            // for the library
    std::optional<std::filesystem::path> final;  // to which the file is renamed at the end; nothing: written directly
};

// `container` is the library's name of it.
Place place_of(const Target& target, const std::string& container);

}  // namespace host
