// Named shared memory that disappears with its last user.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace qmio::platform {

class SharedMapping {
  public:
    virtual ~SharedMapping() = default;  // unmaps; the last user's leaving removes the name
    virtual void* data() const = 0;
    virtual std::size_t size() const = 0;  // as created; an opened one may count whole pages

    // Creates the mapping, zeroed, or attaches to a living one of the same name and size. Null when it cannot be had.
    // First sweeps what killed processes left of others (leftovers.h).
    static std::unique_ptr<SharedMapping> create(const std::string& name, std::size_t size);

    // Attaches to a living mapping; null when there is none. What a killed process left behind counts as none.
    static std::unique_ptr<SharedMapping> open(const std::string& name);
};

}  // namespace qmio::platform
