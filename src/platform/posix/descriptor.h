// The owner of a file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace qmio::platform {

class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() { reset(); }

    int get() const { return number_; }
    explicit operator bool() const { return number_ >= 0; }
    int release() { return std::exchange(number_, -1); }
    void reset() {
        if (number_ >= 0)
            ::close(std::exchange(number_, -1));
    }

  private:
    int number_ = -1;
};

}  // namespace qmio::platform
