// A process that takes and gives back a named mutex as its input tells it, line by line:
//   lock              answers "locked" once it is inside
//   unlock            answers "unlocked"
//   count MAPPING N   answers "counting", visits the counts in the mapping N times, each time inside, then "counted"
//   exit              ends the process with the mutex open
#include <cstdlib>
#include <iostream>
#include <random>
#include <sstream>
#include <string>

#include "platform/named_mutex.h"
#include "platform/shared_mapping.h"
#include "support/shared_counts.h"

namespace {

using qmio::platform::NamedMutex;
using qmio::platform::SharedMapping;

void say(const char* line) {
    std::cout << line << std::endl;
}

bool count(NamedMutex& mutex, const std::string& mapping_name, int times) {
    const auto mapping = SharedMapping::open(mapping_name);
    if (!mapping)
        return false;
    auto& counts = *static_cast<qmio::test::SharedCounts*>(mapping->data());
    const auto own_mark = static_cast<int64_t>(std::random_device()());
    say("counting");
    for (int i = 0; i < times; ++i) {
        mutex.lock();
        visit(counts, own_mark);
        mutex.unlock();
    }
    return true;
}

bool obey(NamedMutex& mutex, std::istringstream& order) {
    std::string verb, mapping_name;
    int times = 0;
    order >> verb >> mapping_name >> times;
    if (verb == "lock") {
        mutex.lock();
        say("locked");
    } else if (verb == "unlock") {
        mutex.unlock();
        say("unlocked");
    } else if (verb == "count" && count(mutex, mapping_name, times)) {
        say("counted");
    } else if (verb == "exit") {
        std::exit(0);
    } else {
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    const auto mutex = argc == 2 ? NamedMutex::open(argv[1]) : nullptr;
    if (!mutex)
        return 2;
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream order(line);
        if (!obey(*mutex, order))
            return 3;
    }
    return 0;
}
