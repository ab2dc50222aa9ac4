#include "support/case_process.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace qmio::test {

namespace {

// Far above what any case needs on a loaded machine: what takes as long takes for ever.
constexpr int kSeconds = 60;

constexpr std::size_t kWords = 500;

std::atomic<int> cases_begun{0};

void watch() {
    for (int seen = -1, same = 0; same < kSeconds; ++same) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        if (const int now = cases_begun; now != seen) {
            seen = now;
            same = 0;
        }
    }
    std::_Exit(Watchdog::kHung);
}

std::string last_words(Process& process) {
    const int code = process.wait();
    const std::string what = code == Watchdog::kHung ? "hung" : "ended with " + std::to_string(code);
    const std::string text = process.error_text();
    return "[" + what + "] " + text.substr(text.size() - std::min(text.size(), kWords));
}

}  // namespace

std::string CaseProcess::answer(const std::string& line) {
    if (!process_)
        process_.emplace(host_program(host_));
    process_->write_line(line);
    if (const auto answer = process_->read_line())
        return *answer;
    std::string words = last_words(*process_);
    process_.reset();
    return words;
}

Watchdog::Watchdog() {
    std::thread(watch).detach();
}

void Watchdog::begin_case() {
    ++cases_begun;
}

}  // namespace qmio::test
