// A mutex known by its name to every process of the user.
#pragma once

#include <memory>
#include <string>

namespace qmio::platform {

// Recursive within a thread. When its holder dies it is free again; what it guards needs no repair.
class NamedMutex {
  public:
    virtual ~NamedMutex() = default;
    virtual void lock() = 0;    // waits without time-out
    virtual void unlock() = 0;  // ignored in a thread that is not inside

    // Null when the system refuses it; the caller then works unguarded.
    static std::unique_ptr<NamedMutex> open(const std::string& name);
};

}  // namespace qmio::platform
