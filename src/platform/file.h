// A file opened for reading, and an appended log file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace qmio::platform {

class ReadFile {
  public:
    virtual ~ReadFile() = default;
    // Bytes read, 0 at the end of the file or when reading fails.
    virtual int read(uint8_t* buffer, int size) = 0;
    // whence 0 start, 1 current, 2 end; the new position or -1.
    virtual int64_t seek(int64_t offset, int whence) = 0;
    virtual int64_t size() = 0;  // -1 when unknown

    // `path` is narrow text of `code_page`, which on Linux is the one that the file's name is in; null when the file
    // cannot be opened, with a number of errno in `error` where that is not null. Directories cannot.
    static std::unique_ptr<ReadFile> open(const std::string& path, uint32_t code_page, int* error = nullptr);
};

class AppendFile {
  public:
    virtual ~AppendFile() = default;
    virtual void write(std::string_view text) = 0;  // one write, at the end, whoever else appends

    // `path` is UTF-8; null when the file cannot be opened.
    static std::unique_ptr<AppendFile> open(const std::string& path);
};

// While it lives, a write beyond the size that this process's files may have (RLIMIT_FSIZE) fails as one on a full disk
// does, instead of ending the process by a signal. A host that has its own word for that signal is not overruled. Of one
// thread, for the calls between.
class FailedNotEnded {
  public:
    FailedNotEnded();
    ~FailedNotEnded();
    FailedNotEnded(const FailedNotEnded&) = delete;
    FailedNotEnded& operator=(const FailedNotEnded&) = delete;

  private:
    bool blocked_;
};

// A file's name, narrow text of `code_page`, as libraries take it that know nothing of code pages: on Linux names are bytes
// in whatever code page, on Windows they are UTF-8 to such libraries.
std::string library_file_name(const std::string& name, uint32_t code_page);

// One write to standard error.
void write_to_console(std::string_view text);

}  // namespace qmio::platform
