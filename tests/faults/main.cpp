// fault_points [SCENARIO [KIND [POINT]]]
//   Plays every scenario (or the one of this name) once for each point at which something can fail: the k-th call of a kind
//   (or of those kinds whose names begin so), for every k (or this one). Without QMIO_SWEEP=all a sample of the points is
//   drawn. Prints a table and what went wrong; ends with 0 where nothing of the library's did.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "faults/one_point.h"
#include "support/seed.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::test;

struct Kind {
    const char* name;
    Fault fault;
    bool outcome_is_the_same = false;  // as without it
};

constexpr Kind kKinds[] = {
    {"our memory, once", {Call::our_block, Way::error, false}},
    {"our memory, for ever", {Call::our_block, Way::error, true}},
    {"any memory, once", {Call::any_block, Way::error, false}},
    {"thread, once", {Call::thread, Way::error, false}, true},
    {"thread, for ever", {Call::thread, Way::error, true}, true},
    {"read, once", {Call::read, Way::error, false}},
    {"read, for ever", {Call::read, Way::error, true}},
    {"read of a byte, once", {Call::read, Way::one_byte, false}, true},
    {"read of a byte, for ever", {Call::read, Way::one_byte, true}, true},
    {"read interrupted, once", {Call::read, Way::interrupted, false}, true},
    {"read of 0, once", {Call::read, Way::nothing, false}},
    {"read of 0, for ever", {Call::read, Way::nothing, true}},
    {"write, once", {Call::write, Way::error, false}},
    {"write, for ever", {Call::write, Way::error, true}},
    {"write of a byte, once", {Call::write, Way::one_byte, false}, true},
    {"write interrupted, once", {Call::write, Way::interrupted, false}, true},
    {"seek, once", {Call::seek, Way::error, false}},
    {"seek, for ever", {Call::seek, Way::error, true}},
    {"open, once", {Call::open, Way::error, false}},
    {"open, for ever", {Call::open, Way::error, true}},
    {"mmap, once", {Call::map, Way::error, false}},
    {"mmap, for ever", {Call::map, Way::error, true}},
    {"ftruncate, once", {Call::truncate, Way::error, false}},
    {"ftruncate, for ever", {Call::truncate, Way::error, true}},
    {"fcntl, once", {Call::control, Way::error, false}},
    {"fcntl, for ever", {Call::control, Way::error, true}},
};

// Of points that the whole is made of, and of those that are drawn: fewer are a failure of this program.
constexpr long kFewestPoints = 10;
constexpr long kFewestDrawn = 2;
constexpr long kDrawn = 1;
constexpr unsigned kSeed = 20261122;

bool is_elsewhere(Point::End end) {
    return end >= Point::End::crashed_elsewhere;
}

struct Tally {
    long points = 0, well = 0, ours = 0, elsewhere = 0;
    void add(Point::End end) {
        ++points;
        well += end == Point::End::well;
        elsewhere += is_elsewhere(end);
        ours += end != Point::End::well && !is_elsewhere(end);
    }
    void add(const Tally& other) {
        points += other.points;
        well += other.well;
        ours += other.ours;
        elsewhere += other.elsewhere;
    }
};

class Sweep {
  public:
    Sweep(bool all, long only) : all_(all), only_(only), dice_(all ? 1 : printed_seed(kSeed)) {}

    // All kinds, or those whose names begin so.
    void play(const Scenario& scenario, const char* kinds) {
        const Point usual = play_point(scenario, {}, false, nullptr);
        if (usual.end != Point::End::well)
            return complain(scenario, "without a fault", 0, usual);
        Tally whole;
        for (const Kind& kind : kKinds) {
            if (std::string_view(kind.name).starts_with(kinds))
                whole.add(play(scenario, kind, usual));
        }
        if (*kinds == '\0' && whole.points < (all_ ? kFewestPoints : kFewestDrawn))
            complain(scenario, "too few points", whole.points, usual);
        total_.add(whole);
    }

    // Prints what was found elsewhere, and whether nothing was found in the library.
    bool end() const {
        std::printf("| all | | %ld | %ld | %ld | %ld |\n\n", total_.points, total_.well, total_.ours, total_.elsewhere);
        for (const auto& [stack, count] : stacks_)
            std::printf("%ld x %s\n", count, stack.c_str());
        std::printf("%ld points, %ld failures\n", total_.points, failures_);
        return failures_ == 0;
    }

  private:
    Tally play(const Scenario& scenario, const Kind& kind, const Point& usual) {
        Tally tally;
        for (const long at : places(usual.calls[static_cast<std::size_t>(kind.fault.call)]))
            tally.add(play(scenario, kind, at, usual));
        if (tally.points > 0 && (all_ || tally.ours > 0))
            std::printf("| %s | %s | %ld | %ld | %ld | %ld |\n", scenario.name, kind.name, tally.points, tally.well,
                        tally.ours, tally.elsewhere);
        std::fflush(stdout);
        return tally;
    }

    Point::End play(const Scenario& scenario, const Kind& kind, long at, const Point& usual) {
        Fault fault = kind.fault;
        fault.at = at;
        const bool same =
            kind.outcome_is_the_same && (scenario.takes_what_threads_there_are || kind.fault.call != Call::thread);
        const Point point = play_point(scenario, fault, same, &usual);
        if (is_elsewhere(point.end))
            ++stacks_[name_of(point.end) + std::string(" ") + point.text];
        else if (point.end != Point::End::well)
            complain(scenario, kind.name, at, point);
        return point.end;
    }

    std::vector<long> places(long calls) {
        std::vector<long> result;
        if (only_ > 0)
            return {only_};
        for (long place = 1; all_ && place <= calls; ++place)
            result.push_back(place);
        for (long draw = 0; !all_ && draw < std::min(kDrawn, calls); ++draw)
            result.push_back(dice_.up_to(static_cast<int>(calls)));
        return result;
    }

    void complain(const Scenario& scenario, const char* kind, long at, const Point& point) {
        ++failures_;
        std::printf("FAILED %s, %s, %ld: %s: %s\n", scenario.name, kind, at, name_of(point.end), point.text);
        std::fflush(stdout);
    }

    const bool all_;
    const long only_;  // point; 0: as many as there are
    Dice dice_;
    Tally total_;
    long failures_ = 0;
    std::map<std::string, long> stacks_;
};

}  // namespace

int main(int argc, char** argv) {
    const TempDir folder;
    prepare_scenarios(folder.path().c_str());
    if (std::freopen("/dev/null", "w", stderr) == nullptr)
        return 2;
    Sweep sweep(runs_whole_sweep(), argc < 4 ? 0 : std::atol(argv[3]));
    std::printf("| scenario | what fails | points | well | wrong in the library | wrong elsewhere |\n");
    std::printf("|---|---|---|---|---|---|\n");
    for (const Scenario& scenario : scenarios()) {
        if (argc < 2 || *argv[1] == 0 || std::strcmp(scenario.name, argv[1]) == 0)
            sweep.play(scenario, argc < 3 ? "" : argv[2]);
    }
    return sweep.end() ? 0 : 1;
}
