// Opens that a host has given a number, so that another thread can end them.
#pragma once

#include <atomic>
#include <cstdint>

namespace qmio::read {

// An open that is under way. While it lives, whoever cancels its number sets the flag.
class NamedOpen {
  public:
    // A number of 0 is none.
    NamedOpen(int64_t number, std::atomic<bool>& cancelled);
    NamedOpen(const NamedOpen&) = delete;
    NamedOpen& operator=(const NamedOpen&) = delete;
    ~NamedOpen();

    // From now on the open is no longer under way. False where it was cancelled before.
    bool complete();

  private:
    friend bool cancel_open(int64_t number);

    int64_t number_;
    std::atomic<bool>& cancelled_;
    NamedOpen* next_ = nullptr;
};

// Cancels every open of this number. False when none is under way. Any thread may call.
bool cancel_open(int64_t number);

}  // namespace qmio::read
