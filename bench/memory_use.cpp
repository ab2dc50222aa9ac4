#include "memory_use.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>

namespace bench {

long peak_memory(const std::function<void()>& work) {
    const pid_t child = fork();
    if (child == 0) {
        try {
            work();
        } catch (const std::exception&) {
            _exit(1);
        }
        _exit(0);
    }
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child || status != 0)
        throw std::runtime_error("the work failed in another process");
    return usage.ru_maxrss;
}

long resident_memory() {
    long whole = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> whole >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

}  // namespace bench
