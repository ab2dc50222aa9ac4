#include "progress.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "platform/console.h"
#include "quiet.h"

namespace host {

namespace {

int64_t thousandths(const WorkDone& state) {
    return static_cast<int64_t>(static_cast<double>(state.done) / static_cast<double>(state.total) * 1000);
}

// Of the terminal; where it does not tell, those of the environment variable COLUMNS, else 80.
int columns() {
    constexpr int usual = 80;
    if (const int width = qmio::platform::error_output_width(); width > 0)
        return width;
    const char* text = std::getenv("COLUMNS");
    const int width = text != nullptr ? std::atoi(text) : 0;
    return width > 0 ? width : usual;
}

}  // namespace

Progress::Progress(std::string work, int64_t total, Unit unit)
    : state_{std::move(work), unit, 0, std::max<int64_t>(total, 1), 0.0},
      visible_(!is_quiet() && qmio::platform::error_output_is_terminal()) {
    if (visible_)
        draw();
}

Progress::~Progress() {
    if (visible_)
        std::cerr << '\n';
}

void Progress::reach(int64_t done) {
    const int64_t shown = thousandths(state_);
    state_.done = done;
    // Drawing costs more than many a step: only what can be seen is drawn.
    if (visible_ && (thousandths(state_) != shown || state_.done == state_.total))
        draw();
}

// A line of the full width would break in some terminals, and each line that breaks stays there.
void Progress::draw() {
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start_;
    state_.seconds = spent.count();
    const std::string line = progress_line(state_, columns() - 1);
    const std::size_t rest = drawn_ > line.size() ? drawn_ - line.size() : 0;
    std::cerr << '\r' << line << std::string(rest, ' ') << std::flush;
    drawn_ = line.size();
}

}  // namespace host
