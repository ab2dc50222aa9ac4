#include "platform/file.h"

#include <cerrno>

#include "platform/text.h"
#include "platform/win32/windows.h"

namespace qmio::platform {
namespace {

// What CreateFile says instead of null.
KernelHandle owned(HANDLE file) {
    return KernelHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

class KernelReadFile final : public ReadFile {
  public:
    explicit KernelReadFile(KernelHandle file) : file_(std::move(file)) {}

    int read(uint8_t* buffer, int size) override {
        DWORD count = 0;
        if (size <= 0 || !::ReadFile(file_.get(), buffer, static_cast<DWORD>(size), &count, nullptr))
            return 0;
        return static_cast<int>(count);
    }

    int64_t seek(int64_t offset, int whence) override {
        constexpr DWORD kWhence[] = {FILE_BEGIN, FILE_CURRENT, FILE_END};
        LARGE_INTEGER distance{};
        LARGE_INTEGER position{};
        distance.QuadPart = offset;
        if (whence < 0 || whence > 2 || !::SetFilePointerEx(file_.get(), distance, &position, kWhence[whence]))
            return -1;
        return position.QuadPart;
    }

    int64_t size() override {
        LARGE_INTEGER size{};
        return ::GetFileSizeEx(file_.get(), &size) ? size.QuadPart : -1;
    }

  private:
    KernelHandle file_;
};

// Why a file cannot be opened, in the C library's numbers.
int number_of(DWORD error) {
    switch (error) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case ERROR_INVALID_NAME:
        case ERROR_BAD_NETPATH:
            return ENOENT;
        case ERROR_ACCESS_DENIED:
        case ERROR_SHARING_VIOLATION:
            return EACCES;
        default:
            return EIO;
    }
}

void write_once(HANDLE file, std::string_view text) {
    DWORD written = 0;
    ::WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

class KernelAppendFile final : public AppendFile {
  public:
    explicit KernelAppendFile(KernelHandle file) : file_(std::move(file)) {}
    void write(std::string_view text) override { write_once(file_.get(), text); }

  private:
    KernelHandle file_;
};

}  // namespace

// There is no such limit here.
FailedNotEnded::FailedNotEnded() : blocked_(false) {}
FailedNotEnded::~FailedNotEnded() = default;

std::unique_ptr<ReadFile> ReadFile::open(const std::string& path, uint32_t code_page, int* error) {
    KernelHandle file = owned(::CreateFileW(widen(path, code_page).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file && error != nullptr)
        *error = number_of(::GetLastError());
    return file ? std::make_unique<KernelReadFile>(std::move(file)) : nullptr;
}

// Append access without write access makes the system itself put every write at the end.
std::unique_ptr<AppendFile> AppendFile::open(const std::string& path) {
    constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    KernelHandle file = owned(::CreateFileW(widen(path, kCodePageUtf8).c_str(), FILE_APPEND_DATA | SYNCHRONIZE, kShared,
                                            nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    return file ? std::make_unique<KernelAppendFile>(std::move(file)) : nullptr;
}

// A console shows bytes in its own code page, so it gets wide text; a file or pipe gets the UTF-8 as it is.
std::string library_file_name(const std::string& name, uint32_t code_page) {
    return code_page == kCodePageUtf8 ? name : narrow(widen(name, code_page), kCodePageUtf8);
}

void write_to_console(std::string_view text) {
    const HANDLE output = ::GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    if (!::GetConsoleMode(output, &mode)) {
        write_once(output, text);
        return;
    }
    const std::wstring wide = widen(text, kCodePageUtf8);
    DWORD written = 0;
    ::WriteConsoleW(output, wide.data(), static_cast<DWORD>(wide.size()), &written, nullptr);
}

}  // namespace qmio::platform
