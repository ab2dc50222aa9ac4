// One scenario with one fault, in a process of its own.
#pragma once

#include <cstddef>
#include <cstdint>

#include "faults/interposer.h"
#include "faults/scenarios.h"

namespace qmio::test {

struct Point {
    enum class End {
        well,
        undocumented,
        other_answers,
        left_behind,
        crashed,
        hung,
        crashed_elsewhere,
        hung_elsewhere,
        left_elsewhere
    };
    End end = End::hung;
    long calls[static_cast<std::size_t>(Call::count)] = {};  // of each kind
    uint64_t outcome = 0;                                    // under the fault
    uint64_t digest_after = 0;                               // of the answers of the same scenario after it
    long blocks = 0;  // of the library's, descriptors and threads that are there when all is closed
    long descriptors = 0;
    long threads = 0;
    char text[2000] = "";  // what was wrong
};

// What an undisturbed run gives is in `usual`, or null while that is found out.
Point play_point(const Scenario& scenario, const Fault& fault, bool outcome_is_the_same, const Point* usual);

const char* name_of(Point::End end);

}  // namespace qmio::test
