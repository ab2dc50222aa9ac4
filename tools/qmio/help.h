// What the host tells of itself. Help, man page and completion are all made of what the verbs say of their options and of
// one table of examples.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace host {

// Gives every verb its examples, the help of each a width that fits the terminal, and the program a hidden verb "manual",
// by which the build makes the man page and the completion.
void add_help(CLI::App& app);

// The page for `man qmio`, and what bash completes.
std::string man_page(const CLI::App& app);
std::string bash_completion(const CLI::App& app);

}  // namespace host
