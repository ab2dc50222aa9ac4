// A lock that needs neither a constructor nor a destructor at run time, for process-wide values.
#pragma once

namespace qmio::platform {

// The standard library's locks run code of their own on some systems: std::mutex a constructor, and waiting for an
// atomic value the destructors of what it waits with. Those wait in turn, for good, when the process ends while a
// thread waits.
class StaticMutex {
  public:
    void lock();
    void unlock();

  private:
    void* state_ = nullptr;  // the system's affair; null is free
};

}  // namespace qmio::platform
