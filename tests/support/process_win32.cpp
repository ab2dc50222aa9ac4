#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include <mutex>
#include <stdexcept>

#include "support/process_system.h"

namespace qmio::test {
namespace {

struct Close {
    void operator()(HANDLE handle) const { ::CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, Close>;

constexpr UINT kKilled = static_cast<UINT>(-1);

}  // namespace

struct Process::System::Handles {
    Handle process;
    Handle input;
    Handle output;
};

namespace {

struct Ends {
    Handle ours, theirs;
};

SECURITY_ATTRIBUTES inheritable() {
    return {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
}

enum class Direction { kToProgram, kFromProgram };

Ends channel(Direction direction) {
    SECURITY_ATTRIBUTES attributes = inheritable();
    HANDLE reading = nullptr;
    HANDLE writing = nullptr;
    if (!::CreatePipe(&reading, &writing, &attributes, 0))
        throw std::runtime_error("CreatePipe");
    Ends ends{Handle(reading), Handle(writing)};
    if (direction == Direction::kToProgram)
        std::swap(ends.ours, ends.theirs);
    ::SetHandleInformation(ends.ours.get(), HANDLE_FLAG_INHERIT, 0);
    return ends;
}

std::wstring wide(const std::string& text) {
    return path_of(text).wstring();
}

// Quoted so that the program's runtime takes it apart again: backslashes count double before a quotation mark only.
std::wstring quoted(const std::wstring& argument) {
    std::wstring result = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t c : argument) {
        if (c == L'"')
            result.append(backslashes + 1, L'\\');
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        result += c;
    }
    result.append(backslashes, L'\\');
    return result + L"\"";
}

std::wstring command_line(const std::filesystem::path& program, const Arguments& arguments) {
    std::wstring line = quoted(program.wstring());
    for (const auto& argument : arguments)
        line += L" " + quoted(wide(argument));
    return line;
}

// Names of variables are compared without case, and a name may begin with '='.
bool sets(const std::wstring& entry, const std::wstring& name) {
    return entry.size() > name.size() && entry[name.size()] == L'=' &&
           ::CompareStringOrdinal(entry.data(), static_cast<int>(name.size()), name.data(),
                                  static_cast<int>(name.size()), TRUE) == CSTR_EQUAL;
}

std::vector<std::wstring> own_environment() {
    std::vector<std::wstring> result;
    wchar_t* const block = ::GetEnvironmentStringsW();
    for (const wchar_t* entry = block; *entry; entry += result.back().size() + 1)
        result.emplace_back(entry);
    ::FreeEnvironmentStringsW(block);
    return result;
}

std::wstring merged(const Environment& changes) {
    std::vector<std::wstring> entries = own_environment();
    for (const auto& [name, value] : changes) {
        std::erase_if(entries, [key = wide(name)](const std::wstring& entry) { return sets(entry, key); });
        entries.push_back(wide(name + "=" + value));
    }
    std::wstring block;
    for (const auto& entry : entries)
        block += entry + L'\0';
    return block + L'\0';
}

Handle create_error_file(const std::filesystem::path& path) {
    SECURITY_ATTRIBUTES attributes = inheritable();
    return Handle(::CreateFileW(path.c_str(), FILE_APPEND_DATA | SYNCHRONIZE,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &attributes, CREATE_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
}

Handle spawn(const std::filesystem::path& program, const Arguments& arguments, const Environment& environment,
             HANDLE input, HANDLE output, HANDLE error) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input;
    startup.hStdOutput = output;
    startup.hStdError = error;
    std::wstring line = command_line(program, arguments);
    std::wstring variables = merged(environment);
    PROCESS_INFORMATION started{};
    if (!::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_UNICODE_ENVIRONMENT, variables.data(),
                          nullptr, &startup, &started))
        throw std::runtime_error(utf8(program) + ": error " + std::to_string(::GetLastError()));
    ::CloseHandle(started.hThread);
    return Handle(started.hProcess);
}

}  // namespace

Process::System::System(const std::filesystem::path& program, const Arguments& arguments,
                        const Environment& environment)
    : handles(std::make_unique<Handles>()) {
    // A program inherits every inheritable handle of the moment, so two may not be started at once.
    static std::mutex one_at_a_time;
    const std::lock_guard guard(one_at_a_time);
    Ends input = channel(Direction::kToProgram);
    Ends output = channel(Direction::kFromProgram);
    const Handle error = create_error_file(error_path());
    handles->input = std::move(input.ours);
    handles->output = std::move(output.ours);
    handles->process = spawn(program, arguments, environment, input.theirs.get(), output.theirs.get(), error.get());
}

Process::System::~System() = default;

bool Process::System::write_some(std::string_view& bytes) {
    DWORD count = 0;
    if (!handles->input ||
        !::WriteFile(handles->input.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr))
        return false;
    bytes.remove_prefix(count);
    return count > 0;
}

std::size_t Process::System::read_some(char* buffer, std::size_t size) {
    DWORD count = 0;
    return ::ReadFile(handles->output.get(), buffer, static_cast<DWORD>(size), &count, nullptr) ? count : 0;
}

void Process::System::close_input() {
    handles->input.reset();
}

void Process::System::kill() {
    if (!exit_code)
        ::TerminateProcess(handles->process.get(), kKilled);
}

int Process::System::wait() {
    if (exit_code)
        return *exit_code;
    DWORD code = kKilled;
    ::WaitForSingleObject(handles->process.get(), INFINITE);
    ::GetExitCodeProcess(handles->process.get(), &code);
    exit_code = static_cast<int>(code);
    return *exit_code;
}

std::filesystem::path program_folder() {
    std::wstring path(32768, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return std::filesystem::path(path).parent_path();
}

std::filesystem::path host_program(const std::string& name) {
    return program_folder() / (name + ".exe");
}

bool runs_under_wine() {
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

void set_environment(const std::string& name, const std::string& value) {
    ::_wputenv_s(wide(name).c_str(), wide(value).c_str());
}

void unset_environment(const std::string& name) {
    set_environment(name, "");
}

}  // namespace qmio::test
