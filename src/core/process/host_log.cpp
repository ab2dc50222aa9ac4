#include "core/process/host_log.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "core/process/settings.h"
#include "core/process/thread_record.h"
#include "ffmpeg/ffmpeg.h"
#include "platform/never_destroyed.h"
#include "platform/static_mutex.h"

namespace qmio {
namespace {

// The host's function with what belongs to it.
struct HostLog {
    qmio_log_callback callback;
    void* opaque;
    std::atomic<int> running{0};  // calls in progress
};

struct Current {
    platform::StaticMutex mutex;
    std::shared_ptr<HostLog> log;  // null: console and file
    // The same for messages that nobody gets, which most of FFmpeg's are: they take no mutex.
    std::atomic<bool> is_set{false};
    std::atomic<int32_t> level{0};
};

constinit platform::NeverDestroyed<Current> current;

// Counts the call in before the log can be replaced, so that who replaces it waits for it.
std::shared_ptr<HostLog> begin_call() {
    const std::lock_guard lock(current.value.mutex);
    if (current.value.log != nullptr)
        ++current.value.log->running;
    return current.value.log;
}

bool is_inside_callback() {
    const ThreadRecord* const record = existing_thread_record();
    return record != nullptr && record->log_callbacks > 0;
}

void call(HostLog& log, ThreadRecord& record, int level, std::string_view message) {
    const std::string line(message.substr(0, message.ends_with('\n') ? message.size() - 1 : message.size()));
    ++record.log_callbacks;
    log.callback(log.opaque, level, line.c_str());
    --record.log_callbacks;
}

std::shared_ptr<HostLog> exchange(std::shared_ptr<HostLog> log, int level) {
    const std::lock_guard lock(current.value.mutex);
    current.value.level.store(level, std::memory_order_release);
    current.value.is_set.store(log != nullptr, std::memory_order_release);
    return std::exchange(current.value.log, std::move(log));
}

}  // namespace

int32_t log_level() noexcept {
    return current.value.is_set.load(std::memory_order_acquire) ? current.value.level.load(std::memory_order_acquire)
                                                                : settings().log_level;
}

bool tell_host(int level, std::string_view message) noexcept {
    if (!current.value.is_set.load(std::memory_order_acquire))
        return false;
    ThreadRecord* const record = thread_record();
    if (record == nullptr || record->log_callbacks > 0)
        return true;
    const std::shared_ptr<HostLog> log = begin_call();
    if (log == nullptr)
        return false;
    try {
        call(*log, *record, level, message);
    } catch (...) {
        // A message for which there is no memory is lost.
    }
    --log->running;
    return true;
}

bool set_host_log(qmio_log_callback callback, void* opaque, int level) noexcept {
    std::shared_ptr<HostLog> log;
    try {
        if (callback != nullptr)
            log.reset(new HostLog{callback, opaque});
    } catch (...) {
        return false;
    }
    const std::shared_ptr<HostLog> before = exchange(std::move(log), level);
    // Some of FFmpeg's libraries ask for the level before they make a message at all.
    const bool changes = callback != nullptr || before != nullptr;
    if (changes && settings().ffmpeg_log != 0)
        av_log_set_level(callback != nullptr ? level : settings().log_level);
    while (before != nullptr && !is_inside_callback() && before->running != 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return true;
}

}  // namespace qmio

int qmio_set_log(qmio_log_callback callback, void* opaque, int level) {
    return qmio::set_host_log(callback, opaque, level) ? 1 : 0;
}
