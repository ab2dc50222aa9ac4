#include "platform/posix/byte_lock.h"

#include <fcntl.h>

#include <cerrno>

namespace qmio::platform {
namespace {

struct flock one_byte(int byte, short type) {
    struct flock range {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = byte;
    range.l_len = 1;
    return range;
}

bool set_lock(int descriptor, int command, int byte, short type) {
    struct flock range = one_byte(byte, type);
    int result;
    do {
        result = ::fcntl(descriptor, command, &range);
    } while (result < 0 && errno == EINTR);
    return result == 0;
}

short lock_type(ByteLock kind) {
    return kind == ByteLock::kShared ? F_RDLCK : F_WRLCK;
}

}  // namespace

bool try_lock_byte(int descriptor, int byte, ByteLock kind) {
    return set_lock(descriptor, F_OFD_SETLK, byte, lock_type(kind));
}

bool wait_lock_byte(int descriptor, int byte, ByteLock kind) {
    return set_lock(descriptor, F_OFD_SETLKW, byte, lock_type(kind));
}

bool is_byte_locked(int descriptor, int byte) {
    struct flock range = one_byte(byte, F_WRLCK);
    return ::fcntl(descriptor, F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK;
}

void unlock_byte(int descriptor, int byte) {
    set_lock(descriptor, F_OFD_SETLK, byte, F_UNLCK);
}

}  // namespace qmio::platform
