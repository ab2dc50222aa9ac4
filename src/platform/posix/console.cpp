#include "platform/console.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <climits>

namespace qmio::platform {

namespace {

// What the handler reads has to stay where it is: it may run on any thread, at any time.
std::array<char, PATH_MAX> removed_file;
std::atomic<bool> file_is_removed = false;

void remove_and_end(int signal_number) {
    if (file_is_removed)
        unlink(removed_file.data());
    // Comes as soon as this handler has returned, and ends the program as if there were none.
    signal(signal_number, SIG_DFL);
    raise(signal_number);
}

bool is_ignored(int signal_number) {
    struct sigaction action = {};
    return sigaction(signal_number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

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

int64_t process_number() {
    return getpid();
}

RemovedWhenStopped::RemovedWhenStopped(const std::filesystem::path& file, const std::function<void()>& /*let_go*/) {
    const std::string& name = file.native();
    file_is_removed = false;
    if (name.size() >= removed_file.size())
        return;
    name.copy(removed_file.data(), name.size());
    removed_file[name.size()] = '\0';
    file_is_removed = true;
    for (const int signal_number : {SIGINT, SIGTERM, SIGHUP})
        if (!is_ignored(signal_number))
            signal(signal_number, remove_and_end);
    signal(SIGXFSZ, SIG_IGN);
}

RemovedWhenStopped::~RemovedWhenStopped() {
    file_is_removed = false;
}

}  // namespace qmio::platform
