#include "core/process/last_error.h"

#include <array>
#include <cstring>
#include <mutex>
#include <string>

#include "core/text/bounded_text.h"
#include "platform/never_destroyed.h"
#include "platform/static_mutex.h"
#include "qmio.h"

namespace qmio {
namespace {

struct LastError {
    platform::StaticMutex mutex;
    std::array<char, kLastErrorSize> text{};
    int32_t pending = 0;
    int32_t level = 0;
};

constinit platform::NeverDestroyed<LastError> last_error;

void store(int level, const std::string& message) {
    LastError& kept = last_error.value;
    const std::lock_guard lock(kept.mutex);
    const std::size_t length = fitting_length(message, kLastErrorSize - 1);
    std::memcpy(kept.text.data(), message.data(), length);
    kept.text[length] = '\0';
    kept.level = level;
    kept.pending = 1;
}

}  // namespace

namespace detail {

void store_last_error(int level, std::wstring_view format, Arguments arguments) noexcept {
    try {
        store(level, qmlib::format_text(format, arguments));
    } catch (...) {
        // Without memory for the text the error is at least marked.
        store(level, {});
    }
}

}  // namespace detail

int take_last_error(char* buf) noexcept {
    LastError& kept = last_error.value;
    const std::lock_guard lock(kept.mutex);
    if (buf != nullptr)
        std::memcpy(buf, kept.text.data(), std::strlen(kept.text.data()) + 1);
    kept.text[0] = '\0';
    const int pending = kept.pending;
    kept.pending = 0;
    return pending;
}

}  // namespace qmio

int qmio_get_error(char* buf) {
    return qmio::take_last_error(buf);
}
