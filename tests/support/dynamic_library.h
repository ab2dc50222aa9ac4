// A library loaded and unloaded by hand.
#pragma once

#include <filesystem>
#include <string>

// In front of a function that a library made for a test gives to the test.
#ifdef _WIN32
#define QMIO_TEST_EXPORT extern "C" __declspec(dllexport)
#else
#define QMIO_TEST_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace qmio::test {

class DynamicLibrary {
  public:
    explicit DynamicLibrary(const std::filesystem::path& path);
    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;
    ~DynamicLibrary() { unload(); }

    bool loaded() const { return handle_ != nullptr; }
    const std::string& error() const { return error_; }  // why it could not be loaded

    // The address of an exported function or datum, null when there is none of that name.
    void* symbol(const char* name) const;
    template <typename Function>
    Function* function(const char* name) const {
        return reinterpret_cast<Function*>(symbol(name));
    }

    void unload();

  private:
    void* handle_ = nullptr;
    std::string error_;
};

// The name that the build gives the library `name`: name.dll or libname.so.
std::string library_file_name(const std::string& name);

}  // namespace qmio::test
