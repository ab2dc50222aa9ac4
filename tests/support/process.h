// Other programs, run by tests: their input and output line by line, their end by our hand or theirs.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qmio::test {

using Arguments = std::vector<std::string>;                            // UTF-8, without the program's name
using Environment = std::vector<std::pair<std::string, std::string>>;  // set on top of our own

class Process {
  public:
    // `program` is a path, or a bare name to look for where the system looks for programs.
    // Throws std::runtime_error when it cannot be started.
    explicit Process(const std::filesystem::path& program, const Arguments& arguments = {},
                     const Environment& environment = {});
    Process(Process&&) noexcept;
    Process& operator=(Process&&) = delete;
    ~Process();  // kills it when it still runs

    bool write(std::string_view bytes);  // false when the program no longer reads
    bool write_line(std::string_view line) { return write(std::string(line) + "\n"); }
    void close_input();

    // Waits for the next line, without its end; nothing at the end of the output.
    std::optional<std::string> read_line();
    std::string read_all();  // the rest of the output

    void kill();  // at once: the program gets no say
    // The exit code; below 0 when it was killed or crashed. Closes its input first; a program that still has much to
    // write waits for read_all.
    int wait();

    // What it wrote to standard error; complete once it has ended.
    std::string error_text() const;

  private:
    struct System;  // handles of the operating system
    bool fill_pending();

    std::unique_ptr<System> system_;
    std::string pending_;  // read, but not yet asked for
};

struct Outcome {
    int exit_code = 0;
    std::string output;
    std::string error_text;
};

// Runs a program to its end.
Outcome run(const std::filesystem::path& program, const Arguments& arguments = {}, const Environment& environment = {});

// The folder of the running test, and a program of the build beside it.
std::filesystem::path program_folder();
std::filesystem::path host_program(const std::string& name);

// True for Windows programs on another system.
bool runs_under_wine();

// Changes the environment of this process.
void set_environment(const std::string& name, const std::string& value);
void unset_environment(const std::string& name);

}  // namespace qmio::test
