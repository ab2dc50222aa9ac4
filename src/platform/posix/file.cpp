#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>

#include "platform/posix/descriptor.h"

namespace qmio::platform {
namespace {

sigset_t file_size_signal() {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGXFSZ);
    return signals;
}

bool would_end_process() {
    struct sigaction action {};
    return ::sigaction(SIGXFSZ, nullptr, &action) == 0 && action.sa_handler == SIG_DFL;
}

// False where this thread has it blocked already.
bool block(const sigset_t& signals) {
    sigset_t before;
    return ::pthread_sigmask(SIG_BLOCK, &signals, &before) == 0 && ::sigismember(&before, SIGXFSZ) == 0;
}

// One write even when the text does not fit (a full disk): a second one could land behind another process's line.
void write_once(int descriptor, std::string_view text) {
    const FailedNotEnded limit;
    while (::write(descriptor, text.data(), text.size()) < 0 && errno == EINTR) {
    }
}

class PosixReadFile final : public ReadFile {
  public:
    explicit PosixReadFile(Descriptor file) : file_(std::move(file)) {}

    int read(uint8_t* buffer, int size) override {
        if (size <= 0)
            return 0;
        ssize_t count;
        do {
            count = ::read(file_.get(), buffer, static_cast<std::size_t>(size));
        } while (count < 0 && errno == EINTR);
        return count > 0 ? static_cast<int>(count) : 0;
    }

    int64_t seek(int64_t offset, int whence) override {
        constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
        return whence >= 0 && whence <= 2 ? ::lseek(file_.get(), offset, kWhence[whence]) : -1;
    }

    int64_t size() override {
        struct stat status {};
        return ::fstat(file_.get(), &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : -1;
    }

  private:
    Descriptor file_;
};

class PosixAppendFile final : public AppendFile {
  public:
    explicit PosixAppendFile(Descriptor file) : file_(std::move(file)) {}
    void write(std::string_view text) override { write_once(file_.get(), text); }

  private:
    Descriptor file_;
};

bool is_directory(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

FailedNotEnded::FailedNotEnded() : blocked_(would_end_process() && block(file_size_signal())) {}

// The system sends it to the thread that writes, where it waits by now.
FailedNotEnded::~FailedNotEnded() {
    if (!blocked_)
        return;
    const sigset_t signals = file_size_signal();
    constexpr timespec kAtOnce{};
    while (::sigtimedwait(&signals, nullptr, &kAtOnce) < 0 && errno == EINTR) {
    }
    ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

// Names of files are bytes here, in whatever code page.
std::unique_ptr<ReadFile> ReadFile::open(const std::string& path, uint32_t /*code_page*/, int* error) {
    Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file && !is_directory(file.get()))
        return std::make_unique<PosixReadFile>(std::move(file));
    if (error != nullptr)
        *error = file ? EISDIR : errno;
    return nullptr;
}

std::unique_ptr<AppendFile> AppendFile::open(const std::string& path) {
    Descriptor file(::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
    return file ? std::make_unique<PosixAppendFile>(std::move(file)) : nullptr;
}

std::string library_file_name(const std::string& name, uint32_t /*code_page*/) {
    return name;
}

void write_to_console(std::string_view text) {
    write_once(STDERR_FILENO, text);
}

}  // namespace qmio::platform
