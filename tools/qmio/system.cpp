#include "system.h"

#include <cstdlib>

#if defined(_WIN32)
#include <io.h>
#include <stdio.h>
#include <windows.h>
// Needs the types of the header before it.
#include <shellapi.h>

#include "text.h"
#else
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace host {

namespace {

int told_width() {
    constexpr int usual = 80;
    const char* text = std::getenv("COLUMNS");
    const int width = text != nullptr ? std::atoi(text) : 0;
    return width > 0 ? width : usual;
}

}  // namespace

#if defined(_WIN32)

// The narrow command line has lost every character outside the ANSI code page, so the wide one is taken.
std::vector<std::string> utf8_arguments(int, char**) {
    SetConsoleOutputCP(CP_UTF8);
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 1; wide != nullptr && i < count; ++i)
        arguments.push_back(utf8_of(wide[i]));
    LocalFree(wide);
    return arguments;
}

bool error_output_is_terminal() {
    return _isatty(_fileno(stderr)) != 0;
}

int error_output_width() {
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info) == 0)
        return told_width();
    const int width = info.srWindow.Right - info.srWindow.Left + 1;
    return width > 0 ? width : told_width();
}

// The library asks the system for standard error at every message.
QuietErrors::QuietErrors() : before_(reinterpret_cast<std::intptr_t>(GetStdHandle(STD_ERROR_HANDLE))) {
    SetStdHandle(STD_ERROR_HANDLE, nullptr);
}

QuietErrors::~QuietErrors() {
    SetStdHandle(STD_ERROR_HANDLE, reinterpret_cast<HANDLE>(before_));
}

#else

std::vector<std::string> utf8_arguments(int argc, char** argv) {
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

bool error_output_is_terminal() {
    return isatty(STDERR_FILENO) != 0;
}

int error_output_width() {
    winsize size = {};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : told_width();
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

#endif

}  // namespace host
