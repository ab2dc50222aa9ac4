// However many threads decode, a sought picture is the one that reading in order on one thread gives. Films of every
// encoder here whose pictures FFmpeg can decode on a thread each, sought in an order drawn by a seed that is printed
// (QMIO_TEST_SEED sets it): a sample of them in every run, all of them with QMIO_SWEEP=all.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/made_pictures.h"
#include "support/media.h"
#include "support/seed.h"
#include "support/temp_dir.h"
#include "threaded_films.h"

namespace qmio::test {
namespace {

constexpr unsigned kSeed = 20260414;
constexpr int kSampleSize = 3;
constexpr int kPictures = 200;
constexpr int kSeeks = 60;
constexpr int kManySeeks = 300;
constexpr int kMostReadOn = 4;
constexpr int kInsideTheDecoder = 24;  // at most, when the input ends: reading on does not drain it

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
