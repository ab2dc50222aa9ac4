#include "platform/named_mutex.h"

#include "platform/win32/object_name.h"
#include "platform/win32/windows.h"

namespace qmio::platform {
namespace {

class KernelMutex final : public NamedMutex {
  public:
    explicit KernelMutex(KernelHandle handle) : handle_(std::move(handle)) {}

    // A mutex that its holder's death abandoned is ours as well.
    void lock() override { ::WaitForSingleObject(handle_.get(), INFINITE); }
    void unlock() override { ::ReleaseMutex(handle_.get()); }

  private:
    KernelHandle handle_;
};

}  // namespace

std::unique_ptr<NamedMutex> NamedMutex::open(const std::string& name) {
    KernelHandle handle(::CreateMutexW(nullptr, FALSE, object_name(name).c_str()));
    return handle ? std::make_unique<KernelMutex>(std::move(handle)) : nullptr;
}

}  // namespace qmio::platform
