#include "platform/leftovers.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <memory>

#include "platform/posix/byte_lock.h"
#include "platform/posix/shared_directory.h"

namespace qmio::platform {
namespace {

// Loading a library has to stay quick, whatever lies in the directory. What is left over is another day's work.
constexpr int kMostEntries = 1000;

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

// Takes over the descriptor.
Directory list_entries(Descriptor descriptor) {
    Directory directory(descriptor ? ::fdopendir(descriptor.get()) : nullptr);
    if (directory)
        descriptor.release();
    return directory;
}

bool is_of_kind(std::string_view file_name, std::string_view kind) {
    constexpr std::size_t kDigits = 32;
    return file_name.size() == kind.size() + 1 + kDigits && file_name.starts_with(kind) &&
           file_name[kind.size()] == '-' &&
           file_name.find_first_not_of("0123456789abcdef", kind.size() + 1) == file_name.npos;
}

bool is_own_file(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid();
}

// Whoever opened the file and waits for its locks finds it nameless then, and makes another one.
void remove_if_unused(int directory, const char* file_name, bool has_gate) {
    const Descriptor file(::openat(directory, file_name, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    // The gate of a mapping in use is left alone: who stands in it is waited for.
    if (!file || !is_own_file(file.get()) || is_byte_locked(file.get(), kUserByte))
        return;
    if (has_gate && !try_lock_byte(file.get(), kGateByte, ByteLock::kExclusive))
        return;
    if (try_lock_byte(file.get(), kUserByte, ByteLock::kExclusive) && names_file(directory, file_name, file.get()))
        ::unlinkat(directory, file_name, 0);
    // Closing is not enough: a child that another thread has just forked keeps the file open, and with it the locks.
    unlock_byte(file.get(), kUserByte);
    unlock_byte(file.get(), kGateByte);
}

}  // namespace

void remove_leftovers() noexcept {
    const Directory directory = list_entries(open_shared_directory());
    for (int count = 0; directory && count < kMostEntries; ++count) {
        const dirent* entry = ::readdir(directory.get());
        if (!entry)
            return;
        const bool is_mapping = is_of_kind(entry->d_name, kMappingKind);
        if (is_mapping || is_of_kind(entry->d_name, kMutexKind))
            remove_if_unused(::dirfd(directory.get()), entry->d_name, is_mapping);
    }
}

}  // namespace qmio::platform
