// A film that one process writes while another reads it by the numbers of its frames.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>

#include "core/handle/frame_index.h"
#include "support/open_media.h"
#include "support/process.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::test;

std::string ask(Process& process, const std::string& order) {
    process.write_line(order);
    return process.read_line().value_or("(gone)");
}

std::string answer_of(int frame) {
    return std::to_string(frame) + " " + std::to_string(frame);
}

class GrowingFile : public testing::Test {
  protected:
    static Process writing_host() { return Process(host_program("writing_host")); }
    static Process reading_host() { return Process(host_program("reading_host")); }

    std::string create() const { return "create " + utf8(path_); }
    std::string open() const { return "open " + utf8(path_); }
    bool is_published() const { return qmio::frame_index::attach(utf8(path_)) != nullptr; }

    TempDir folder_;
    std::filesystem::path path_ = folder_ / "growing film.ts";
};

TEST_F(GrowingFile, IsReadUpToItsNewestFrameWhileTheWriterGoesOn) {
    Process writer = writing_host();
    ASSERT_EQ(ask(writer, create()), "created");
    ASSERT_EQ(ask(writer, "write 25"), "25");
    Process reader = reading_host();
    ASSERT_EQ(ask(reader, open()), "opened");
    for (int written = 25; written <= 100; written += 15) {
        for (const int frame : {written - 1, 0, written / 2, written - 2, written / 3, written - 1})
            EXPECT_EQ(ask(reader, "frame " + std::to_string(frame)), answer_of(frame)) << "of " << written;
        EXPECT_EQ(ask(reader, "frame 2147483647"), answer_of(written - 1));
        ASSERT_EQ(ask(writer, "write 15"), std::to_string(written + 15));
    }
    EXPECT_EQ(ask(writer, "close"), "closed");
    EXPECT_EQ(ask(reader, "frame 114"), answer_of(114));
    EXPECT_EQ(ask(reader, "close"), "closed");
    EXPECT_FALSE(is_published());
}

// What the encoder holds back is not there yet, and where frames refer to others the newest that was published is
// behind the newest that was written.
TEST_F(GrowingFile, OfFramesThatReferToOthersIsReadUpToItsNewestFrame) {
    Process writer = writing_host();
    ASSERT_EQ(ask(writer, "delayed " + utf8(path_)), "created");
    ASSERT_EQ(ask(writer, "write 30"), "30");
    Process reader = reading_host();
    ASSERT_EQ(ask(reader, open()), "opened");
    for (int written = 30; written <= 90; written += 20) {
        const std::string newest = ask(reader, "frame 2147483647");
        const int frame = std::stoi(newest);
        EXPECT_GT(frame, written - 8);
        EXPECT_EQ(newest, answer_of(frame));
        for (const int older : {0, frame / 2, frame - 1, 5})
            EXPECT_EQ(ask(reader, "frame " + std::to_string(older)), answer_of(older)) << "of " << written;
        ASSERT_EQ(ask(writer, "write 20"), std::to_string(written + 20));
    }
}

TEST_F(GrowingFile, HasNewFramesForAReaderThatMeantThemTooSoon) {
    Process writer = writing_host();
    ASSERT_EQ(ask(writer, create()), "created");
    ASSERT_EQ(ask(writer, "write 20"), "20");
    Process reader = reading_host();
    ASSERT_EQ(ask(reader, open()), "opened");
    EXPECT_EQ(ask(reader, "frame 30"), answer_of(19));
    ASSERT_EQ(ask(writer, "write 20"), "40");
    EXPECT_EQ(ask(reader, "frame 30"), answer_of(30));
}

// A drain gives what is there, and then a picture between may have been missing: with frames that refer to later ones.
TEST_F(GrowingFile, IsReadOnWhereItsEndWasWhenItHasGrown) {
    for (const std::string kind : {"delayed ", "long "}) {
        Process writer = writing_host();
        ASSERT_EQ(ask(writer, kind + utf8(path_)), "created");
        ASSERT_EQ(ask(writer, "write 30"), "30");
        Process reader = reading_host();
        ASSERT_EQ(ask(reader, open()), "opened");
        ASSERT_EQ(ask(reader, "frame 20"), answer_of(20));
        int newest = 20;
        for (int written = 30; written <= 110; written += 20) {
            const std::string rest = ask(reader, "rest");
            EXPECT_EQ(std::stoi(rest), newest + 1) << kind << rest;
            newest = std::stoi(rest.substr(rest.rfind(' ', rest.size() - 2) + 1));
            EXPECT_GT(newest, written - 8) << kind;
            ASSERT_EQ(ask(writer, "write 20"), std::to_string(written + 20));
        }
    }
}

TEST_F(GrowingFile, IsPublishedFromItsCreationToItsClose) {
    Process writer = writing_host();
    EXPECT_FALSE(is_published());
    ASSERT_EQ(ask(writer, create()), "created");
    EXPECT_TRUE(is_published());
    const auto index = qmio::frame_index::attach(utf8(path_));
    EXPECT_EQ(qmio::frame_index::frame_total(index.get()), 0);
    ASSERT_EQ(ask(writer, "write 42"), "42");
    EXPECT_EQ(qmio::frame_index::frame_total(index.get()), 42);
    EXPECT_EQ(ask(writer, "close"), "closed");
}

