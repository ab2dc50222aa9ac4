// However many threads decode, a sought picture is the one that reading in order on one thread gives. Films of every
// encoder here whose pictures FFmpeg can decode on a thread each, sought in an order drawn by a seed that is printed
// (QMIO_TEST_SEED sets it): a sample of them in every run, all of them with QMIO_SWEEP=all.
//
// Left out: what is encoded here but not read by number from any container (APNG, QOI, WebP, bitpacked) or has no
// pixel format for hosts (OpenEXR); what no encoder makes (VP3, VP4, RealVideo 3 and 4, Mimic and the lossless ones of
// screen recorders, most of which have no pictures that refer to others).
#include <gtest/gtest.h>

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <cstdlib>
#include <string>

#include "support/made_pictures.h"
#include "support/media.h"
#include "support/seed.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

constexpr unsigned kSeed = 20260414;
constexpr int kSampleSize = 3;
constexpr int kPictures = 200;
constexpr int kSeeks = 60;
constexpr int kManySeeks = 300;
constexpr int kMostReadOn = 4;
constexpr int kInsideTheDecoder = 24;  // at most, when the input ends: reading on does not drain it

struct Film {
    std::string encoder;
    std::string muxer;
    std::string options;
    std::string format = "AV_PIX_FMT_YUV420P";
    int width = 176;
    int height = 144;
};

std::ostream& operator<<(std::ostream& out, const Film& film) {
    return out << film.encoder << " in " << film.muxer << ", " << film.options;
}

const Film kTheora = {"libtheora", "matroska", "pix_fmt=yuv420p,g=40,b:v=400k"};

const Film kFilms[] = {
    kTheora,
    {"libtheora", "avi", "pix_fmt=yuv420p,g=12,b:v=400k"},
    {"mpeg4", "avi", "pix_fmt=yuv420p,g=40,b:v=400k,bf=0"},
    {"mpeg4", "mp4", "pix_fmt=yuv420p,g=40,b:v=400k,bf=2"},
    {"libx264", "mp4", "pix_fmt=yuv420p,g=40,preset=fast"},
    {"libx264", "mpegts", "pix_fmt=yuv420p,g=40,preset=fast,flags=ilme+ildct"},
    {"libx265", "mp4", "pix_fmt=yuv420p,g=40,preset=ultrafast,x265-params=log-level=none"},
    {"libvpx", "webm", "pix_fmt=yuv420p,g=40,b:v=300k,cpu-used=8,auto-alt-ref=1,lag-in-frames=16"},
    {"libvpx-vp9", "webm", "pix_fmt=yuv420p,g=40,b:v=300k,cpu-used=8,deadline=realtime"},
    {"libvpx-vp9", "webm", "pix_fmt=yuv420p,g=40,b:v=300k,cpu-used=8,deadline=realtime,frame-parallel=1"},
    {"png", "matroska", "pix_fmt=rgb24", "AV_PIX_FMT_RGB24"},
    {"cfhd", "mov", "pix_fmt=yuv422p10le", "AV_PIX_FMT_YUV422P10LE"},
    {"dnxhd", "mov", "pix_fmt=yuv422p,profile=dnxhr_sq", "AV_PIX_FMT_YUV422P", 320, 192},
    {"dvvideo", "avi", "pix_fmt=yuv420p", "AV_PIX_FMT_YUV420P", 720, 576},
    {"ffvhuff", "avi", "pix_fmt=yuv420p"},
    {"hap", "mov", "pix_fmt=rgba", "AV_PIX_FMT_RGBA"},
    {"huffyuv", "avi", "pix_fmt=yuv422p", "AV_PIX_FMT_YUV422P"},
    {"jpeg2000", "matroska", "pix_fmt=yuv420p"},
    {"magicyuv", "avi", "pix_fmt=yuv420p"},
    {"prores_ks", "mov", "pix_fmt=yuv422p10le", "AV_PIX_FMT_YUV422P10LE"},
    {"tiff", "matroska", "pix_fmt=rgb24", "AV_PIX_FMT_RGB24"},
    {"utvideo", "avi", "pix_fmt=yuv420p"},
    {"v210", "mov", "pix_fmt=yuv422p10le", "AV_PIX_FMT_YUV422P10LE"},
    {"v410", "mov", "pix_fmt=yuv444p10le", "AV_PIX_FMT_YUV444P10LE"},
    {"zlib", "avi", "pix_fmt=bgr24", "AV_PIX_FMT_BGR24"},
};

bool is_there(const Film& film) {
    return avcodec_find_encoder_by_name(film.encoder.c_str()) != nullptr;
}

std::string options_of(const Film& film) {
    return "fmt=" + film.muxer + ",vcodec=" + film.encoder + ",r=25,threads:v=1,size=" + std::to_string(film.width) +
           "x" + std::to_string(film.height) + "," + film.options;
}

class DecodingThreads : public testing::Test {
  protected:
    void make(const Film& film) {
        path_ = folder_ / ("film." + film.muxer);
        const Writer writer(path_, options_of(film));
        ASSERT_TRUE(writer.is_open());
        write_pictures(writer, PictureMaker(film.format, film.width, film.height), kPictures);
    }

    // A seek, and the pictures behind it.
    void expect_frames(const wchar_t* options, int seeks) {
        ASSERT_GT(file_param(open_on_one_thread(path_), "width"), 0);
        const std::vector<Picture> pictures = Player(path_, L"threads=1").read_rest(kPictures + 1);
        ASSERT_EQ(pictures.size(), std::size_t{kPictures});
        Player player(path_, options);
        for (int seek = 0; seek < seeks; ++seek) {
            const int frame = dice_.up_to(kPictures - kInsideTheDecoder) - 1;
            const int last = frame + dice_.up_to(kMostReadOn) - 1;
            ASSERT_EQ(qmio_seek_frame(player.handle(), frame), frame);
            for (int next = frame; next <= last; ++next)
                ASSERT_EQ(player.read().hash, pictures[static_cast<std::size_t>(next)].hash)
                    << next << " after seek " << seek << " to " << frame;
        }
    }

    void check(const Film& film, int seeks) {
        SCOPED_TRACE(testing::Message() << film);
        if (!is_there(film))
            return;
        make(film);
        if (!HasFatalFailure())
            expect_frames(L"threads=4", seeks);
    }

    Dice dice_{printed_seed(kSeed)};
    TempDir folder_;
    std::filesystem::path path_;
};

TEST_F(DecodingThreads, OfTheoraGiveTheSoughtPicture) {
    if (!is_there(kTheora))
        GTEST_SKIP() << "no encoder of Theora";
    check(kTheora, kManySeeks);
}

TEST_F(DecodingThreads, AreNotWhatTheHostAsksForWherePicturesWouldBeWrong) {
    if (!is_there(kTheora))
        GTEST_SKIP() << "no encoder of Theora";
    make(kTheora);
    expect_frames(L"threads=4,thread_type=frame", kManySeeks);
}

TEST_F(DecodingThreads, ASampleOfDecodersGiveTheSoughtPicture) {
    for (int number = 0; number < kSampleSize; ++number)
        check(dice_.one_of(kFilms), kSeeks);
}

TEST_F(DecodingThreads, AllDecodersGiveTheSoughtPicture) {
    if (std::getenv("QMIO_SWEEP") == nullptr)
        GTEST_SKIP() << "takes long: QMIO_SWEEP=all";
    for (const Film& film : kFilms)
        check(film, kManySeeks);
}

}  // namespace
}  // namespace qmio::test
