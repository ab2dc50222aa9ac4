// Why the host's calls fail: what qmio_why tells each thread about its own.
//
// The step that fails says so with `failed`, which keeps the first cause of a call; the steps around it put what they were
// about before that with `within`; and where the call ends with a failure value, what has gathered is what the host is
// told. What happens on a thread that is in no call of the host's is told to nobody.
//
// Nothing here throws. Where there is no memory for it nothing is kept, and the call fails all the same.
#pragma once

#include <cstdint>
#include <type_traits>

namespace qmio {
struct ThreadRecord;
}

namespace qmio::why {

// A step of the call in progress has failed. `code` is a negative number of FFmpeg's or the system's, whose meaning stands
// behind the text; any other number counts as an unknown error. The text is UTF-8 in the terms of printf.
void failed(int code) noexcept;
[[gnu::format(printf, 2, 3)]] void failed(int code, const char* format, ...) noexcept;

// What the step was about that has failed inside of this one; without a failure nothing.
[[gnu::format(printf, 1, 2)]] void within(const char* format, ...) noexcept;

// What the host may want to know about a call that does not fail over it. Of a call that fails it is told, too.
[[gnu::format(printf, 1, 2)]] void remark(const char* format, ...) noexcept;

// What has failed is no reason for the call to fail: it becomes a remark.
void forgive() noexcept;

// True when a step of the call in progress has failed.
bool has_failed() noexcept;

// An error message of FFmpeg's, which often tells more than the number that follows.
void heard(const char* message) noexcept;

// One call of the host's, from its beginning to its end. Those inside of it belong to it.
class Call {
  public:
    Call() noexcept;
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ~Call();

    // The host gets a failure value: what has failed is told. Otherwise the remarks are.
    void end(bool is_failure) noexcept;

  private:
    ThreadRecord* const record_;  // null where there was no memory for one
};

// What calls return where they fail. Some return it where all is well, too; then no step has failed.
template <class Result>
bool is_failure_value(Result result) {
    if constexpr (std::is_pointer_v<Result>)
        return result == nullptr;
    else
        return result <= 0;
}

// What qmio_why does.
int take(char* buf, int size) noexcept;

}  // namespace qmio::why
