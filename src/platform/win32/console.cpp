#include "platform/console.h"

#include <io.h>
#include <stdio.h>

#include <mutex>
#include <utility>

#include "platform/text.h"
#include "platform/win32/windows.h"
// Needs the types of the header before it.
#include <shellapi.h>

namespace qmio::platform {

namespace {

struct RemovedFile {
    std::mutex mutex;
    std::filesystem::path path;  // empty: there is none
    std::function<void()> let_go;
};

RemovedFile& removed_file() {
    static RemovedFile file;
    return file;
}

// The system calls it on a thread of its own, and ends the process behind it.
BOOL WINAPI remove_and_end(DWORD /*event*/) {
    RemovedFile& file = removed_file();
    const std::lock_guard lock(file.mutex);
    if (!file.path.empty()) {
        file.let_go();
        DeleteFileW(file.path.c_str());
    }
    return FALSE;
}

}  // namespace

// The narrow command line has lost every character outside the ANSI code page, so the wide one is taken.
std::vector<std::string> utf8_arguments(int, char**) {
    SetConsoleOutputCP(CP_UTF8);
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 1; wide != nullptr && i < count; ++i)
        arguments.push_back(narrow(wide[i], kCodePageUtf8));
    LocalFree(wide);
    return arguments;
}

bool error_output_is_terminal() {
    return _isatty(_fileno(stderr)) != 0;
}

int error_output_width() {
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info) == 0)
        return 0;
    return info.srWindow.Right - info.srWindow.Left + 1;
}

// The library asks the system for standard error at every message.
QuietErrors::QuietErrors() : before_(reinterpret_cast<std::intptr_t>(GetStdHandle(STD_ERROR_HANDLE))) {
    SetStdHandle(STD_ERROR_HANDLE, nullptr);
}

QuietErrors::~QuietErrors() {
    SetStdHandle(STD_ERROR_HANDLE, reinterpret_cast<HANDLE>(before_));
}

int64_t process_number() {
    return GetCurrentProcessId();
}

RemovedWhenStopped::RemovedWhenStopped(const std::filesystem::path& file, const std::function<void()>& let_go) {
    static const BOOL handled = SetConsoleCtrlHandler(remove_and_end, TRUE);
    RemovedFile& removed = removed_file();
    const std::lock_guard lock(removed.mutex);
    removed.path = handled != 0 ? file : std::filesystem::path();
    removed.let_go = let_go;
}

RemovedWhenStopped::~RemovedWhenStopped() {
    RemovedFile& removed = removed_file();
    const std::lock_guard lock(removed.mutex);
    removed.path.clear();
}

}  // namespace qmio::platform
