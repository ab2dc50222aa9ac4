// A file in shared memory per name. A user is whoever holds the user byte; users come and go only inside the gate, so
// that nobody can attach to a mapping whose users are all dead, or to one that is being removed.
#include "platform/shared_mapping.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <mutex>

#include "platform/file.h"
#include "platform/leftovers.h"
#include "platform/posix/byte_lock.h"
#include "platform/posix/shared_directory.h"

namespace qmio::platform {
namespace {

class FileMapping;

// All mappings of this process. Taken for every coming and going as well, so that a fork never meets a file half-way.
// Plain data without destructors: mappings that live in static objects may be closed after everything else of this file.
constinit std::mutex registry;
constinit FileMapping* first_mapping = nullptr;

// Made first of all, as memory may be short; begun, forgotten by a child and destroyed under the registry.
class FileMapping final : public SharedMapping {
  public:
    explicit FileMapping(std::string file_name) : file_name_(std::move(file_name)) {}
    FileMapping(const FileMapping&) = delete;
    FileMapping& operator=(const FileMapping&) = delete;

    void begin(void* data, std::size_t size, Descriptor file) {
        data_ = data;
        size_ = size;
        file_ = std::move(file);
        next_ = first_mapping;
        first_mapping = this;
    }

    ~FileMapping() override {
        if (data_ == nullptr)
            return;
        const std::lock_guard guard(registry);
        FileMapping** link = &first_mapping;
        while (*link != this)
            link = &(*link)->next_;
        *link = next_;
        ::munmap(data_, size_);
        if (file_)
            leave();
    }

    void* data() const override { return data_; }
    std::size_t size() const override { return size_; }
    const std::string& file_name() const { return file_name_; }

    // After a fork the child holds the parent's descriptors, and with them its locks, beyond the parent's death. It
    // keeps the memory, but is no user whom others could attach to.
    static void forget_parent() {
        for (FileMapping* mapping = first_mapping; mapping != nullptr; mapping = mapping->next_)
            mapping->file_.reset();
        registry.unlock();
    }

  private:
    void leave() const {
        wait_lock_byte(file_.get(), kGateByte, ByteLock::kExclusive);
        if (try_lock_byte(file_.get(), kUserByte, ByteLock::kExclusive))
            remove_name(file_.get(), file_name_);
    }

    void* data_ = nullptr;
    std::size_t size_ = 0;
    Descriptor file_;  // none in a child of the process that made the mapping
    std::string file_name_;
    FileMapping* next_ = nullptr;
};

void watch_forks() {
    static const int registered =
        ::pthread_atfork([] { registry.lock(); }, [] { registry.unlock(); }, [] { FileMapping::forget_parent(); });
    static_cast<void>(registered);
}

std::size_t file_size(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
}

// Becomes a user of the file, which is taken then, and leaves the gate. The caller is inside the gate and has made sure that
// this is right.
bool become_user(FileMapping& mapping, Descriptor& file) {
    const std::size_t size = file_size(file.get());
    // Memory keeps alive the open file that it was made of, locks and all, also in a child of this process: it is made of
    // one without locks.
    const Descriptor unlocked = open_shared_file(mapping.file_name(), IfMissing::kFail);
    if (!unlocked)
        return false;
    void* data = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, unlocked.get(), 0);
    if (data == MAP_FAILED)
        return false;
    try_lock_byte(file.get(), kUserByte, ByteLock::kShared);
    unlock_byte(file.get(), kGateByte);
    mapping.begin(data, size, std::move(file));
    return true;
}

// posix_fallocate reports a full /dev/shm here and now; ftruncate would succeed and the first store be a SIGBUS.
bool fill_and_use(FileMapping& mapping, Descriptor file, std::size_t size) {
    const FailedNotEnded limit;
    if (::posix_fallocate(file.get(), 0, static_cast<off_t>(size)) == 0 && become_user(mapping, file))
        return true;
    remove_name(file.get(), mapping.file_name());
    return false;
}

enum class Found { kNothing, kLiving, kEmpty };

struct Inside {
    Found found = Found::kNothing;
    Descriptor file;  // inside its gate, unless nothing was found
};

// What killed processes left is never used again: someone might be stopped between opening and locking it. When nobody
// uses the file, the exclusive lock on the user byte stays with us, until becoming a user makes it a shared one.
Inside enter_gate(const std::string& file_name, IfMissing if_missing) {
    for (;;) {
        Descriptor file = open_shared_file(file_name, if_missing);
        if (!file || !wait_lock_byte(file.get(), kGateByte, ByteLock::kExclusive))
            return {};
        if (!is_still_named(file.get(), file_name))
            continue;
        if (!try_lock_byte(file.get(), kUserByte, ByteLock::kExclusive))
            return {Found::kLiving, std::move(file)};
        if (file_size(file.get()) == 0 && if_missing == IfMissing::kCreate)
            return {Found::kEmpty, std::move(file)};
        remove_name(file.get(), file_name);
    }
}

}  // namespace

std::unique_ptr<SharedMapping> SharedMapping::create(const std::string& name, std::size_t size) {
    // First, as their memory may be what is missing.
    remove_leftovers();
    watch_forks();
    auto mapping = std::make_unique<FileMapping>(shared_file_name(kMappingKind, name));
    const std::lock_guard guard(registry);
    Inside inside = enter_gate(mapping->file_name(), IfMissing::kCreate);
    bool is_used = false;
    if (inside.found == Found::kEmpty)
        is_used = fill_and_use(*mapping, std::move(inside.file), size);
    else if (inside.found == Found::kLiving && file_size(inside.file.get()) == size)
        is_used = become_user(*mapping, inside.file);
    return is_used ? std::move(mapping) : nullptr;
}

std::unique_ptr<SharedMapping> SharedMapping::open(const std::string& name) {
    watch_forks();
    auto mapping = std::make_unique<FileMapping>(shared_file_name(kMappingKind, name));
    const std::lock_guard guard(registry);
    Inside inside = enter_gate(mapping->file_name(), IfMissing::kFail);
    return inside.found == Found::kLiving && become_user(*mapping, inside.file) ? std::move(mapping) : nullptr;
}

}  // namespace qmio::platform
