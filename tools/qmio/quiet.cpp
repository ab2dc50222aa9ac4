#include "quiet.h"

#include <qmio.h>
#include <CLI/CLI.hpp>

namespace host {

namespace {

bool quiet = false;

void drop_message(void* /*opaque*/, int /*level*/, const char* /*text*/) {}

// What fails is told by its reason all the same; the library's messages go nowhere.
void be_quiet() {
    quiet = true;
    qmio_set_log(drop_message, nullptr, QMIO_LOG_QUIET);
}

void add_flag(CLI::App& app) {
    app.add_flag_callback("-q,--quiet", be_quiet, "No progress and no notes on standard error, failures alone");
}

}  // namespace

void add_quiet(CLI::App& app) {
    add_flag(app);
    for (CLI::App* verb : app.get_subcommands([](CLI::App*) { return true; }))
        add_flag(*verb);
}

bool is_quiet() {
    return quiet;
}

}  // namespace host
