// The library's handle as an owner, the files that the benchmarks read, and the programs that make them.
#pragma once

#include <qmio.h>

#include <memory>
#include <string>

namespace bench {

struct MediaCloser {
    void operator()(MediaHandle* handle) const { qmio_close(handle); }
};
using Media = std::unique_ptr<MediaHandle, MediaCloser>;

// Throws std::runtime_error when the library cannot open the file.
Media open_media(const std::string& path, const char* options = "");

// The path of a file of that name in the folder of the benchmarks.
std::string bench_file(const std::string& name);

// Throws std::runtime_error when the command ends with another code than 0.
void run_program(const std::string& command);

}  // namespace bench
