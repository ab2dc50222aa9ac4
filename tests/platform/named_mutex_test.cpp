#include "platform/named_mutex.h"

#include <gtest/gtest.h>

#include <mutex>
#include <thread>
#include <vector>

#include "platform/shared_mapping.h"
#include "support/process.h"
#include "support/shared_counts.h"
#include "support/temp_dir.h"

namespace {

using qmio::platform::NamedMutex;
using qmio::platform::SharedMapping;
using qmio::test::host_program;
using qmio::test::Process;
using qmio::test::SharedCounts;
using qmio::test::unique_name;

class NamedMutexTest : public ::testing::Test {
  protected:
    Process holder() { return Process(host_program("mutex_holder"), {name_}); }

    static void locks(Process& process) {
        process.write_line("lock");
        ASSERT_EQ(process.read_line(), "locked");
    }

    // Sees to it that the mutex is free, by a process that must be let in.
    void expect_free() {
        Process other = holder();
        locks(other);
        other.write_line("unlock");
        EXPECT_EQ(other.read_line(), "unlocked");
        EXPECT_EQ(other.wait(), 0);
    }

    void SetUp() override {
        mapping_ = SharedMapping::create(mapping_name_, 65536);
        ASSERT_TRUE(mapping_);
    }

    SharedCounts& counts() const { return *static_cast<SharedCounts*>(mapping_->data()); }
    std::string count_order(int times) const { return "count " + mapping_name_ + " " + std::to_string(times); }

    const std::string mapping_name_ = "counts-" + unique_name();
    std::unique_ptr<SharedMapping> mapping_;
    const std::string name_ = "C:/some folder/qmio.cfx.mx-" + unique_name();
};

TEST_F(NamedMutexTest, ThreadsAreInsideOneAtATime) {
    int visits = 0;  // unguarded otherwise: the thread sanitizer watches it
    const auto visitor = [&] {
        const auto mutex = NamedMutex::open(name_);
        ASSERT_TRUE(mutex);
        for (int i = 0; i < 2000; ++i) {
            const std::lock_guard guard(*mutex);
            const int before = visits;
            std::this_thread::yield();
            visits = before + 1;
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(visitor);
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(visits, 4 * 2000);
}

TEST_F(NamedMutexTest, AThreadInsideMayEnterAgainAndLeavesAtItsLastUnlock) {
    const auto mutex = NamedMutex::open(name_);
    const auto same = NamedMutex::open(name_);
    ASSERT_TRUE(mutex && same);
    Process other = holder();
    other.write_line(count_order(1000));
    EXPECT_EQ(other.read_line(), "counting");
    for (int i = 0; i < 1000; ++i) {
        mutex->lock();
        same->lock();
        mutex->lock();
        mutex->unlock();
        same->unlock();
        visit(counts(), -1);
        mutex->unlock();
    }
    EXPECT_EQ(other.read_line(), "counted");
    EXPECT_EQ(counts().visits, 2000);
    EXPECT_EQ(counts().meetings, 0);
}

TEST_F(NamedMutexTest, UnlockOfAThreadThatIsNotInsideChangesNothing) {
    const auto mutex = NamedMutex::open(name_);
    ASSERT_TRUE(mutex);
    mutex->unlock();
    mutex->lock();
    std::thread([&] { mutex->unlock(); }).join();
    mutex->unlock();
    expect_free();
}

TEST_F(NamedMutexTest, ProcessesAreNeverInsideTogether) {
    std::vector<Process> processes;
    for (int i = 0; i < 3; ++i)
        processes.push_back(holder());
    for (auto& process : processes)
        process.write_line(count_order(3000));
    for (auto& process : processes) {
        EXPECT_EQ(process.read_line(), "counting");
        EXPECT_EQ(process.read_line(), "counted");
        EXPECT_EQ(process.wait(), 0);
    }
    EXPECT_EQ(counts().visits, 3 * 3000);
    EXPECT_EQ(counts().meetings, 0);
}

TEST_F(NamedMutexTest, AProcessWaitsWhileAnotherIsInside) {
    Process first = holder();
    Process second = holder();
    locks(first);
    second.write_line("lock");
    first.write_line("unlock");
    EXPECT_EQ(first.read_line(), "unlocked");
    EXPECT_EQ(second.read_line(), "locked");
}

TEST_F(NamedMutexTest, KilledInsideLetsTheNextProcessIn) {
    Process victim = holder();
    Process next = holder();
    locks(victim);
    next.write_line("lock");
    victim.kill();
    EXPECT_LT(victim.wait(), 0);
    EXPECT_EQ(next.read_line(), "locked");
}

TEST_F(NamedMutexTest, KilledInsideLetsAWaitingThreadIn) {
    const auto mutex = NamedMutex::open(name_);
    ASSERT_TRUE(mutex);
    Process victim = holder();
    locks(victim);
    std::thread waiting([&] {
        mutex->lock();
        mutex->unlock();
    });
    victim.kill();
    waiting.join();
}

TEST_F(NamedMutexTest, ProcessesKilledAtAnyMomentNeverBreakIt) {
    Process survivor = holder();
    survivor.write_line(count_order(5000));
    EXPECT_EQ(survivor.read_line(), "counting");
    for (int i = 0; i < 20; ++i) {
        Process victim = holder();
        victim.write_line(count_order(1'000'000'000));
        EXPECT_EQ(victim.read_line(), "counting");
        victim.kill();
        victim.wait();
    }
    EXPECT_EQ(survivor.read_line(), "counted");
    EXPECT_EQ(counts().meetings, 0);
    expect_free();
}

TEST_F(NamedMutexTest, ClosingOneOfTwoLeavesTheOtherInPossession) {
    auto closed = NamedMutex::open(name_);
    const auto kept = NamedMutex::open(name_);
    ASSERT_TRUE(closed && kept);
    kept->lock();
    closed.reset();
    Process other = holder();
    other.write_line("lock");
    kept->unlock();
    EXPECT_EQ(other.read_line(), "locked");
}

TEST_F(NamedMutexTest, OtherNamesAreOtherMutexes) {
    const auto mutex = NamedMutex::open(name_);
    ASSERT_TRUE(mutex);
    const std::lock_guard guard(*mutex);
    Process other(host_program("mutex_holder"), {name_ + "x"});
    locks(other);
}

TEST_F(NamedMutexTest, NamesMayBeLongAndInAnyLanguage) {
    for (const std::string& name : {std::string(900, 'n') + unique_name(), "/видео/映像/" + unique_name() + "/🎬.mx"}) {
        const auto mutex = NamedMutex::open(name);
        ASSERT_TRUE(mutex);
        const std::lock_guard guard(*mutex);
    }
}

}  // namespace
