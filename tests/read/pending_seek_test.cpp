// The decisions on the way to a sought picture, without any file.
#include "read/pending_seek.h"

#include <gtest/gtest.h>

#include <vector>

namespace qmio::read {
namespace {

using Verdict = PendingSeek::Verdict;

// The frames before which the container is put, one after another, until the start of the source.
std::vector<int32_t> landings(PendingSeek pending, int32_t frame_count) {
    std::vector<int32_t> aims;
    while (!pending.is_at_start())
        aims.push_back(pending.step_back(frame_count));
    return aims;
}

TEST(PendingSeek, StepsBackTwiceAsFarEachTimeUntilTheStart) {
    EXPECT_EQ(landings(PendingSeek(100, Landing::key_packet), 1000), (std::vector<int32_t>{84, 68, 36, 0}));
    EXPECT_EQ(landings(PendingSeek(10, Landing::key_packet), 1000), (std::vector<int32_t>{0}));
    EXPECT_EQ(landings(PendingSeek(0, Landing::key_packet), 1000), (std::vector<int32_t>{0}));
}

TEST(PendingSeek, BehindTheLastFrameItStepsBackFromThere) {
    EXPECT_EQ(landings(PendingSeek(1000000, Landing::key_packet), 50), (std::vector<int32_t>{34, 18, 0}));
    EXPECT_EQ(landings(PendingSeek(1000000, Landing::key_packet), 0), (std::vector<int32_t>{0}));
}

TEST(PendingSeek, AnExactLandingIsFollowedByTheKeyPacketBeforeTheTarget) {
    EXPECT_EQ(landings(PendingSeek(100, Landing::any_packet), 1000), (std::vector<int32_t>{100, 84, 68, 36, 0}));
}

TEST(PendingSeek, LeavesPacketsOutUntilAKeyPacketComes) {
    PendingSeek pending(100, Landing::key_packet);
    EXPECT_TRUE(pending.needs_key());
    EXPECT_EQ(pending.judge_packet(90, false), Verdict::go_on);
    EXPECT_EQ(pending.judge_packet(95, true), Verdict::reached);
    EXPECT_FALSE(pending.needs_key());
}

TEST(PendingSeek, APacketBehindTheTargetMeansThatTheLandingWasTooLate) {
    PendingSeek pending(100, Landing::key_packet);
    EXPECT_EQ(pending.judge_packet(101, false), Verdict::step_back);
    EXPECT_EQ(pending.judge_packet(101, true), Verdict::step_back);
}

TEST(PendingSeek, APictureIsTheTargetWhenItsNumberIsOrWhenEarlierOnesWereSeen) {
    EXPECT_EQ(PendingSeek(100, Landing::key_packet).judge_picture({100}), Verdict::reached);
    EXPECT_EQ(PendingSeek(100, Landing::key_packet).judge_picture({101}), Verdict::step_back);
    PendingSeek pending(100, Landing::key_packet);
    EXPECT_EQ(pending.judge_picture({99}), Verdict::go_on);
    EXPECT_EQ(pending.judge_picture({101}), Verdict::reached);
}

TEST(PendingSeek, PicturesWithoutTimeAreCountedFromTheStartAlone) {
    PendingSeek pending(3, Landing::key_packet);
    EXPECT_EQ(pending.judge_picture({0, false}), Verdict::step_back);
    pending.step_back(100);
    EXPECT_EQ(pending.judge_picture({2, false}), Verdict::go_on);
    EXPECT_EQ(pending.judge_picture({3, false}), Verdict::reached);
}

TEST(PendingSeek, PicturesThatOnlyLieOnTheWayMayBeLeftOut) {
    PendingSeek pending(100, Landing::key_packet);
    EXPECT_TRUE(pending.may_leave_out(98));
    EXPECT_FALSE(pending.may_leave_out(99));
    EXPECT_FALSE(pending.may_leave_out(100));
}

TEST(PendingSeek, ADamagedWayIsBegunAgainWholeAtTheStart) {
    PendingSeek pending(100, Landing::key_packet);
    pending.judge_picture({50, true, true});
    EXPECT_EQ(pending.judge_picture({100}), Verdict::step_back);
    EXPECT_TRUE(pending.must_begin_again());
    pending.begin_again();
    EXPECT_FALSE(pending.may_leave_out(0));
    EXPECT_FALSE(pending.needs_key());
    pending.note_broken_packet();
    EXPECT_EQ(pending.judge_picture({100, true, true}), Verdict::reached);
}

TEST(PendingSeek, PicturesThatReferToOthersCountFromTheFirstThatIsWholeOn) {
    const Passed unfounded{99, true, false, false};
    PendingSeek pending(100, Landing::key_packet);
    EXPECT_EQ(pending.judge_picture(unfounded), Verdict::go_on);
    EXPECT_EQ(pending.judge_picture({100, true, false, false}), Verdict::step_back);
    PendingSeek later(100, Landing::key_packet);
    EXPECT_EQ(later.judge_picture(unfounded), Verdict::go_on);
    EXPECT_EQ(later.judge_picture({99}), Verdict::go_on);
    EXPECT_EQ(later.judge_picture({100, true, false, false}), Verdict::reached);
    PendingSeek from_start(100, Landing::start);
    EXPECT_EQ(from_start.judge_picture({100, true, false, false}), Verdict::reached);
}

TEST(PendingSeek, WhatIsDamagedBeforeTheFirstWholePictureDoesNotMatter) {
    PendingSeek pending(100, Landing::key_packet);
    pending.note_broken_packet();
    pending.judge_picture({98, true, true, false});
    pending.judge_picture({99});
    EXPECT_EQ(pending.judge_picture({100}), Verdict::reached);
}

TEST(PendingSeek, FromNowhereItMustLandByTime) {
    PendingSeek pending(100, Landing::nowhere);
    EXPECT_TRUE(pending.must_land());
    EXPECT_TRUE(pending.by_time());
    pending.land();
    EXPECT_FALSE(pending.must_land());
    EXPECT_FALSE(PendingSeek(100, Landing::key_packet).must_land());
}

TEST(PendingSeek, TheEndOfTheInputIsBelievedWhenSomethingWasSeenBefore) {
    PendingSeek pending(100, Landing::key_packet);
    EXPECT_EQ(pending.judge_end(), Verdict::step_back);
    pending.judge_picture({7});
    EXPECT_EQ(pending.judge_end(), Verdict::reached);
}

}  // namespace
}  // namespace qmio::read
