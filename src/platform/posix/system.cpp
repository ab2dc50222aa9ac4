#include "platform/system.h"

#include <dlfcn.h>
#include <link.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>

namespace qmio::platform {
namespace {

constexpr std::size_t kLongestModulePath = 512;

// As the loader was asked for it, which may be relative to the working directory of that moment.
std::filesystem::path loaded_path() {
    static const char own_address = 0;
    Dl_info info{};
    void* extra = nullptr;
    if (::dladdr1(&own_address, &info, &extra, RTLD_DL_LINKMAP) == 0 || !extra)
        return {};
    const auto* module = static_cast<const link_map*>(extra);
    const bool is_program = module->l_name[0] == '\0';
    std::error_code error;
    return is_program ? std::filesystem::read_symlink("/proc/self/exe", error) : std::filesystem::path(module->l_name);
}

// Processes that load the same file must get the same text however they spelled its folder. The file's own name stays
// as it is, since libqmio.so and libqmio.so.3 are links whose common part is what callers go by.
std::filesystem::path with_canonical_folder(const std::filesystem::path& path) {
    std::error_code error;
    const auto absolute = std::filesystem::absolute(path, error);
    const auto folder = std::filesystem::canonical(absolute.parent_path(), error);
    return error ? absolute : folder / absolute.filename();
}

}  // namespace

std::string module_path() {
    const auto path = loaded_path();
    return path.empty() ? std::string() : with_canonical_folder(path).string().substr(0, kLongestModulePath);
}

LocalTime local_time() {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    ::localtime_r(&now.tv_sec, &local);
    return {local.tm_year + 1900,
            local.tm_mon + 1,
            local.tm_mday,
            local.tm_hour,
            local.tm_min,
            local.tm_sec,
            static_cast<int>(now.tv_nsec / 1'000'000)};
}

uint32_t tick_count() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint32_t>(static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000);
}

const char* error_text(int number) {
    return ::strerrordesc_np(number);
}

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : std::string();
}

}  // namespace qmio::platform
