// Completing a file with a result, and the first error of one that is being written.
#include <gtest/gtest.h>

#include <cerrno>

#include "ffmpeg/ffmpeg.h"
#include "support/made_pictures.h"
#include "support/media.h"
#include "support/remuxing.h"
#include "support/temp_dir.h"
#include "support/trace_lines.h"
#include "support/why.h"

namespace qmio::test {
namespace {

const std::string kVideo = "vcodec=mpeg4,bf=2,pix_fmt=yuv420p,size=64x48,fflags=+bitexact,flags:v=+bitexact";
const std::string kSound = ",acodec=mp2,ar=48000,ac=2,afmt=s16";

int64_t write_error(const Writer& writer) {
    return qmio_get_file_param(writer.handle(), "write_error");
}

class Finish : public testing::TestWithParam<std::string> {
  protected:
    Writer written(const std::string& name) const {
        Writer writer(folder_ / name, "fmt=" + GetParam() + "," + kVideo + kSound);
        write_pictures(writer, maker_, 7);
        writer.write_sound(0, Bytes(5000 * 4));
        return writer;
    }
    Bytes bytes(const std::string& name) const { return read_bytes(folder_ / name); }

    TempDir folder_;
    PictureMaker maker_{"AV_PIX_FMT_YUV420P", 64, 48};
};

TEST_P(Finish, MakesTheFileThatClosingMakes) {
    written("closed");
    const Writer writer = written("finished");
    ASSERT_TRUE(writer.is_open());
    EXPECT_EQ(qmio_finish(writer.handle()), 0);
    EXPECT_EQ(bytes("finished"), bytes("closed"));
    EXPECT_EQ(write_error(writer), 0);
    EXPECT_EQ(Player(folder_ / "finished").read_rest(20).size(), 7U);
}

TEST_P(Finish, LeavesNothingToClosing) {
    Writer writer = written("finished");
    EXPECT_EQ(qmio_finish(writer.handle()), 0);
    const Bytes whole = bytes("finished");
    EXPECT_EQ(qmio_finish(writer.handle()), 0);
    writer.close();
    EXPECT_EQ(bytes("finished"), whole);
}

TEST_P(Finish, EndsWriting) {
    const Writer writer = written("finished");
    ASSERT_EQ(qmio_finish(writer.handle()), 0);
    const Bytes whole = bytes("finished");
    const Bytes picture = maker_.picture(8);
    Bytes sound(4000);
    const Record packet(qmio_pkt_alloc());
    why();
    EXPECT_EQ(qmio_write_frame(writer.handle(), picture.data()), AVERROR_EXIT);
    EXPECT_TRUE(why().holds("the file is finished or cancelled"));
    EXPECT_EQ(qmio_encode_frame(writer.handle(), picture.data()), nullptr);
    EXPECT_EQ(why().code, AVERROR_EXIT);
    EXPECT_EQ(qmio_put_frame(writer.handle(), packet.get()), AVERROR_EXIT);
    EXPECT_EQ(qmio_write_track(writer.handle(), 0, sound.data(), 4000), QMIO_TRACK_NO_STREAM);
    EXPECT_EQ(qmio_flush(writer.handle()), 0);
    EXPECT_EQ(write_error(writer), 0);
    EXPECT_EQ(bytes("finished"), whole);
}

INSTANTIATE_TEST_SUITE_P(Containers, Finish, testing::Values("mov", "avi", "matroska", "mpegts", "nut"),
                         [](const auto& test) { return test.param; });

TEST(FinishOfNothing, IsRefused) {
    const Media source = open_media(media_path("small_h264_aac.mp4"));
    why();
    EXPECT_EQ(qmio_finish(nullptr), AVERROR(EINVAL));
    EXPECT_EQ(why().code, AVERROR(EINVAL));
    EXPECT_EQ(qmio_finish(source.get()), AVERROR(EINVAL));
    EXPECT_TRUE(why().holds("no file is being written"));
    EXPECT_EQ(file_param(source, "write_error"), 0);
    EXPECT_EQ(next_picture(source).result, 7);
}

TEST(FinishOfACancelledFile, IsRefused) {
    const TempDir folder;
    const Writer writer(folder / "film.mov", "fmt=mov," + kVideo);
    qmio_cancel(writer.handle());
    EXPECT_EQ(qmio_finish(writer.handle()), AVERROR_EXIT);
}

TEST(FinishOfACopy, MakesTheFileThatClosingMakes) {
    const TempDir folder;
    const auto copied = [&](const char* name) {
        const Media source = open_media(media_path("small_h264_aac.mp4"));
        Media copy = mux(folder / name, "fmt=mov,fflags=+bitexact", source, source);
        EXPECT_GT(copy_packets(copy, source).video, 5);
        return copy;
    };
    copied("closed.mov");
    const Media copy = copied("finished.mov");
    EXPECT_EQ(qmio_finish(copy.get()), 0);
    EXPECT_EQ(read_bytes(folder / "finished.mov"), read_bytes(folder / "closed.mov"));
    const Media source = open_media(media_path("small_h264_aac.mp4"));
    ASSERT_GE(qmio_get_frame(source.get()), 0);
    EXPECT_EQ(qmio_copy_frame(copy.get(), source.get()), AVERROR_EXIT);
}

TEST(FinishOfAMemoryTarget, TellsInItsHeaderHowMuchWasWritten) {
    const std::string request = "mem:18000";
    std::vector<char> block(100000);
    request.copy(block.data(), request.size());
    Media media(qmio_create_a(block.data(), "fmt=avi,vcodec=mjpeg,pix_fmt=yuvj420p,size=64x48"));
    ASSERT_TRUE(media);
    const PictureMaker maker("AV_PIX_FMT_YUVJ420P", 64, 48);
    EXPECT_EQ(qmio_write_frame(media.get(), maker.picture(0).data()), 0);
    EXPECT_EQ(qmio_finish(media.get()), 0);
    const std::string header = block.data();
    EXPECT_EQ(header.size(), 13U) << header;
    EXPECT_TRUE(header.ends_with('.')) << header;
    media.reset();
    EXPECT_EQ(block.data(), header);
}

TEST(FinishedFile, IsClosedWithoutASecondTrailer) {
    const TempDir folder;
    Writer writer(folder / "film.mov", "fmt=mov," + kVideo);
    ASSERT_EQ(qmio_finish(writer.handle()), 0);
    const TraceLines lines(TraceSwitch::close);
    writer.close();
    for (const std::string& line : lines.read())
        EXPECT_EQ(line.find("trailer"), line.npos) << line;
}

#ifndef _WIN32

// All that a disk takes is what is buffered.
class FinishOnAFullDisk : public testing::TestWithParam<std::string> {
  protected:
    Writer written() const {
        Writer writer("/dev/full", "fmt=" + GetParam() + ",vcodec=mjpeg,pix_fmt=yuvj420p,size=64x48" + kSound);
        if (writer.is_open())
            write_pictures(writer, PictureMaker("AV_PIX_FMT_YUVJ420P", 64, 48), 3);
        return writer;
    }
};

TEST_P(FinishOnAFullDisk, TellsTheFirstError) {
    const Writer writer = written();
    if (!writer.is_open())
        GTEST_SKIP() << "this container tells it with its header already";
    why();
    EXPECT_EQ(qmio_finish(writer.handle()), AVERROR(ENOSPC));
    const Why told = why();
    EXPECT_EQ(told.code, AVERROR(ENOSPC)) << told;
    EXPECT_TRUE(told.text.starts_with("cannot complete /dev/full: ")) << told;
    EXPECT_TRUE(told.holds("No space left on device")) << told;
    EXPECT_EQ(write_error(writer), AVERROR(ENOSPC));
    EXPECT_EQ(qmio_finish(writer.handle()), AVERROR(ENOSPC));
    EXPECT_EQ(why().code, AVERROR(ENOSPC));
}

TEST_P(FinishOnAFullDisk, IsToldAfterClosing) {
    Writer writer = written();
    if (!writer.is_open())
        GTEST_SKIP() << "this container tells it with its header already";
    why();
    writer.close();
    const Why told = why();
    EXPECT_EQ(told.code, AVERROR(ENOSPC)) << told;
    EXPECT_TRUE(told.text.starts_with("cannot complete /dev/full: ")) << told;
}

INSTANTIATE_TEST_SUITE_P(Containers, FinishOnAFullDisk, testing::Values("mov", "avi", "matroska", "mpegts", "nut"),
                         [](const auto& test) { return test.param; });

TEST(WriteError, IsToldAfterAFlush) {
    const Writer writer("/dev/full", "fmt=mpegts,vcodec=mpeg2video,pix_fmt=yuv420p,size=64x48,flags:v=+low_delay");
    ASSERT_TRUE(writer.is_open());
    write_pictures(writer, PictureMaker("AV_PIX_FMT_YUV420P", 64, 48), 1);
    EXPECT_EQ(write_error(writer), 0);
    EXPECT_EQ(qmio_flush(writer.handle()), 1);
    EXPECT_EQ(write_error(writer), AVERROR(ENOSPC));
}

TEST(WriteError, OfSoundIsTold) {
    const Writer writer("/dev/full", "fmt=nut" + kSound);
    ASSERT_TRUE(writer.is_open());
    for (int call = 0; call < 40; ++call)
        EXPECT_GE(writer.write_sound(0, Bytes(40000)), 0);
    EXPECT_EQ(write_error(writer), AVERROR(ENOSPC));
}

#endif

TEST(WriteError, IsNoneOfAFileThatIsWhole) {
    const TempDir folder;
    const Writer writer(folder / "film.mov", "fmt=mov," + kVideo + kSound);
    write_pictures(writer, PictureMaker("AV_PIX_FMT_YUV420P", 64, 48), 5);
    EXPECT_EQ(write_error(writer), 0);
    why();
    EXPECT_EQ(qmio_finish(writer.handle()), 0);
    EXPECT_EQ(why().code, 0);
}

}  // namespace
}  // namespace qmio::test
