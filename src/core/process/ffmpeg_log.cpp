#include "core/process/ffmpeg_log.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>

#include "core/process/host_log.h"
#include "core/process/why.h"
#include "core/text/names.h"
#include "ffmpeg/concealment.h"
#include "qmlib/sinks.h"

namespace qmio {
namespace {

constexpr std::size_t kMessageSize = 4096;
constexpr int kNameLength = 1023;  // most of a class or object name that a line shows

// FFmpeg keeps the colour of a message in the bits above the level.
int without_tint(int level) {
    return level >= 0 ? level & 0xff : level;
}

const char* class_name(const void* context) {
    if (context == nullptr)
        return "-";
    // Whatever FFmpeg logs for begins with a pointer to its class.
    const AVClass* kind = *static_cast<const AVClass* const*>(context);
    return kind != nullptr && kind->class_name != nullptr ? kind->class_name : "-";
}

const char* object_name(const void* context, const char* kind) {
    if (std::strcmp(kind, "AVFormatContext") != 0)
        return "-";
    const char* url = static_cast<const AVFormatContext*>(context)->url;
    return url != nullptr ? url : "-";
}

constexpr char kQuestion[] = " ";  // known by its address
constinit std::atomic<bool> was_asked{false};

void write_message(int level, const char* kind, const char* object, const char* message) {
    std::array<char, kMessageSize + 2 * std::size_t{kNameLength} + 32> line;
    const int length = std::snprintf(line.data(), line.size(), "av_log: [%.*s] [%.*s] %s", kNameLength, kind,
                                     kNameLength, object, message);
    if (length < 0)
        return;
    const std::size_t fitting = std::min(static_cast<std::size_t>(length), line.size() - 1);
    const std::string_view text(line.data(), qmlib::hide_credentials(line.data(), fitting));
    if (tell_host(level, text))
        return;
    const std::string stamp = log_time_stamp(platform::local_time());
    const qmlib::SinkLock lock;
    qmlib::write_log(lock, stamp);
    qmlib::write_console(lock, text);
    qmlib::write_log(lock, text);
}

}  // namespace

void log_ffmpeg_message(void* context, int level, const char* format, va_list arguments) noexcept {
    if (format == kQuestion) {
        was_asked = true;
        return;
    }
    ffmpeg::note_message(context, format);
    const bool is_error = without_tint(level) <= AV_LOG_ERROR;
    const bool is_shown = without_tint(level) <= log_level();
    if (!is_error && !is_shown)
        return;
    try {
        std::array<char, kMessageSize> message;
        if (std::vsnprintf(message.data(), message.size(), format, arguments) < 0)
            return;
        if (is_error)
            why::heard(message_text(message.data()).c_str());
        if (!is_shown)
            return;
        const char* kind = class_name(context);
        write_message(without_tint(level), kind, message_text(object_name(context, kind)).c_str(),
                      message_text(message.data()).c_str());
    } catch (...) {
        // Nothing may throw into FFmpeg.
    }
}

bool takes_ffmpeg_messages() noexcept {
    was_asked = false;
    av_log(nullptr, AV_LOG_TRACE, kQuestion);
    return was_asked;
}

std::string log_time_stamp(const platform::LocalTime& time) {
    std::array<char, 64> stamp;
    const int length =
        std::snprintf(stamp.data(), stamp.size(), "%.2d/%.2d/%.2d %.2d:%.2d:%.2d.%.3d\t", time.day, time.month,
                      time.year % 100, time.hour, time.minute, time.second, time.millisecond);
    return length > 0 ? std::string(stamp.data(), static_cast<std::size_t>(length)) : std::string();
}

}  // namespace qmio
