// A lock file per name. Its byte locks know processes but not threads, so all users of a name within this process share
// one `Holder`, which sorts out threads and recursion before the kernel is asked.
#include "platform/named_mutex.h"

#include <pthread.h>

#include <atomic>
#include <mutex>
#include <new>
#include <thread>

#include "platform/posix/byte_lock.h"
#include "platform/posix/shared_directory.h"

namespace qmio::platform {
namespace {

constexpr int kHolderByte = 1;  // held exclusively by the process that is inside

struct Holder {
    std::string file_name;
    Descriptor file;  // replaced only under `registry`, so that a fork never meets it half-way
    std::recursive_mutex threads;
    std::atomic<std::thread::id> thread;  // the one inside, none otherwise
    int depth = 0;
    int users = 0;
    Holder* next = nullptr;
};

// Plain data without destructors: mutexes that live in static objects may be closed after everything else of this file.
constinit std::mutex registry;
constinit Holder* first_holder = nullptr;

// The file may have lost its name by now; that is looked at inside, when nobody can take it away any more.
Descriptor open_lock_file(const std::string& file_name) {
    Descriptor file = open_shared_file(file_name, IfMissing::kCreate);
    if (file && !wait_lock_byte(file.get(), kUserByte, ByteLock::kShared))
        file.reset();
    return file;
}

// After a fork the child holds the parent's descriptors, and with them its locks, beyond the parent's death; and
// threads that were inside do not exist here.
void forget_parent() {
    for (Holder* holder = first_holder; holder; holder = holder->next) {
        holder->file.reset();
        new (&holder->threads) std::recursive_mutex;
        holder->thread = std::thread::id();
        holder->depth = 0;
    }
    registry.unlock();
}

void watch_forks() {
    static const int registered =
        ::pthread_atfork([] { registry.lock(); }, [] { registry.unlock(); }, [] { forget_parent(); });
    static_cast<void>(registered);
}

// The end of a process closes nothing, as threads may still be inside. A name that nobody else uses goes with it even so,
// unless a thread is inside just now. Another process that has opened the file meanwhile gets its lock, and then finds
// that the name has gone.
void drop_unused_names() {
    const std::unique_lock guard(registry, std::try_to_lock);
    for (Holder* holder = guard ? first_holder : nullptr; holder; holder = holder->next) {
        const std::unique_lock alone(holder->threads, std::try_to_lock);
        if (!alone || !holder->file || !try_lock_byte(holder->file.get(), kUserByte, ByteLock::kExclusive))
            continue;
        remove_name(holder->file.get(), holder->file_name);
        wait_lock_byte(holder->file.get(), kUserByte, ByteLock::kShared);
    }
}

void watch_end() {
    static const struct End {
        ~End() { drop_unused_names(); }
    } end;
}

bool reopen(Holder& holder) {
    const std::lock_guard guard(registry);
    holder.file = open_lock_file(holder.file_name);
    return static_cast<bool>(holder.file);
}

// A lock file that lost its name, to its last user or to somebody's tidying, belongs to nobody who comes later: another
// one is opened. When none can be had any more, the threads of this process still exclude one another.
void enter_process(Holder& holder) {
    while (holder.file || reopen(holder)) {
        if (!wait_lock_byte(holder.file.get(), kHolderByte, ByteLock::kExclusive))
            return;
        if (is_still_named(holder.file.get(), holder.file_name))
            return;
        const std::lock_guard guard(registry);
        holder.file.reset();
    }
}

Holder* find_holder(const std::string& file_name) {
    Holder* holder = first_holder;
    while (holder && holder->file_name != file_name)
        holder = holder->next;
    return holder;
}

Holder* add_holder(const std::string& file_name) {
    Descriptor file = open_lock_file(file_name);
    if (!file)
        return nullptr;
    auto holder = std::make_unique<Holder>();
    holder->file_name = file_name;
    holder->file = std::move(file);
    holder->next = first_holder;
    return first_holder = holder.release();
}

Holder* join_holder(const std::string& file_name) {
    const std::lock_guard guard(registry);
    Holder* holder = find_holder(file_name);
    if (!holder)
        holder = add_holder(file_name);
    if (holder)
        ++holder->users;
    return holder;
}

void leave_holder(Holder* holder) {
    const std::lock_guard guard(registry);
    if (--holder->users > 0)
        return;
    Holder** link = &first_holder;
    while (*link != holder)
        link = &(*link)->next;
    *link = holder->next;
    if (holder->file && try_lock_byte(holder->file.get(), kUserByte, ByteLock::kExclusive))
        remove_name(holder->file.get(), holder->file_name);
    delete holder;
}

class LockFileMutex final : public NamedMutex {
  public:
    LockFileMutex() = default;
    LockFileMutex(const LockFileMutex&) = delete;
    LockFileMutex& operator=(const LockFileMutex&) = delete;
    ~LockFileMutex() override {
        if (holder_ != nullptr)
            leave_holder(holder_);
    }

    // Before all else, and to be called once.
    bool join(const std::string& file_name) {
        holder_ = join_holder(file_name);
        return holder_ != nullptr;
    }

    void lock() override {
        holder_->threads.lock();
        if (holder_->depth++ > 0)
            return;
        enter_process(*holder_);
        holder_->thread = std::this_thread::get_id();
    }

    void unlock() override {
        if (holder_->thread.load() != std::this_thread::get_id())
            return;
        if (--holder_->depth == 0) {
            holder_->thread = std::thread::id();
            if (holder_->file)
                unlock_byte(holder_->file.get(), kHolderByte);
        }
        holder_->threads.unlock();
    }

  private:
    Holder* holder_ = nullptr;
};

}  // namespace

std::unique_ptr<NamedMutex> NamedMutex::open(const std::string& name) {
    watch_forks();
    watch_end();
    // Made first, as there may be no memory for it.
    auto mutex = std::make_unique<LockFileMutex>();
    return mutex->join(shared_file_name(kMutexKind, name)) ? std::move(mutex) : nullptr;
}

}  // namespace qmio::platform
