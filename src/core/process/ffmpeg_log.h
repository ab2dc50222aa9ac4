// FFmpeg's messages, among the library's own trace lines.
#pragma once

#include <cstdarg>
#include <string>

#include "platform/system.h"

namespace qmio {

// The callback for av_log_set_callback. Drops what lies above the configured level, gives the log file a time stamp,
// and both sinks the line "av_log: [class] [object] message". Called on any of FFmpeg's threads.
void log_ffmpeg_message(void* context, int level, const char* format, va_list arguments) noexcept;

// True while that is FFmpeg's callback. It is asked with a blank message, which a callback of someone else's gets, too.
bool takes_ffmpeg_messages() noexcept;

// The stamp before a message in the log file: "05/03/24 09:07:03.045" and a tab for 5 March 2024.
std::string log_time_stamp(const platform::LocalTime& time);

}  // namespace qmio
