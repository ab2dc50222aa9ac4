#include "faults/interposer.h"

#include <dlfcn.h>
#include <fcntl.h>

#include <link.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <new>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace {

using namespace qmio::test;

// ---- Which call fails ----

constinit std::atomic<bool> armed{false};
constinit Fault plan;
constinit std::array<std::atomic<long>, static_cast<std::size_t>(Call::count)> calls;

bool strikes(Call call) {
    if (!armed)
        return false;
    const long number = ++calls[static_cast<std::size_t>(call)];
    return call == plan.call && plan.at > 0 && (plan.for_ever ? number >= plan.at : number == plan.at);
}

bool is_ours(void* caller) {
    dl_find_object found;
    if (_dl_find_object(caller, &found) != 0)
        return false;
    const char* const name = found.dlfo_link_map->l_name;
    return std::strstr(name, "libqmio.so") != nullptr || std::strstr(name, "libstdc++.so") != nullptr;
}

// ---- The blocks that are ours ----

// Far more than are held at once. A freed place is used again; only one that never was ends a search.
struct Place {
    std::atomic<void*> block;
    void* caller = nullptr;
};
constexpr std::size_t kPlaces = std::size_t{1} << 18;
constinit std::array<Place, kPlaces> places;
constinit std::atomic<bool> watching{false};
constinit std::atomic<long> left{0};
constinit char freed_place = 0;

std::size_t first_place(void* block) {
    return (reinterpret_cast<std::uintptr_t>(block) >> 4) * 0x9E3779B97F4A7C15 >> 46;
}

void keep(void* block, void* caller) {
    if (block == nullptr || !watching)
        return;
    for (std::size_t place = first_place(block);; place = (place + 1) % kPlaces) {
        void* seen = places[place].block;
        if (seen != nullptr && seen != &freed_place)
            continue;
        if (places[place].block.compare_exchange_strong(seen, block)) {
            places[place].caller = caller;
            ++left;
            return;
        }
    }
}

void forget(void* block) {
    if (block == nullptr || !watching)
        return;
    for (std::size_t place = first_place(block);; place = (place + 1) % kPlaces) {
        void* const seen = places[place].block;
        if (seen == nullptr)
            return;
        if (seen == block) {
            places[place].block = &freed_place;
            --left;
            return;
        }
    }
}

// ---- Allocators ----

// Whether a block that `caller` asks for is refused.
bool refused(bool ours) {
    const bool any = strikes(Call::any_block);
    return (ours && strikes(Call::our_block)) || any;
}

template <typename Give>
void* block_for(void* caller, Give give) {
    const bool ours = armed || watching ? is_ours(caller) : false;
    if (refused(ours)) {
        errno = ENOMEM;
        return nullptr;
    }
    void* const block = give();
    if (ours)
        keep(block, caller);
    return block;
}

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// Of another library's function, which gets its blocks itself: only a call of ours can be refused here.
template <typename Result, typename Give>
Result by_library(void* caller, Result failure, Give give) {
    const bool ours = (armed || watching) && is_ours(caller);
    return ours && strikes(Call::our_block) ? failure : give(ours);
}

}  // namespace

#define CALLER __builtin_return_address(0)

extern "C" {

void faults_arm(const Fault* fault) {
    plan = *fault;
    for (auto& number : calls)
        number = 0;
    armed = true;
}

void faults_disarm() {
    armed = false;
}

long faults_calls(Call call) {
    return calls[static_cast<std::size_t>(call)];
}

void faults_watch() {
    watching = true;
}

long faults_blocks_left() {
    return left;
}

int faults_callers_left(void** callers, int most) {
    int count = 0;
    for (const Place& place : places) {
        if (place.block != nullptr && place.block != &freed_place && count < most)
            callers[count++] = place.caller;
    }
    return count;
}

void* malloc(std::size_t size) {
    return block_for(CALLER, [=] { return __libc_malloc(size); });
}
void* calloc(std::size_t count, std::size_t size) {
    return block_for(CALLER, [=] { return __libc_calloc(count, size); });
}
void* memalign(std::size_t alignment, std::size_t size) {
    return block_for(CALLER, [=] { return __libc_memalign(alignment, size); });
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return block_for(CALLER, [=] { return __libc_memalign(alignment, size); });
}
int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    *block = block_for(CALLER, [=] { return __libc_memalign(alignment, size); });
    return *block != nullptr ? 0 : ENOMEM;
}
void free(void* block) {
    forget(block);
    __libc_free(block);
}
// What is resized is forgotten before another thread can get its address, and kept again where it stays.
void* realloc(void* block, std::size_t size) {
    void* const caller = CALLER;
    const bool ours = (armed || watching) && is_ours(caller);
    if (refused(ours)) {
        errno = ENOMEM;
        return nullptr;
    }
    const long before = left;
    forget(block);
    const bool was_kept = left != before;
    void* const resized = __libc_realloc(block, size);
    if (ours || was_kept)
        keep(resized != nullptr ? resized : block, caller);
    return resized;
}

