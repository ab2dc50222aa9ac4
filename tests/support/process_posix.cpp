#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

#include "support/process_system.h"

extern char** environ;

namespace qmio::test {

struct Process::System::Handles {
    Handles() = default;
    Handles(const Handles&) = delete;
    Handles& operator=(const Handles&) = delete;
    ~Handles() {
        close_one(input);
        close_one(output);
    }

    static void close_one(int& descriptor) {
        if (descriptor >= 0)
            ::close(std::exchange(descriptor, -1));
    }

    pid_t process = -1;
    int input = -1;
    int output = -1;
};

namespace {

struct Ends {
    int ours, theirs;
};

// Sockets instead of pipes, since writing to one whose reader has died can do without a signal.
Ends channel() {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw std::system_error(errno, std::generic_category(), "socketpair");
    return {ends[0], ends[1]};
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (auto& text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

bool sets(const std::string& entry, const std::string& name) {
    return entry.starts_with(name + "=");
}

std::vector<std::string> merged(const Environment& changes) {
    std::vector<std::string> result;
    for (char** entry = environ; *entry; ++entry)
        result.emplace_back(*entry);
    for (const auto& [name, value] : changes) {
        std::erase_if(result, [&name = name](const std::string& entry) { return sets(entry, name); });
        result.push_back(name + "=" + value);
    }
    return result;
}

pid_t spawn(const std::string& program, const Arguments& arguments, const Environment& environment, int input,
            int output, const std::string& error_path) {
    std::vector<std::string> texts{program};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables = merged(environment);

    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, error_path.c_str(), O_WRONLY | O_CREAT | O_APPEND,
                                       0600);
    pid_t process = -1;
    const int error = ::posix_spawnp(&process, program.c_str(), &actions, nullptr, pointers(texts).data(),
                                     pointers(variables).data());
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error(program + ": " + std::generic_category().message(error));
    return process;
}

}  // namespace

Process::System::System(const std::filesystem::path& program, const Arguments& arguments,
                        const Environment& environment)
    : handles(std::make_unique<Handles>()) {
    Ends input = channel();
    Ends output = channel();
    handles->input = input.ours;
    handles->output = output.ours;
    try {
        handles->process =
            spawn(program.string(), arguments, environment, input.theirs, output.theirs, error_path().string());
    } catch (...) {
        exit_code = -1;
        ::close(input.theirs);
        ::close(output.theirs);
        throw;
    }
    ::close(input.theirs);
    ::close(output.theirs);
}

Process::System::~System() = default;

bool Process::System::write_some(std::string_view& bytes) {
    ssize_t count;
    do {
        count = ::send(handles->input, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    } while (count < 0 && errno == EINTR);
    if (count > 0)
        bytes.remove_prefix(static_cast<std::size_t>(count));
    return count > 0;
}

std::size_t Process::System::read_some(char* buffer, std::size_t size) {
    ssize_t count;
    do {
        count = ::read(handles->output, buffer, size);
    } while (count < 0 && errno == EINTR);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

void Process::System::close_input() {
    Handles::close_one(handles->input);
}

void Process::System::kill() {
    if (!exit_code)
        ::kill(handles->process, SIGKILL);
}

int Process::System::wait() {
    int status = 0;
    while (!exit_code) {
        if (::waitpid(handles->process, &status, 0) == handles->process)
            exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        else if (errno != EINTR)
            exit_code = -1;
    }
    return *exit_code;
}

std::filesystem::path program_folder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

std::filesystem::path host_program(const std::string& name) {
    return program_folder() / name;
}

bool runs_under_wine() {
    return false;
}

void set_environment(const std::string& name, const std::string& value) {
    ::setenv(name.c_str(), value.c_str(), 1);
}

void unset_environment(const std::string& name) {
    ::unsetenv(name.c_str());
}

}  // namespace qmio::test
