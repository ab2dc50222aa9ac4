#include "platform/shared_mapping.h"

#include "platform/win32/object_name.h"
#include "platform/win32/windows.h"

namespace qmio::platform {
namespace {

struct UnmapView {
    void operator()(void* view) const { ::UnmapViewOfFile(view); }
};
using View = std::unique_ptr<void, UnmapView>;

class KernelMapping final : public SharedMapping {
  public:
    KernelMapping(KernelHandle handle, View view, std::size_t size)
        : handle_(std::move(handle)), view_(std::move(view)), size_(size) {}

    void* data() const override { return view_.get(); }
    std::size_t size() const override { return size_; }

  private:
    KernelHandle handle_;
    View view_;
    std::size_t size_;
};

std::size_t region_size(const void* view) {
    MEMORY_BASIC_INFORMATION region{};
    return ::VirtualQuery(view, &region, sizeof region) ? region.RegionSize : 0;
}

std::size_t whole_pages(std::size_t size) {
    SYSTEM_INFO system{};
    ::GetSystemInfo(&system);
    const std::size_t page = system.dwPageSize;
    return (size + page - 1) / page * page;
}

View map_view(const KernelHandle& handle) {
    return View(handle ? ::MapViewOfFile(handle.get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 0) : nullptr);
}

}  // namespace

std::unique_ptr<SharedMapping> SharedMapping::create(const std::string& name, std::size_t size) {
    const uint64_t bytes = size;
    KernelHandle handle(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                                             static_cast<DWORD>(bytes >> 32), static_cast<DWORD>(bytes),
                                             object_name(name).c_str()));
    View view = map_view(handle);
    // A living mapping of that name comes with its own size, which the view tells in whole pages.
    if (!view || region_size(view.get()) != whole_pages(size))
        return nullptr;
    return std::make_unique<KernelMapping>(std::move(handle), std::move(view), size);
}

std::unique_ptr<SharedMapping> SharedMapping::open(const std::string& name) {
    KernelHandle handle(::OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, object_name(name).c_str()));
    View view = map_view(handle);
    if (!view)
        return nullptr;
    const std::size_t size = region_size(view.get());
    return std::make_unique<KernelMapping>(std::move(handle), std::move(view), size);
}

}  // namespace qmio::platform