// FFmpeg's, where they give a block, or an object that is one.
#define BLOCK_OF(function, parameters, ...)                           \
    void* function parameters {                                       \
        static const auto real = next<void*(*)parameters>(#function); \
        void* const caller = CALLER;                                  \
        return by_library<void*>(caller, nullptr, [=](bool ours) {    \
            void* const block = real(__VA_ARGS__);                    \
            if (ours)                                                 \
                keep(block, caller);                                  \
            return block;                                             \
        });                                                           \
    }
BLOCK_OF(av_malloc, (std::size_t size), size)
BLOCK_OF(av_mallocz, (std::size_t size), size)
BLOCK_OF(av_strdup, (const char* text), text)
BLOCK_OF(av_frame_alloc, ())
BLOCK_OF(av_frame_clone, (const void* frame), frame)
BLOCK_OF(av_packet_alloc, ())
BLOCK_OF(av_audio_fifo_alloc, (int format, int channels, int samples), format, channels, samples)
BLOCK_OF(av_parser_init, (int codec), codec)
BLOCK_OF(avcodec_alloc_context3, (const void* codec), codec)
BLOCK_OF(avformat_alloc_context, ())
BLOCK_OF(swr_alloc, ())

// Those whose block hangs on an object: it is that object's to free.
#define PART_OF(type, failure, function, parameters, ...)                                  \
    type function parameters {                                                             \
        static const auto real = next<type(*) parameters>(#function);                      \
        return by_library<type>(CALLER, failure, [=](bool) { return real(__VA_ARGS__); }); \
    }
#define ENOUGH_FOR(function, parameters, ...) PART_OF(int, -ENOMEM, function, parameters, __VA_ARGS__)
ENOUGH_FOR(av_dict_set, (void** entries, const char* key, const char* value, int flags), entries, key, value, flags)
ENOUGH_FOR(av_frame_ref, (void* frame, const void* source), frame, source)
ENOUGH_FOR(av_frame_get_buffer, (void* frame, int alignment), frame, alignment)
ENOUGH_FOR(av_packet_ref, (void* packet, const void* source), packet, source)
ENOUGH_FOR(av_packet_make_refcounted, (void* packet), packet)
ENOUGH_FOR(avcodec_parameters_copy, (void* target, const void* source), target, source)
ENOUGH_FOR(avcodec_parameters_to_context, (void* context, const void* source), context, source)
ENOUGH_FOR(avcodec_parameters_from_context, (void* target, const void* context), target, context)
PART_OF(void*, nullptr, avformat_new_stream, (void* container, const void* codec), container, codec)
PART_OF(void*, nullptr, sws_getContext,
        (int width, int height, int format, int to_width, int to_height, int to_format, int flags, void* from, void* to,
         const double* parameters),
        width, height, format, to_width, to_height, to_format, flags, from, to, parameters)

// ---- Threads and the system's calls ----

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument) {
    static const auto real = next<decltype(&pthread_create)>("pthread_create");
    return strikes(Call::thread) ? EAGAIN : real(thread, attributes, start, argument);
}

}  // extern "C"

