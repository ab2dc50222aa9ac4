#include "progress.h"

#include <algorithm>
#include <iostream>

#include "system.h"

namespace host {

namespace {

constexpr int kBarWidth = 40;

int share(int part, int whole, int of) {
    return static_cast<int>(static_cast<long long>(part) * of / whole);
}

}  // namespace

Progress::Progress(std::string work, int total)
    : work_(std::move(work)), total_(std::max(total, 1)), visible_(error_output_is_terminal()) {
    if (visible_)
        draw();
}

Progress::~Progress() {
    if (visible_)
        std::cerr << '\n';
}

void Progress::step() {
    const int shown = share(done_, total_, 1000);
    ++done_;
    // Drawing costs more than many a step: only what can be seen is drawn.
    if (visible_ && (share(done_, total_, 1000) != shown || done_ == total_))
        draw();
}

void Progress::draw() const {
    const int filled = std::min(share(done_, total_, kBarWidth), kBarWidth);
    std::cerr << '\r' << work_ << " [" << std::string(static_cast<std::size_t>(filled), '#')
              << std::string(static_cast<std::size_t>(kBarWidth - filled), '.') << "] " << done_ << '/' << total_
              << std::flush;
}

}  // namespace host
