// Where diagnostic text goes: the console (standard error) and an appended log file.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qmio::qmlib {

// Keeps the pieces of one line together: whoever writes holds one, and while it lives no other thread writes.
class SinkLock {
  public:
    SinkLock();
    ~SinkLock();
    SinkLock(const SinkLock&) = delete;
    SinkLock& operator=(const SinkLock&) = delete;
};

// Names the log file (UTF-8), which the first write opens. Without a name, or when the file cannot be opened, nothing
// is logged and nothing fails.
void set_log_path(std::string path);

// Closes the log file and forgets its name.
void close_log();

// One write each. Nothing is written for an empty text.
void write_console(const SinkLock& lock, std::string_view text);
void write_log(const SinkLock& lock, std::string_view text);

// Takes "user:password@" out of every URL in `text`, in place, and returns the new length.
std::size_t hide_credentials(char* text, std::size_t length);

}  // namespace qmio::qmlib
