#include "core/process/trace.h"

#include <string>

#include "core/process/host_log.h"
#include "platform/text.h"
#include "qmlib/sinks.h"

namespace qmio::detail {
namespace {

std::string message_text(std::wstring_view format, Arguments arguments) {
    std::string message = qmlib::format_text(format, arguments);
    message.resize(qmlib::hide_credentials(message.data(), message.size()));
    return message;
}

}  // namespace

void write_line(const wchar_t* tag, std::wstring_view format, Arguments arguments) noexcept {
    try {
        const std::string prefix = platform::narrow(tag, platform::kCodePageUtf8) + ": ";
        const std::string message = message_text(format, arguments);
        if (tell_host(kTraceLevel, prefix + message))
            return;
        const qmlib::SinkLock lock;
        for (const std::string& piece : {std::cref(prefix), std::cref(message)}) {
            qmlib::write_console(lock, piece);
            qmlib::write_log(lock, piece);
        }
    } catch (...) {
        // A line that cannot be written is lost; the call that traces goes on.
    }
}

void write_console(std::wstring_view format, Arguments arguments) noexcept {
    try {
        const std::string message = message_text(format, arguments);
        if (tell_host(kTraceLevel, message))
            return;
        const qmlib::SinkLock lock;
        qmlib::write_console(lock, message);
    } catch (...) {
        // As above.
    }
}

}  // namespace qmio::detail
