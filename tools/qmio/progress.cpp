#include "progress.h"

#include <algorithm>
#include <cstdio>
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

void Progress::reach(int done) {
    const int shown = share(done_, total_, 1000);
    done_ = done;
    // Drawing costs more than many a step: only what can be seen is drawn.
    if (visible_ && (share(done_, total_, 1000) != shown || done_ == total_))
        draw();
}

void Progress::draw() const {
    const int filled = std::min(share(done_, total_, kBarWidth), kBarWidth);
    std::cerr << '\r' << work_ << " [" << std::string(static_cast<std::size_t>(filled), '#')
              << std::string(static_cast<std::size_t>(kBarWidth - filled), '.') << "] " << done_ << '/' << total_
              << pace() << std::flush;
}

// Empty until there is something to go by.
std::string Progress::pace() const {
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start_;
    if (done_ < 1 || spent.count() < 0.2)
        return {};
    const double per_second = done_ / spent.count();
    char text[64];
    std::snprintf(text, sizeof text, "  %.1f/s, %.0f s left  ", per_second,
                  std::max(0.0, (total_ - done_) / per_second));
    return text;
}

}  // namespace host
