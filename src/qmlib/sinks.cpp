#include "qmlib/sinks.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "platform/file.h"
#include "platform/never_destroyed.h"
#include "platform/static_mutex.h"

namespace qmio::qmlib {
namespace {

struct Log {
    std::string path;
    std::unique_ptr<platform::AppendFile> file;
    bool tried = false;  // one attempt: a log that cannot be opened must not cost an open per line
};

struct Sinks {
    platform::StaticMutex mutex;
    Log* log = nullptr;  // made by set_log_path
};

constinit platform::NeverDestroyed<Sinks> sinks;

platform::AppendFile* opened_file(Log& log) {
    if (!log.tried && !log.path.empty())
        log.file = platform::AppendFile::open(log.path);
    log.tried = true;
    return log.file.get();
}

bool ends_authority(char letter) {
    return static_cast<unsigned char>(letter) <= ' ' || letter == '/' || letter == '?' || letter == '#';
}

}  // namespace

SinkLock::SinkLock() {
    sinks.value.mutex.lock();
}
SinkLock::~SinkLock() {
    sinks.value.mutex.unlock();
}

void set_log_path(std::string path) {
    auto log = std::make_unique<Log>();
    log->path = std::move(path);
    const SinkLock lock;
    delete std::exchange(sinks.value.log, log.release());
}

void close_log() {
    const SinkLock lock;
    delete std::exchange(sinks.value.log, nullptr);
}

void write_console(const SinkLock&, std::string_view text) {
    if (!text.empty())
        platform::write_to_console(text);
}

void write_log(const SinkLock&, std::string_view text) {
    if (text.empty() || sinks.value.log == nullptr)
        return;
    if (platform::AppendFile* file = opened_file(*sinks.value.log))
        file->write(text);
}

std::size_t hide_credentials(char* text, std::size_t length) {
    constexpr std::string_view kMark = "://";
    char* const end = text + length;
    char* source = text;
    char* target = text;
    while (source != end) {
        char* const authority = std::search(source, end, kMark.begin(), kMark.end());
        if (authority == end)
            break;
        char* const begin = authority + kMark.size();
        target = std::copy(source, begin, target);
        // As FFmpeg splits it: the authority ends at the path, and its last '@' ends the user information.
        char* const stop = std::find_if(begin, end, ends_authority);
        const auto at = std::find(std::make_reverse_iterator(stop), std::make_reverse_iterator(begin), '@');
        source = at.base();
    }
    return static_cast<std::size_t>(std::copy(source, end, target) - text);
}

}  // namespace qmio::qmlib
