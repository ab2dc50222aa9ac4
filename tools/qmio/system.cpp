#include "system.h"

#if defined(_WIN32)
#include <io.h>
#include <stdio.h>
#include <windows.h>
// Needs the types of the header before it.
#include <shellapi.h>

#include "text.h"
#else
#include <unistd.h>
#endif

namespace host {

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

#else

std::vector<std::string> utf8_arguments(int argc, char** argv) {
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

bool error_output_is_terminal() {
    return isatty(STDERR_FILENO) != 0;
}

#endif

}  // namespace host
