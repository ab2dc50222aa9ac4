// The part of a process that each operating system does in its own way.
#pragma once

#include "support/process.h"
#include "support/temp_dir.h"

namespace qmio::test {

struct Process::System {
    System(const std::filesystem::path& program, const Arguments& arguments, const Environment& environment);
    System(const System&) = delete;
    System& operator=(const System&) = delete;
    ~System();

    bool write_some(std::string_view& bytes);  // removes what was written from the front
    std::size_t read_some(char* buffer, std::size_t size);
    void close_input();
    void kill();
    int wait();

    // Standard error goes to a file: a pipe that nobody empties would stop the program.
    TempDir folder;
    std::filesystem::path error_path() const { return folder / "stderr"; }

    struct Handles;
    std::unique_ptr<Handles> handles;
    std::optional<int> exit_code;
};

}  // namespace qmio::test
