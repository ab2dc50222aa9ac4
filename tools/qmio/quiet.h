// --quiet: standard error tells failures alone.
#pragma once

namespace CLI {
class App;
}

namespace host {

// Adds the flag to the program and to each of its verbs, so that it may stand before the verb or behind it.
void add_quiet(CLI::App& app);

// Whether the flag was given: no progress bar and no notes then.
bool is_quiet();

}  // namespace host
