// The decisions on the way to a sought picture, without any file.
#include "read/pending_seek.h"

#include <gtest/gtest.h>

#include <vector>

namespace qmio::read {
namespace {

using Verdict = PendingSeek::Verdict;

const Passed kWhole{91};
const Passed kDamaged{92, true, true, false};

// The frames before which the container is put, one after another, until the start of the source.
std::vector<int32_t> landings(PendingSeek pending, int32_t frame_count) {
    std::vector<int32_t> aims;
    while (!pending.is_at_start())
        aims.push_back(pending.earlier_landing(frame_count));
    return aims;
}

class SeekPending : public testing::Test {
  protected:
    KnownDamage damage_;
};

TEST_F(SeekPending, LandsTwiceAsFarBackEachTimeUntilTheStart) {
    EXPECT_EQ(landings(PendingSeek(100, Landing::key_packet, damage_), 1000), (std::vector<int32_t>{84, 68, 36, 0}));
    EXPECT_EQ(landings(PendingSeek(10, Landing::key_packet, damage_), 1000), (std::vector<int32_t>{0}));
    EXPECT_EQ(landings(PendingSeek(0, Landing::key_packet, damage_), 1000), (std::vector<int32_t>{0}));
}

TEST_F(SeekPending, BehindTheLastFrameItLandsBeforeThat) {
    EXPECT_EQ(landings(PendingSeek(1000000, Landing::key_packet, damage_), 50), (std::vector<int32_t>{34, 18, 0}));
    EXPECT_EQ(landings(PendingSeek(1000000, Landing::key_packet, damage_), 0), (std::vector<int32_t>{0}));
}

TEST_F(SeekPending, AnExactLandingIsFollowedByTheKeyPacketBeforeTheTarget) {
    EXPECT_EQ(landings(PendingSeek(100, Landing::any_packet, damage_), 1000),
              (std::vector<int32_t>{100, 84, 68, 36, 0}));
}

TEST_F(SeekPending, LeavesPacketsOutUntilAKeyPacketComes) {
    PendingSeek pending(100, Landing::key_packet, damage_);
    EXPECT_TRUE(pending.needs_key());
    EXPECT_EQ(pending.judge_packet(90, false), Verdict::go_on);
    EXPECT_EQ(pending.judge_packet(95, true), Verdict::reached);
    EXPECT_FALSE(pending.needs_key());
}

TEST_F(SeekPending, APacketBehindTheTargetMeansThatTheLandingWasTooLate) {
    PendingSeek pending(100, Landing::key_packet, damage_);
    EXPECT_EQ(pending.judge_packet(101, false), Verdict::step_back);
    EXPECT_EQ(pending.judge_packet(101, true), Verdict::step_back);
}

TEST_F(SeekPending, PacketsBehindTheEndMeanAnotherWayButFromTheStartThereIsNone) {
    PendingSeek pending(100, Landing::key_packet, damage_);
    EXPECT_EQ(pending.judge_packet_behind_end(), Verdict::step_back);
    while (!pending.is_at_start())
        pending.earlier_landing(1000);
    EXPECT_EQ(pending.judge_packet_behind_end(), Verdict::reached);
}

TEST_F(SeekPending, APictureIsTheTargetWhenItsNumberIsOrWhenEarlierOnesWereSeen) {
    EXPECT_EQ(PendingSeek(100, Landing::key_packet, damage_).judge_picture({100}), Verdict::reached);
    EXPECT_EQ(PendingSeek(100, Landing::key_packet, damage_).judge_picture({101}), Verdict::step_back);
    PendingSeek pending(100, Landing::key_packet, damage_);
    EXPECT_EQ(pending.judge_picture({99}), Verdict::go_on);
    EXPECT_EQ(pending.judge_picture({101}), Verdict::reached);
}

TEST_F(SeekPending, PicturesWithoutTimeAreCountedFromTheStartAlone) {
    PendingSeek pending(3, Landing::key_packet, damage_);
    EXPECT_EQ(pending.judge_picture({0, false}), Verdict::step_back);
    pending.earlier_landing(100);
    EXPECT_EQ(pending.judge_picture({2, false}), Verdict::go_on);
    EXPECT_EQ(pending.judge_picture({3, false}), Verdict::reached);
}

TEST_F(SeekPending, PicturesThatOnlyLieOnTheWayMayBeLeftOut) {
    PendingSeek pending(100, Landing::key_packet, damage_);
    EXPECT_TRUE(pending.may_leave_out(98));
    EXPECT_FALSE(pending.may_leave_out(99));
    EXPECT_FALSE(pending.may_leave_out(100));
}

TEST_F(SeekPending, ADamagedWayIsBegunAgainWholeAndFurtherBack) {
    PendingSeek pending(200, Landing::key_packet, damage_);
    pending.judge_packet(190, true);
    EXPECT_EQ(pending.judge_picture(kWhole), Verdict::go_on);
    EXPECT_EQ(pending.judge_picture(kDamaged), Verdict::step_back);
    EXPECT_TRUE(pending.met_damage());
    pending.begin_again();
    EXPECT_EQ(pending.earlier_landing(1000), 94);
    EXPECT_FALSE(pending.may_leave_out(0));
    EXPECT_EQ(pending.judge_packet(95, true), Verdict::step_back) << "too near to the damage";
    EXPECT_EQ(pending.earlier_landing(1000), 78);
    EXPECT_EQ(pending.judge_packet(75, true), Verdict::reached);
}

TEST_F(SeekPending, DamageBehindManyPicturesOfANewDecoderDoesNotCount) {
    PendingSeek pending(200, Landing::key_packet, damage_);
    pending.judge_packet(100, true);
    for (int32_t picture = 100; picture < 190; ++picture)
        EXPECT_EQ(pending.judge_picture({picture}), Verdict::go_on);
    EXPECT_EQ(pending.judge_picture(kDamaged), Verdict::step_back) << "the decoder was used before";
    pending.begin_again();
    pending.earlier_landing(1000);
    for (int32_t picture = 4; picture < 84; ++picture)
        EXPECT_EQ(pending.judge_picture({picture}), Verdict::go_on);
    EXPECT_EQ(pending.judge_picture(kDamaged), Verdict::go_on);
    EXPECT_EQ(pending.judge_broken_packet(), Verdict::go_on);
    EXPECT_EQ(pending.judge_picture({200, true, true}), Verdict::reached);
}

// Gives a way with damage in all GOPs up as often as it says; where it landed.
std::vector<int32_t> landings_of_damage(PendingSeek pending) {
    std::vector<int32_t> aims;
    for (int32_t key = 190; aims.size() < 10; key = aims.back()) {
        pending.judge_packet(key, true);
        if (pending.judge_picture(kWhole) != Verdict::go_on || pending.judge_picture(kDamaged) == Verdict::go_on)
            break;
        pending.begin_again();
        aims.push_back(pending.earlier_landing(1000));
    }
    return aims;
}

TEST_F(SeekPending, ForDamageFurtherBackASourceIsReadFromItsStartOnceForAGop) {
    EXPECT_EQ(landings_of_damage(PendingSeek(200, Landing::key_packet, damage_)), (std::vector<int32_t>{94, 0}));
    EXPECT_EQ(landings_of_damage(PendingSeek(210, Landing::key_packet, damage_)), (std::vector<int32_t>{94}));
}

TEST_F(SeekPending, ADamagedWayFromTheStartIsBegunAgainThereOnce) {
    PendingSeek pending(100, Landing::start, damage_);
    EXPECT_EQ(pending.judge_broken_packet(), Verdict::step_back);
    pending.begin_again();
    EXPECT_EQ(pending.earlier_landing(1000), 0);
    EXPECT_FALSE(pending.needs_key());
    EXPECT_EQ(pending.judge_broken_packet(), Verdict::go_on);
    EXPECT_EQ(pending.judge_picture({100, true, true}), Verdict::reached);
}

TEST_F(SeekPending, PicturesThatReferToOthersCountFromTheFirstThatIsWholeOn) {
    const Passed unfounded{99, true, false, false};
    PendingSeek pending(100, Landing::key_packet, damage_);
    EXPECT_EQ(pending.judge_picture(unfounded), Verdict::go_on);
    EXPECT_EQ(pending.judge_picture({100, true, false, false}), Verdict::step_back);
    PendingSeek later(100, Landing::key_packet, damage_);
    EXPECT_EQ(later.judge_picture(unfounded), Verdict::go_on);
    EXPECT_EQ(later.judge_picture({99}), Verdict::go_on);
    EXPECT_EQ(later.judge_picture({100, true, false, false}), Verdict::reached);
    PendingSeek from_start(100, Landing::start, damage_);
    EXPECT_EQ(from_start.judge_picture({100, true, false, false}), Verdict::reached);
}

TEST_F(SeekPending, WhatIsDamagedBeforeTheFirstWholePictureDoesNotMatter) {
    PendingSeek pending(100, Landing::key_packet, damage_);
    EXPECT_EQ(pending.judge_broken_packet(), Verdict::go_on);
    pending.judge_picture({98, true, true, false});
    pending.judge_picture({99});
    EXPECT_EQ(pending.judge_picture({100}), Verdict::reached);
}

TEST_F(SeekPending, FromNowhereItMustLandByTime) {
    PendingSeek pending(100, Landing::nowhere, damage_);
    EXPECT_TRUE(pending.must_land());
    EXPECT_TRUE(pending.by_time());
    pending.land();
    EXPECT_FALSE(pending.must_land());
    EXPECT_FALSE(PendingSeek(100, Landing::key_packet, damage_).must_land());
}

TEST_F(SeekPending, TheEndOfTheInputIsBelievedWhenSomethingWasSeenBefore) {
    PendingSeek pending(100, Landing::key_packet, damage_);
    EXPECT_EQ(pending.judge_end(), Verdict::step_back);
    pending.judge_picture({7});
    EXPECT_EQ(pending.judge_end(), Verdict::reached);
}

}  // namespace
}  // namespace qmio::read