TEST_F(GrowingFile, TellsWhereEveryFrameBegins) {
    Process writer = writing_host();
    ASSERT_EQ(ask(writer, create()), "created");
    const auto index = qmio::frame_index::attach(utf8(path_));
    ASSERT_TRUE(index);
    ASSERT_EQ(ask(writer, "write 1"), "1");
    for (int frame = 1; frame < 30; ++frame) {
        // Everything before it is on the disk, so it begins where the file ends.
        const auto end = static_cast<int64_t>(std::filesystem::file_size(path_));
        ASSERT_EQ(ask(writer, "write 1"), std::to_string(frame + 1));
        EXPECT_EQ(qmio::frame_index::position(*index, frame), end);
    }
}

TEST_F(GrowingFile, OfAKilledWriterIsReadByWhoHasItAndLeavesNothing) {
    Process writer = writing_host();
    ASSERT_EQ(ask(writer, create()), "created");
    ASSERT_EQ(ask(writer, "write 30"), "30");
    Process reader = reading_host();
    ASSERT_EQ(ask(reader, open()), "opened");
    writer.kill();
    writer.wait();
    for (const int frame : {29, 3, 17, 29})
        EXPECT_EQ(ask(reader, "frame " + std::to_string(frame)), answer_of(frame));
    EXPECT_EQ(ask(reader, "close"), "closed");
    EXPECT_FALSE(is_published());
}

TEST_F(GrowingFile, OfAKilledWriterIsNothingThatALaterReaderTripsOver) {
    Process writer = writing_host();
    ASSERT_EQ(ask(writer, create()), "created");
    ASSERT_EQ(ask(writer, "write 30"), "30");
    writer.kill();
    writer.wait();
    EXPECT_FALSE(is_published());
    Process reader = reading_host();
    ASSERT_EQ(ask(reader, open()), "opened");
    for (const int frame : {12, 0, 28})
        EXPECT_EQ(ask(reader, "frame " + std::to_string(frame)), answer_of(frame));
}

TEST_F(GrowingFile, OfAKilledWriterIsNothingThatALaterWriterTripsOver) {
    for (int round = 0; round < 3; ++round) {
        Process writer = writing_host();
        ASSERT_EQ(ask(writer, create()), "created");
        ASSERT_EQ(ask(writer, "write 30"), "30");
        writer.kill();
        writer.wait();
    }
    Process writer = writing_host();
    ASSERT_EQ(ask(writer, create()), "created");
    const auto index = qmio::frame_index::attach(utf8(path_));
    ASSERT_TRUE(index);
    EXPECT_EQ(qmio::frame_index::frame_total(index.get()), 0);
    ASSERT_EQ(ask(writer, "write 10"), "10");
    Process reader = reading_host();
    ASSERT_EQ(ask(reader, open()), "opened");
    EXPECT_EQ(ask(reader, "frame 25"), answer_of(9));
}

// The reader still holds what the first writer shared; the second one begins anew in it.
TEST_F(GrowingFile, WrittenAnewStartsItsNumbersAnewForAReaderThatStayed) {
    const auto index = [&] {
        Process writer = writing_host();
        EXPECT_EQ(ask(writer, create()), "created");
        EXPECT_EQ(ask(writer, "write 30"), "30");
        auto attached = qmio::frame_index::attach(utf8(path_));
        EXPECT_EQ(ask(writer, "close"), "closed");
        return attached;
    }();
    ASSERT_TRUE(index);
    EXPECT_EQ(qmio::frame_index::frame_total(index.get()), 30);
    Process writer = writing_host();
    ASSERT_EQ(ask(writer, create()), "created");
    EXPECT_EQ(qmio::frame_index::frame_total(index.get()), 0);
    EXPECT_EQ(qmio::frame_index::position(*index, 29), 0);
    ASSERT_EQ(ask(writer, "write 5"), "5");
    EXPECT_EQ(qmio::frame_index::frame_total(index.get()), 5);
}

TEST_F(GrowingFile, IsNotPublishedWithoutBeingAsked) {
    const Media media(
        qmio_create_w(wide_name(path_).c_str(), L"fmt=mpegts,vcodec=mpeg2video,pix_fmt=yuv420p,size=64x48"));
    ASSERT_TRUE(media);
    EXPECT_FALSE(is_published());
}

TEST_F(GrowingFile, IsPublishedUnderItsNameUpToTheBar) {
    const Media media(qmio_create_ex_w((wide_name(path_) + L"|rest").c_str(),
                                       L"fmt=mpegts,vcodec=mpeg2video,pix_fmt=yuv420p,size=64x48",
                                       QMIO_CREATE_FRAME_INDEX));
    ASSERT_TRUE(media);
    EXPECT_TRUE(is_published());
}

}  // namespace