namespace {

template <typename Result>
Result failed(int error) {
    errno = error;
    return static_cast<Result>(-1);
}

// A transfer that the fault lets through has its size cut in `size`.
bool transfer_ends(Call call, std::size_t& size, ssize_t& result) {
    if (!strikes(call))
        return false;
    result = 0;
    if (plan.way == Way::one_byte)
        size = size > 1 ? 1 : size;
    else if (plan.way == Way::error)
        result = failed<ssize_t>(call == Call::read ? EIO : ENOSPC);
    else if (plan.way == Way::interrupted)
        result = failed<ssize_t>(EINTR);
    return plan.way != Way::one_byte;
}

int open_in(int folder, const char* path, int flags, mode_t mode) {
    using Open = int (*)(int, const char*, int, ...);
    static const Open real = next<Open>("openat");
    return strikes(Call::open) ? failed<int>(EMFILE) : real(folder, path, flags, mode);
}

mode_t mode_of(int flags, va_list arguments) {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

}  // namespace

extern "C" {

ssize_t read(int file, void* bytes, std::size_t size) {
    static const auto real = next<decltype(&read)>("read");
    ssize_t result = 0;
    return transfer_ends(Call::read, size, result) ? result : real(file, bytes, size);
}
ssize_t write(int file, const void* bytes, std::size_t size) {
    static const auto real = next<decltype(&write)>("write");
    ssize_t result = 0;
    return transfer_ends(Call::write, size, result) ? result : real(file, bytes, size);
}

#define OPEN(function)                                 \
    int function(const char* path, int flags, ...) {   \
        va_list arguments;                             \
        va_start(arguments, flags);                    \
        const mode_t mode = mode_of(flags, arguments); \
        va_end(arguments);                             \
        return open_in(AT_FDCWD, path, flags, mode);   \
    }
OPEN(open)
OPEN(open64)
int openat(int folder, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = mode_of(flags, arguments);
    va_end(arguments);
    return open_in(folder, path, flags, mode);
}

#define SEEK(function)                                                               \
    off_t function(int file, off_t place, int whence) noexcept {                     \
        static const auto real = next<off_t (*)(int, off_t, int)>(#function);        \
        return strikes(Call::seek) ? failed<off_t>(EIO) : real(file, place, whence); \
    }
SEEK(lseek)
SEEK(lseek64)

#define MAP(function)                                                                                            \
    void* function(void* address, std::size_t size, int protection, int flags, int file, off_t place) noexcept { \
        static const auto real = next<void* (*)(void*, std::size_t, int, int, int, off_t)>(#function);           \
        if (!strikes(Call::map))                                                                                 \
            return real(address, size, protection, flags, file, place);                                          \
        errno = ENOMEM;                                                                                          \
        return MAP_FAILED;                                                                                       \
    }
MAP(mmap)
MAP(mmap64)

#define TRUNCATE(function)                                                       \
    int function(int file, off_t size) noexcept {                                \
        static const auto real = next<int (*)(int, off_t)>(#function);           \
        return strikes(Call::truncate) ? failed<int>(ENOSPC) : real(file, size); \
    }
TRUNCATE(ftruncate)
TRUNCATE(ftruncate64)
// How the library makes room for what it shares.
int posix_fallocate(int file, off_t place, off_t size) {
    static const auto real = next<decltype(&posix_fallocate)>("posix_fallocate");
    return strikes(Call::truncate) ? ENOSPC : real(file, place, size);
}

#define CONTROL(function)                                                                    \
    int function(int file, int command, ...) {                                               \
        static const auto real = next<int (*)(int, int, ...)>(#function);                    \
        va_list arguments;                                                                   \
        va_start(arguments, command);                                                        \
        void* const argument = va_arg(arguments, void*);                                     \
        va_end(arguments);                                                                   \
        return strikes(Call::control) ? failed<int>(ENOLCK) : real(file, command, argument); \
    }
CONTROL(fcntl)
CONTROL(fcntl64)

}  // extern "C"

void* operator new(std::size_t size) {
    void* const block = block_for(CALLER, [=] { return __libc_malloc(size); });
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}
void* operator new[](std::size_t size) {
    void* const block = block_for(CALLER, [=] { return __libc_malloc(size); });
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return block_for(CALLER, [=] { return __libc_malloc(size); });
}
void operator delete(void* block) noexcept {
    forget(block);
    __libc_free(block);
}
void operator delete[](void* block) noexcept {
    forget(block);
    __libc_free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    forget(block);
    __libc_free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    forget(block);
    __libc_free(block);
}
