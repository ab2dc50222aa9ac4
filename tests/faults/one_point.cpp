#include "faults/one_point.h"

#include <dirent.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>

namespace qmio::test {
namespace {

constexpr unsigned kSeconds = 20;  // far above what any point needs on a loaded machine
constexpr int kMostCallers = 8;

Point* shared = nullptr;  // with the process of the point
bool fault_is_ours = false;
bool fault_is_anyones = false;  // FFmpeg may call what it did not make then: the place is unknown

void append(const char* format, const char* text, unsigned long number) {
    const std::size_t length = std::strlen(shared->text);
    std::snprintf(shared->text + length, sizeof shared->text - length, format, text, number);
}

bool is_in(const char* file, std::initializer_list<const char*> libraries) {
    return std::any_of(libraries.begin(), libraries.end(),
                       [=](const char* library) { return std::strstr(file, library) != nullptr; });
}

void append_address(void* address) {
    Dl_info info{};
    if (dladdr(address, &info) == 0)
        return append(" ?%s+0x%lx", "", reinterpret_cast<unsigned long>(address));
    const char* const slash = std::strrchr(info.dli_fname, '/');
    const char* const file = slash != nullptr ? slash + 1 : info.dli_fname;
    if (info.dli_sname != nullptr)
        append(" %s", info.dli_sname, 0);
    else
        append(" %s+0x%lx", file,
               static_cast<unsigned long>(static_cast<char*>(address) - static_cast<char*>(info.dli_fbase)));
}

// The innermost frame that is neither the C library's nor this program's tells whose crash it is; the text names the
// frames from there on outwards.
bool describe_stack() {
    std::array<void*, 60> frames{};
    const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
    bool ours = false;
    int named = 0;
    for (int frame = 0; frame < count && named < 6; ++frame) {
        Dl_info info{};
        const bool known = dladdr(frames[static_cast<std::size_t>(frame)], &info) != 0;
        if (known && named == 0 &&
            is_in(info.dli_fname,
                  {"libc.so", "libstdc++", "libgcc", "fault_points", "fault_loading", "fault_interposer"}))
            continue;
        if (named == 0)
            ours = known && is_in(info.dli_fname, {"libqmio"});
        append_address(frames[static_cast<std::size_t>(frame)]);
        ++named;
    }
    return ours || (named == 0 && !fault_is_anyones);
}

void on_signal(int signal) {
    faults_disarm();
    append("%ssignal %lu:", "", static_cast<unsigned long>(signal));
    const bool ours = describe_stack();
    if (ours || fault_is_ours)
        shared->end = signal == SIGALRM ? Point::End::hung : Point::End::crashed;
    else
        shared->end = signal == SIGALRM ? Point::End::hung_elsewhere : Point::End::crashed_elsewhere;
    _exit(1);
}

void catch_signals() {
    static std::array<char, 1 << 16> stack;
    const stack_t other{stack.data(), 0, stack.size()};
    sigaltstack(&other, nullptr);
    struct sigaction action {};
    action.sa_handler = on_signal;
    action.sa_flags = static_cast<int>(SA_ONSTACK | SA_RESETHAND);
    for (const int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL, SIGPIPE, SIGALRM})
        sigaction(signal, &action, nullptr);
    std::array<void*, 1> frame{};
    backtrace(frame.data(), 1);  // loads what it needs now
}

long entries_of(const char* folder) {
    DIR* const entries = opendir(folder);
    if (entries == nullptr)
        return 0;
    long count = 0;
    while (readdir(entries) != nullptr)
        ++count;
    closedir(entries);
    return count;
}

// Threads that were joined leave the system's list a little later.
long threads_in_the_end() {
    long count = entries_of("/proc/self/task");
    for (int wait = 0; count > 3 && wait < 200; ++wait) {
        usleep(1000);
        count = entries_of("/proc/self/task");
    }
    return count;
}

void describe_blocks() {
    std::array<void*, kMostCallers> callers{};
    const int count = faults_callers_left(callers.data(), kMostCallers);
    append("%sblocks of", "", 0);
    std::for_each_n(callers.begin(), count, append_address);
}

Point::End judge(const Point& point, const Answers& first, const Answers& after, bool same, const Point* usual) {
    for (const char* call : {first.undocumented(), after.undocumented()}) {
        if (call != nullptr) {
            append("an undocumented answer of %s", call, 0);
            return Point::End::undocumented;
        }
    }
    if (usual == nullptr)
        return Point::End::well;
    if (point.digest_after != usual->digest_after || (same && point.outcome != usual->outcome)) {
        append("other answers %s", point.digest_after != usual->digest_after ? "after" : "under the fault", 0);
        return Point::End::other_answers;
    }
    if (point.descriptors > usual->descriptors || point.blocks > usual->blocks) {
        append("%s%lu blocks too many, ", "", static_cast<unsigned long>(std::max(point.blocks - usual->blocks, 0L)));
        append("%s%lu descriptors,", "", static_cast<unsigned long>(point.descriptors - usual->descriptors));
        describe_blocks();
        return Point::End::left_behind;
    }
    // A thread of the library's holds blocks of the library's.
    if (point.threads > usual->threads)
        return Point::End::left_elsewhere;
    return Point::End::well;
}

void play_here(const Scenario& scenario, const Fault& fault, bool same, const Point* usual) {
    catch_signals();
    alarm(kSeconds);
    fault_is_ours = fault.call == Call::our_block;
    fault_is_anyones = fault.call == Call::any_block;
    begin_process();
    faults_watch();
    Answers first, after;
    faults_arm(&fault);
    scenario.play(first);
    faults_disarm();
    for (std::size_t call = 0; call < std::size(shared->calls); ++call)
        shared->calls[call] = faults_calls(static_cast<Call>(call));
    scenario.play(after);
    shared->outcome = first.outcome();
    shared->digest_after = after.digest();
    shared->threads = threads_in_the_end();
    shared->blocks = faults_blocks_left();
    shared->descriptors = entries_of("/proc/self/fd");
    shared->end = judge(*shared, first, after, same, usual);
}

}  // namespace

Point play_point(const Scenario& scenario, const Fault& fault, bool outcome_is_the_same, const Point* usual) {
    static void* const memory = mmap(nullptr, sizeof(Point), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    shared = new (memory) Point;
    const pid_t process = fork();
    if (process == 0) {
        play_here(scenario, fault, outcome_is_the_same, usual);
        _exit(0);
    }
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    if (shared->end == Point::End::hung && WIFSIGNALED(status)) {
        append("%skilled by signal %lu", "", static_cast<unsigned long>(WTERMSIG(status)));
        shared->end = Point::End::crashed;
    }
    return *shared;
}

const char* name_of(Point::End end) {
    static constexpr const char* names[] = {
        "well", "undocumented answer", "other answers",  "left behind",           "crashed",
        "hung", "crashed elsewhere",   "hung elsewhere", "threads left elsewhere"};
    return names[static_cast<std::size_t>(end)];
}

}  // namespace qmio::test
