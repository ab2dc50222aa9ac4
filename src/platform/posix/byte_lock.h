// Locks on single bytes of a file that belong to the open file description: the kernel releases them when the last
// descriptor of it is closed, in whatever way its process ends. Two descriptions exclude each other within one process
// too.
#pragma once

namespace qmio::platform {

enum class ByteLock { kShared, kExclusive };

// False when another description is in the way. A lock already held on the byte changes its kind in one step.
bool try_lock_byte(int descriptor, int byte, ByteLock kind);

// Waits as long as it takes; false only when the system cannot lock.
bool wait_lock_byte(int descriptor, int byte, ByteLock kind);

// Whether another description holds a lock of any kind on the byte; takes none itself.
bool is_byte_locked(int descriptor, int byte);

void unlock_byte(int descriptor, int byte);

}  // namespace qmio::platform
