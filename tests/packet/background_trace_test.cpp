// What the console tells of a source that is read in the background.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "core/process/settings.h"
#include "packet/background_play.h"

namespace qmio::test {
namespace {

using packet::Range;

// The settings are read-only to the library, not to its tests.
class Switch {
  public:
    Switch(TraceSwitch category, int32_t value) : category_(static_cast<std::size_t>(category)) { set(value); }
    Switch(const Switch&) = delete;
    Switch& operator=(const Switch&) = delete;
    ~Switch() { set(0); }

  private:
    void set(int32_t value) { const_cast<Settings&>(settings()).trace[category_] = value; }

    std::size_t category_;
};

std::vector<std::string> console_of_playing(const Range& range) {
    testing::internal::CaptureStderr();
    {
        Player player(media_path("mjpeg.avi"), kOneThread);
        qmio_fifo_ts(player.handle(), range.in, range.out, range.loop_in, range.loop_out, range.loops);
        play(player);
    }
    std::istringstream text(testing::internal::GetCapturedStderr());
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);)
        if (line.find("avfifo_get") == line.npos)  // whether the host had to wait is up to the two threads
            lines.push_back(line);
    return lines;
}

TEST(BackgroundReader, TellsWhatItReads) {
    const Switch fifo(TraceSwitch::fifo, 2);
    const std::vector<std::string> expected{
        "*** avfifo_reader: start, in 0 out 120000 loop_in 40000 loop_out 80000 loops 2",
        "+V\t0",
        "+V\t40000",
        "avfifo_loop: wrap at 120000, in_loop 40000, ts_off 80000",
        "push EOF",
        "+V\t120000",
        "+V\t160000",
        "push EOF",
        "*** avfifo_reader: stop, 8 packets read"};
    std::vector<std::string> lines = console_of_playing({0, 120'000, 40'000, 80'000, 2});
    // The host may close while the reader still tells of its end.
    EXPECT_EQ(std::erase(lines, "*** avfifo_delete: video read 6 decode 6, audio read 0 decode 0"), 1U);
    EXPECT_EQ(lines, expected);
}

TEST(BackgroundReader, TellsWhatTheHostTakes) {
    const Switch decoder(TraceSwitch::decoder, 3);
    const std::vector<std::string> expected{"V1\t0", "V2\t40000", "V3\t80000", "=== pkt type -1,  120001"};
    EXPECT_EQ(console_of_playing({0, 120'000, 0, 120'000, 1}), expected);
}

}  // namespace
}  // namespace qmio::test
