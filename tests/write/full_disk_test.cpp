// Outputs that cannot take what is written to them.
#include <gtest/gtest.h>

#include "support/made_pictures.h"
#include "support/media.h"
#include "support/temp_dir.h"

#ifndef _WIN32
#include "support/file_size_limit.h"
#endif

namespace qmio::test {
namespace {

const std::string kVideo = "vcodec=mjpeg,pix_fmt=yuvj420p,size=160x96";
const std::string kSound = ",acodec=pcm_s16le,ar=48000,ac=2,afmt=s16";

#ifdef _WIN32

TEST(FullDisk, IsTold) {
    GTEST_SKIP() << "nothing here makes a disk full";
}

#else

class FullDisk : public testing::TestWithParam<std::string> {
  protected:
    // Writes until the disk refuses, and some more. How many pictures went well.
    static int write_until_refused(const Writer& writer) {
        const PictureMaker maker("AV_PIX_FMT_YUVJ420P", 160, 96);
        int fine = 0;
        while (fine < 500 && writer.write_picture(maker, fine) == 0)
            ++fine;
        EXPECT_LT(writer.write_picture(maker, 0), 0);
        return fine;
    }

    TempDir folder_;
    std::filesystem::path path_ = folder_ / "film";
};

TEST_P(FullDisk, IsToldByTheCallThatWrites) {
    const FileSizeLimit limit(200000, SIG_IGN);
    const Writer writer(path_, "fmt=" + GetParam() + "," + kVideo);
    ASSERT_TRUE(writer.is_open());
    const int fine = write_until_refused(writer);
    EXPECT_GT(fine, 10);
    EXPECT_LT(fine, 500);
    EXPECT_EQ(std::filesystem::file_size(path_), 200000U);
}

TEST_P(FullDisk, IsToldByPutting) {
    const FileSizeLimit limit(100000, SIG_IGN);
    const Writer writer(path_, "fmt=" + GetParam() + "," + kVideo);
    const PictureMaker maker("AV_PIX_FMT_YUVJ420P", 160, 96);
    int result = 0;
    for (int number = 0; number < 200 && result == 0; ++number) {
        AVPacket* const packet = qmio_encode_frame(writer.handle(), maker.picture(number).data());
        result = qmio_put_frame(writer.handle(), packet);
        qmio_pkt_free(packet);
    }
    EXPECT_LT(result, 0);
}

TEST_P(FullDisk, IsNotToldBySoundButBreaksNothing) {
    const FileSizeLimit limit(100000, SIG_IGN);
    const Writer writer(path_, "fmt=" + GetParam() + "," + kVideo + kSound, QMIO_CREATE_INTERLEAVED);
    ASSERT_TRUE(writer.is_open());
    for (int call = 0; call < 100; ++call)
        EXPECT_EQ(writer.write_sound(0, Bytes(8000)), 8000);
    const PictureMaker maker("AV_PIX_FMT_YUVJ420P", 160, 96);
    write_pictures(writer, maker, 30);
    EXPECT_LT(writer.write_picture(maker, 30), 0);
}

TEST_P(FullDisk, LeavesNothingOpen) {
    { const Writer writer(path_, "fmt=" + GetParam() + "," + kVideo); }
    const auto before = open_descriptors();
    {
        const FileSizeLimit limit(60000, SIG_IGN);
        const Writer writer(path_, "fmt=" + GetParam() + "," + kVideo);
        write_until_refused(writer);
    }
    EXPECT_EQ(open_descriptors(), before);
}

INSTANTIATE_TEST_SUITE_P(Containers, FullDisk, testing::Values("mov", "avi", "matroska", "nut"),
                         [](const auto& test) { return test.param; });

TEST(DiskWithoutRoom, IsToldAtTheCreationOrByTheFirstPictures) {
    for (const char* container : {"avi", "matroska", "nut", "mpegts"}) {
        const Writer writer("/dev/full", "fmt=" + std::string(container) + "," + kVideo);
        if (!writer.is_open())
            continue;
        const PictureMaker maker("AV_PIX_FMT_YUVJ420P", 160, 96);
        int result = 0;
        for (int number = 0; number < 500 && result == 0; ++number)
            result = writer.write_picture(maker, number);
        EXPECT_LT(result, 0) << container;
    }
}

// What is buffered is not on the disk yet: who wants to know at once flushes.
TEST(DiskWithoutRoom, IsToldByThePictureAfterAFlush) {
    const Writer writer("/dev/full", "fmt=mpegts,vcodec=mpeg2video,pix_fmt=yuv420p,size=64x48,flags:v=+low_delay");
    ASSERT_TRUE(writer.is_open());
    const PictureMaker maker("AV_PIX_FMT_YUV420P", 64, 48);
    EXPECT_EQ(writer.write_picture(maker, 0), 0);
    EXPECT_EQ(qmio_flush(writer.handle()), 1);
    EXPECT_LT(writer.write_picture(maker, 1), 0);
}

// As if it were full from the beginning: what is left is an empty file and no handle, or a handle that says so.
TEST(DiskWithoutRoom, OfNoBytesAtAllGivesAnEmptyFile) {
    const TempDir folder;
    const FileSizeLimit limit(0, SIG_IGN);
    const Writer writer(folder / "film.nut", "fmt=nut," + kVideo);
    const PictureMaker maker("AV_PIX_FMT_YUVJ420P", 160, 96);
    int result = writer.is_open() ? 0 : -1;
    for (int number = 0; number < 500 && result == 0; ++number)
        result = writer.write_picture(maker, number);
    EXPECT_LT(result, 0);
    EXPECT_EQ(std::filesystem::file_size(folder / "film.nut"), 0U);
}

#endif

}  // namespace
}  // namespace qmio::test
