// A file in shared memory per name. A user is whoever holds the user byte; users come and go only inside the gate, so
// that nobody can attach to a mapping whose users are all dead, or to one that is being removed.
#include "platform/shared_mapping.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include "platform/leftovers.h"
#include "platform/posix/byte_lock.h"
#include "platform/posix/shared_directory.h"

namespace qmio::platform {
namespace {

class FileMapping final : public SharedMapping {
  public:
    FileMapping(void* data, std::size_t size, Descriptor file, std::string file_name)
        : data_(data), size_(size), file_(std::move(file)), file_name_(std::move(file_name)) {}
    FileMapping(const FileMapping&) = delete;
    FileMapping& operator=(const FileMapping&) = delete;

    ~FileMapping() override {
        ::munmap(data_, size_);
        wait_lock_byte(file_.get(), kGateByte, ByteLock::kExclusive);
        if (try_lock_byte(file_.get(), kUserByte, ByteLock::kExclusive))
            remove_name(file_.get(), file_name_);
    }

    void* data() const override { return data_; }
    std::size_t size() const override { return size_; }

  private:
    void* data_;
    std::size_t size_;
    Descriptor file_;
    std::string file_name_;
};

std::size_t file_size(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
}

// Becomes a user of the file and leaves the gate. The caller is inside the gate and has made sure that this is right.
std::unique_ptr<SharedMapping> become_user(Descriptor file, const std::string& file_name) {
    const std::size_t size = file_size(file.get());
    void* data = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (data == MAP_FAILED)
        return nullptr;
    try_lock_byte(file.get(), kUserByte, ByteLock::kShared);
    unlock_byte(file.get(), kGateByte);
    return std::make_unique<FileMapping>(data, size, std::move(file), file_name);
}

// posix_fallocate reports a full /dev/shm here and now; ftruncate would succeed and the first store be a SIGBUS.
std::unique_ptr<SharedMapping> fill_and_use(Descriptor file, const std::string& file_name, std::size_t size) {
    if (::posix_fallocate(file.get(), 0, static_cast<off_t>(size)) == 0)
        return become_user(std::move(file), file_name);
    remove_name(file.get(), file_name);
    return nullptr;
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
    const std::string file_name = shared_file_name(kMappingKind, name);
    Inside inside = enter_gate(file_name, IfMissing::kCreate);
    if (inside.found == Found::kEmpty)
        return fill_and_use(std::move(inside.file), file_name, size);
    if (inside.found == Found::kLiving && file_size(inside.file.get()) == size)
        return become_user(std::move(inside.file), file_name);
    return nullptr;
}

std::unique_ptr<SharedMapping> SharedMapping::open(const std::string& name) {
    const std::string file_name = shared_file_name(kMappingKind, name);
    Inside inside = enter_gate(file_name, IfMissing::kFail);
    return inside.found == Found::kLiving ? become_user(std::move(inside.file), file_name) : nullptr;
}

}  // namespace qmio::platform
