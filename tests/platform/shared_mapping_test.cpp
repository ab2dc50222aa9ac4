#include "platform/shared_mapping.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include "support/process.h"
#include "support/temp_dir.h"

namespace {

using qmio::platform::SharedMapping;
using qmio::test::host_program;
using qmio::test::Process;
using qmio::test::unique_name;

constexpr std::size_t kSize = 65536;
constexpr std::size_t kIndexSize = 17'280'000;

int64_t* numbers(const std::unique_ptr<SharedMapping>& mapping) {
    return static_cast<int64_t*>(mapping->data());
}

bool is_zero(const std::unique_ptr<SharedMapping>& mapping) {
    const auto* bytes = static_cast<const char*>(mapping->data());
    return std::all_of(bytes, bytes + mapping->size(), [](char byte) { return byte == 0; });
}

class SharedMappingTest : public ::testing::Test {
  protected:
    Process user() { return Process(host_program("mapping_user"), {name_}); }

    static std::string ask(Process& process, const std::string& order) {
        process.write_line(order);
        return process.read_line().value_or("(gone)");
    }

    const std::string name_ = "folder/a movie.mp4-" + unique_name();
};

TEST_F(SharedMappingTest, IsZeroWhenCreatedAndAsLargeAsAskedFor) {
    const auto mapping = SharedMapping::create(name_, kIndexSize);
    ASSERT_TRUE(mapping);
    EXPECT_EQ(mapping->size(), kIndexSize);
    EXPECT_TRUE(is_zero(mapping));
    numbers(mapping)[kIndexSize / 8 - 1] = 7;
}

TEST_F(SharedMappingTest, OpeningFindsNothingUntilSomebodyCreates) {
    EXPECT_FALSE(SharedMapping::open(name_));
    const auto mapping = SharedMapping::create(name_, kSize);
    EXPECT_TRUE(SharedMapping::open(name_));
}

TEST_F(SharedMappingTest, AllUsersSeeTheSameNumbers) {
    const auto writer = SharedMapping::create(name_, kIndexSize);
    const auto reader = SharedMapping::open(name_);
    ASSERT_TRUE(writer && reader);
    EXPECT_GE(reader->size(), kIndexSize);
    numbers(writer)[kIndexSize / 8 - 1] = 42;
    EXPECT_EQ(numbers(reader)[kIndexSize / 8 - 1], 42);
}

TEST_F(SharedMappingTest, AnotherProcessSeesTheSameNumbers) {
    const auto mapping = SharedMapping::create(name_, kSize);
    ASSERT_TRUE(mapping);
    numbers(mapping)[3] = -5;
    Process other = user();
    EXPECT_EQ(ask(other, "open"), "ok");
    EXPECT_EQ(ask(other, "get 3"), "-5");
    EXPECT_EQ(ask(other, "put 4 77"), "ok");
    EXPECT_EQ(numbers(mapping)[4], 77);
}

TEST_F(SharedMappingTest, CreatingAttachesToALivingOne) {
    const auto first = SharedMapping::create(name_, kSize);
    ASSERT_TRUE(first);
    numbers(first)[0] = 9;
    const auto second = SharedMapping::create(name_, kSize);
    ASSERT_TRUE(second);
    EXPECT_EQ(numbers(second)[0], 9);
}

TEST_F(SharedMappingTest, ALivingOneOfAnotherSizeIsRefused) {
    const auto first = SharedMapping::create(name_, kSize);
    ASSERT_TRUE(first);
    EXPECT_FALSE(SharedMapping::create(name_, kIndexSize));
    EXPECT_FALSE(SharedMapping::create(name_, kSize / 2));
    EXPECT_TRUE(SharedMapping::open(name_));
}

TEST_F(SharedMappingTest, LivesUntilItsLastUserLeaves) {
    auto creator = SharedMapping::create(name_, kSize);
    ASSERT_TRUE(creator);
    numbers(creator)[0] = 1;
    auto reader = SharedMapping::open(name_);
    creator.reset();
    EXPECT_TRUE(SharedMapping::open(name_));
    reader.reset();
    EXPECT_FALSE(SharedMapping::open(name_));
    const auto fresh = SharedMapping::create(name_, kSize);
    ASSERT_TRUE(fresh);
    EXPECT_TRUE(is_zero(fresh));
}

TEST_F(SharedMappingTest, AnotherProcessKeepsItAlive) {
    Process other = user();
    auto creator = SharedMapping::create(name_, kSize);
    ASSERT_TRUE(creator);
    EXPECT_EQ(ask(other, "open"), "ok");
    creator.reset();
    EXPECT_TRUE(SharedMapping::open(name_));
    EXPECT_EQ(ask(other, "close"), "ok");
    EXPECT_FALSE(SharedMapping::open(name_));
}

TEST_F(SharedMappingTest, WhatAKilledProcessLeftCountsAsNone) {
    for (const bool look_first : {true, false}) {
        Process victim = user();
        EXPECT_EQ(ask(victim, "create 65536"), "ok");
        EXPECT_EQ(ask(victim, "put 0 99"), "ok");
        victim.kill();
        EXPECT_LT(victim.wait(), 0);
        if (look_first) {
            EXPECT_FALSE(SharedMapping::open(name_));
        }
        const auto fresh = SharedMapping::create(name_, kSize);
        ASSERT_TRUE(fresh);
        EXPECT_TRUE(is_zero(fresh));
    }
}

TEST_F(SharedMappingTest, WhatAKilledProcessLeftMayHaveAnotherSize) {
    Process victim = user();
    EXPECT_EQ(ask(victim, "create 65536"), "ok");
    victim.kill();
    victim.wait();
    EXPECT_TRUE(SharedMapping::create(name_, kIndexSize));
}

TEST_F(SharedMappingTest, SurvivesTheDeathOfItsCreator) {
    Process victim = user();
    EXPECT_EQ(ask(victim, "create 65536"), "ok");
    EXPECT_EQ(ask(victim, "put 0 99"), "ok");
    const auto mapping = SharedMapping::open(name_);
    ASSERT_TRUE(mapping);
    victim.kill();
    victim.wait();
    EXPECT_EQ(numbers(mapping)[0], 99);
    const auto another = SharedMapping::open(name_);
    ASSERT_TRUE(another);
    EXPECT_EQ(numbers(another)[0], 99);
}

// Whoever has it at some moment, everybody who comes then must get the same one.
TEST_F(SharedMappingTest, UsersThatComeAndGoAlwaysMeet) {
    constexpr std::size_t kLargeEnoughToTakeTime = 1 << 20;
    constexpr int kVisitors = 4;
    std::atomic<int> failures = 0;
    const auto visitor = [&](int slot) {
        for (int i = 1; i <= 400; ++i) {
            const auto mine = SharedMapping::create(name_, kLargeEnoughToTakeTime);
            if (mine)
                std::atomic_ref<int64_t>(numbers(mine)[slot]).store(i);
            const auto again = SharedMapping::open(name_);
            if (!mine || !again || std::atomic_ref<int64_t>(numbers(again)[slot]).load() != i)
                ++failures;
        }
    };
    std::vector<std::thread> threads;
    for (int slot = 0; slot < kVisitors; ++slot)
        threads.emplace_back(visitor, slot);
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_FALSE(SharedMapping::open(name_));
}

TEST_F(SharedMappingTest, LookingForItNeverTakesItFromItsCreator) {
    std::atomic<bool> done = false;
    std::vector<std::thread> lookers;
    for (int i = 0; i < 3; ++i)
        lookers.emplace_back([&] {
            while (!done)
                SharedMapping::open(name_);
        });
    int failures = 0;
    for (int i = 0; i < 4000; ++i) {
        const auto mine = SharedMapping::create(name_, kSize);
        failures += mine && SharedMapping::open(name_) ? 0 : 1;
    }
    done = true;
    for (auto& looker : lookers)
        looker.join();
    EXPECT_EQ(failures, 0);
}

TEST_F(SharedMappingTest, ProcessesKilledAtAnyMomentLeaveNothingThatCounts) {
    for (int i = 0; i < 30; ++i) {
        Process first = user();
        Process second = user();
        EXPECT_EQ(ask(first, "churn"), "churning");
        EXPECT_EQ(ask(second, "churn"), "churning");
        first.kill();
        second.kill();
        first.wait();
        second.wait();
        EXPECT_FALSE(SharedMapping::open(name_));
        const auto fresh = SharedMapping::create(name_, kSize);
        ASSERT_TRUE(fresh);
        EXPECT_TRUE(is_zero(fresh));
    }
}

TEST_F(SharedMappingTest, NamesMayBeLongAndInAnyLanguage) {
    for (const std::string& name : {std::string(900, 'n') + name_, "//видео/映像/" + name_ + "/🎬.mov"}) {
        const auto mapping = SharedMapping::create(name, kSize);
        ASSERT_TRUE(mapping);
        numbers(mapping)[0] = 5;
        const auto other_name = SharedMapping::create(name + "2", kSize);
        ASSERT_TRUE(other_name);
        EXPECT_EQ(numbers(other_name)[0], 0);
        EXPECT_EQ(numbers(SharedMapping::open(name))[0], 5);
    }
}

}  // namespace
