#include "platform/posix/shared_directory.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <string>

namespace qmio::platform {
namespace {

bool is_private(int directory) {
    struct stat status {};
    return ::fstat(directory, &status) == 0 && status.st_uid == ::geteuid() && (status.st_mode & 077) == 0;
}

// FNV-1a. The value is part of what processes agree on, so it must not depend on the compiler's library.
uint64_t hash(std::string_view text, uint64_t value) {
    for (const char c : text) {
        value ^= static_cast<unsigned char>(c);
        value *= 0x100000001b3;
    }
    return value;
}

// Never a folder of the environment such as TMPDIR: processes that must meet here could disagree about it.
std::string directory_path() {
    return "/dev/shm/qmio-" + std::to_string(::geteuid());
}

}  // namespace

// Anybody may create entries in /dev/shm, so a directory that another user put there, or a link, is refused.
Descriptor open_shared_directory() {
    const std::string path = directory_path();
    ::mkdir(path.c_str(), 0700);
    Descriptor directory(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (directory && !is_private(directory.get()))
        directory.reset();
    return directory;
}

std::string shared_file_name(std::string_view kind, std::string_view name) {
    const uint64_t first = hash(name, 0xcbf29ce484222325);
    const uint64_t second = hash(name, first ^ 0x9e3779b97f4a7c15);
    char digits[33];
    std::snprintf(digits, sizeof digits, "%016llx%016llx", static_cast<unsigned long long>(first),
                  static_cast<unsigned long long>(second));
    return std::string(kind) + "-" + digits;
}

Descriptor open_shared_file(const std::string& file_name, IfMissing if_missing) {
    const Descriptor directory = open_shared_directory();
    if (!directory)
        return {};
    const int create = if_missing == IfMissing::kCreate ? O_CREAT : 0;
    return Descriptor(::openat(directory.get(), file_name.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC | create, 0600));
}

bool names_file(int directory, const char* file_name, int descriptor) {
    struct stat opened {};
    struct stat named {};
    return ::fstat(descriptor, &opened) == 0 && opened.st_nlink > 0 &&
           ::fstatat(directory, file_name, &named, AT_SYMLINK_NOFOLLOW) == 0 && opened.st_ino == named.st_ino &&
           opened.st_dev == named.st_dev;
}

bool is_still_named(int descriptor, const std::string& file_name) {
    // Without opening the directory: a process that has no descriptor left would take every name for lost.
    return names_file(AT_FDCWD, (directory_path() + '/' + file_name).c_str(), descriptor);
}

void remove_name(int descriptor, const std::string& file_name) {
    const Descriptor directory = open_shared_directory();
    if (directory && names_file(directory.get(), file_name.c_str(), descriptor))
        ::unlinkat(directory.get(), file_name.c_str(), 0);
}

}  // namespace qmio::platform
