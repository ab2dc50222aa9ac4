// A lock that needs neither a constructor nor a destructor at run time, for process-wide values.
#pragma once

#include <atomic>

namespace qmio::platform {

// std::mutex has a constructor to run on some systems, and with it an order among the globals.
class StaticMutex {
  public:
    void lock() {
        while (taken_.test_and_set(std::memory_order_acquire))
            taken_.wait(true, std::memory_order_relaxed);
    }
    void unlock() {
        taken_.clear(std::memory_order_release);
        taken_.notify_one();
    }

  private:
    std::atomic_flag taken_;
};

}  // namespace qmio::platform
