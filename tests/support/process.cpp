#include "support/process.h"

#include <utility>

#include "support/process_system.h"

namespace qmio::test {

Process::Process(const std::filesystem::path& program, const Arguments& arguments, const Environment& environment)
    : system_(std::make_unique<System>(program, arguments, environment)) {}

Process::Process(Process&&) noexcept = default;

Process::~Process() {
    if (!system_)
        return;
    kill();
    wait();
}

bool Process::write(std::string_view bytes) {
    while (!bytes.empty())
        if (!system_->write_some(bytes))
            return false;
    return true;
}

void Process::close_input() {
    system_->close_input();
}

bool Process::fill_pending() {
    char buffer[4096];
    const std::size_t count = system_->read_some(buffer, sizeof buffer);
    pending_.append(buffer, count);
    return count > 0;
}

std::optional<std::string> Process::read_line() {
    while (pending_.find('\n') == std::string::npos)
        if (!fill_pending())
            break;
    if (pending_.empty())
        return std::nullopt;
    const std::size_t end = pending_.find('\n');
    std::string line = pending_.substr(0, end);
    pending_.erase(0, end == std::string::npos ? end : end + 1);
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return line;
}

std::string Process::read_all() {
    while (fill_pending()) {
    }
    return std::exchange(pending_, {});
}

void Process::kill() {
    system_->kill();
}

int Process::wait() {
    close_input();
    return system_->wait();
}

std::string Process::error_text() const {
    return content_of(system_->error_path());
}

Outcome run(const std::filesystem::path& program, const Arguments& arguments, const Environment& environment) {
    Process process(program, arguments, environment);
    process.close_input();
    Outcome outcome;
    outcome.output = process.read_all();
    outcome.exit_code = process.wait();
    outcome.error_text = process.error_text();
    return outcome;
}

}  // namespace qmio::test
