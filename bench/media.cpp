#include "media.h"

#include <cstdlib>
#include <stdexcept>

namespace bench {

Media open_media(const std::string& path, const char* options) {
    Media media(qmio_open_u8(path.c_str(), options));
    if (media == nullptr)
        throw std::runtime_error("the library cannot open " + path);
    return media;
}

std::string bench_file(const std::string& name) {
    return QMIO_BENCH_FOLDER "/" + name;
}

void run_program(const std::string& command) {
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error("failed: " + command);
}

}  // namespace bench
