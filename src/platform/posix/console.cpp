#include "platform/console.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace qmio::platform {

std::vector<std::string> utf8_arguments(int argc, char** argv) {
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

bool error_output_is_terminal() {
    return isatty(STDERR_FILENO) != 0;
}

int error_output_width() {
    winsize size = {};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

QuietErrors::QuietErrors() : before_(dup(STDERR_FILENO)) {
    const int nowhere = before_ >= 0 ? open("/dev/null", O_WRONLY | O_CLOEXEC) : -1;
    if (nowhere < 0)
        return;
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
}

QuietErrors::~QuietErrors() {
    if (before_ < 0)
        return;
    dup2(static_cast<int>(before_), STDERR_FILENO);
    close(static_cast<int>(before_));
}

}  // namespace qmio::platform
