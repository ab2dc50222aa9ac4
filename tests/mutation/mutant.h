// What the conditions of the sources become in the tree that `./dev mutate` builds: themselves, or, for the one whose number
// is in the environment, the opposite.
//   QMIO_MUTANT=NUMBER            that condition is turned round
//   QMIO_MUTANTS_REACHED=FILE     a byte for each number, where what was reached is entered: 1 and 2 for a condition that was
//                                 false and true, 2 for a bound that was met exactly
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <type_traits>

namespace qmio_mutants {

struct State {
    bool begun = false;
    unsigned chosen = ~0U;
    unsigned char* reached = nullptr;
    unsigned count = 0;
};

// One for each library and program. Hidden: a symbol that processes share would keep a library from being unloaded.
__attribute__((visibility("hidden"))) inline constinit State state;

// Memory of the file itself: what a process reached that is killed stays there. It is left mapped, as threads may be
// anywhere when a process ends.
inline void map_reached(const char* path) noexcept {
    const int file = ::open(path, O_RDWR | O_CLOEXEC);
    struct stat status {};
    if (file < 0)
        return;
    if (::fstat(file, &status) == 0 && status.st_size > 0) {
        void* const data =
            ::mmap(nullptr, static_cast<std::size_t>(status.st_size), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        if (data != MAP_FAILED) {
            state.reached = static_cast<unsigned char*>(data);
            state.count = static_cast<unsigned>(status.st_size);
        }
    }
    ::close(file);
}

// Before all globals of the library; once for each of its sources, of which the first does it.
__attribute__((constructor(101))) static void begin() {
    if (state.begun)
        return;
    state.begun = true;
    if (const char* const number = std::getenv("QMIO_MUTANT"))
        state.chosen = static_cast<unsigned>(std::strtoul(number, nullptr, 10));
    if (const char* const path = std::getenv("QMIO_MUTANTS_REACHED"))
        map_reached(path);
}

inline void enter(unsigned number, unsigned char bit) noexcept {
    if (number < state.count && (__atomic_load_n(state.reached + number, __ATOMIC_RELAXED) & bit) == 0)
        __atomic_fetch_or(state.reached + number, bit, __ATOMIC_RELAXED);
}

constexpr bool is(unsigned number, bool value) noexcept {
    if (std::is_constant_evaluated())
        return value;
    enter(number, value ? 2 : 1);
    return value != (number == state.chosen);
}

// A bound makes a difference only where it is met exactly.
template <class Left, class Right>
constexpr bool is_moved(unsigned number, const Left& left, const Right& right) noexcept {
    if (std::is_constant_evaluated() || !(left == right))
        return false;
    enter(number, 2);
    return number == state.chosen;
}

template <class Left, class Right>
constexpr bool less(unsigned number, const Left& left, const Right& right) noexcept {
    return left < right || is_moved(number, left, right);
}

template <class Left, class Right>
constexpr bool less_equal(unsigned number, const Left& left, const Right& right) noexcept {
    return left <= right && !is_moved(number, left, right);
}

template <class Left, class Right>
constexpr bool greater(unsigned number, const Left& left, const Right& right) noexcept {
    return left > right || is_moved(number, left, right);
}

template <class Left, class Right>
constexpr bool greater_equal(unsigned number, const Left& left, const Right& right) noexcept {
    return left >= right && !is_moved(number, left, right);
}

}  // namespace qmio_mutants
