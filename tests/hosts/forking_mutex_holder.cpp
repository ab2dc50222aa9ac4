// A process that forks without exec while it is inside a named mutex (argument 1):
//   heir             the child idles until standard input ends; answers "locked" and waits to be killed
//   heir_of_mapping  has a mapping of that name instead and kills itself; the child, which goes on using it, then
//                    answers "orphaned" and idles
//   share MAPPING    the child says that it wants in; from the next line of input on both visit the counts in the
//   mapping
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <string>

#include "platform/named_mutex.h"
#include "platform/shared_mapping.h"
#include "support/shared_counts.h"

namespace {

using qmio::platform::NamedMutex;
using qmio::platform::SharedMapping;
using qmio::test::SharedCounts;

void say(const char* line) {
    std::cout << line << std::endl;
}

void idle_until_input_ends() {
    char byte;
    while (::read(STDIN_FILENO, &byte, 1) > 0) {
    }
}

int leave_heir(NamedMutex& mutex) {
    mutex.lock();
    if (::fork() != 0)
        say("locked");
    idle_until_input_ends();
    ::_exit(0);
}

int leave_heir_of_mapping(const std::string& name) {
    const auto mapping = SharedMapping::create(name, 4096);
    if (!mapping)
        return 3;
    const pid_t parent = ::getpid();
    if (::fork() != 0)
        ::raise(SIGKILL);
    while (::getppid() == parent)
        ::usleep(1000);
    static_cast<char*>(mapping->data())[0] = 1;
    say("orphaned");
    idle_until_input_ends();
    ::_exit(0);
}

void visit_often(SharedCounts& counts, int64_t own_mark) {
    for (int i = 0; i < 2000; ++i)
        visit(counts, own_mark);
}

int share_with_child(NamedMutex& mutex, const std::string& mapping_name) {
    const auto mapping = SharedMapping::open(mapping_name);
    if (!mapping)
        return 3;
    auto& counts = *static_cast<SharedCounts*>(mapping->data());
    mutex.lock();
    const pid_t child = ::fork();
    if (child == 0) {
        say("child wants in");
        mutex.lock();
        visit_often(counts, 1);
        ::_exit(0);
    }
    std::string line;
    std::getline(std::cin, line);
    visit_often(counts, 2);
    mutex.unlock();
    int status = -1;
    ::waitpid(child, &status, 0);
    return status == 0 ? 0 : 4;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc >= 3 && std::string(argv[2]) == "heir_of_mapping")
        return leave_heir_of_mapping(argv[1]);
    const auto mutex = argc >= 3 ? NamedMutex::open(argv[1]) : nullptr;
    if (!mutex)
        return 2;
    return argc == 3 ? leave_heir(*mutex) : share_with_child(*mutex, argv[3]);
}
