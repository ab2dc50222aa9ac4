// A folder of its own for a test, removed with all it holds at the end; names, paths and contents of files.
#pragma once

#include <filesystem>
#include <string>

namespace qmio::test {

class TempDir {
  public:
    TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    ~TempDir();

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }

  private:
    std::filesystem::path path_;
};

// Between paths and UTF-8 text, on every system.
std::string utf8(const std::filesystem::path& path);
std::filesystem::path path_of(const std::string& utf8);

// All bytes of a file; an empty text where there is none.
std::string content_of(const std::filesystem::path& path);

// A short text that no other call, in this process or another, has given.
std::string unique_name();

}  // namespace qmio::test
