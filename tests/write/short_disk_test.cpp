// Disks that become full while a film is written, of nine containers: a host that asks learns of it, after a flush, by
// completing the film and behind a close. What the system does to a process whose files grow beyond its limit is left as it
// is: to end it.
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <algorithm>
#include <csignal>

#include "support/file_size_limit.h"
#include "support/open_media.h"
#include "support/seed.h"
#include "support/temp_dir.h"
#include "support/why.h"

namespace qmio::test {
namespace {

struct Container {
    const char* name;
    const char* video;
    const char* sound;
    const char* form;
    int rate;
    bool sound_alone = true;  // else FFmpeg's muxer wants pictures in it
};

constexpr Container kContainers[] = {
    {"mp4", "mpeg4", "aac", "fltp", 48000},        {"mov", "mjpeg,pix_fmt=yuvj420p", "pcm_s16le", "s16", 48000},
    {"avi", "mpeg4", "mp2", "s16", 48000},         {"matroska", "ffv1", "pcm_s16le", "s16", 48000},
    {"mpegts", "mpeg2video", "mp2", "s16", 48000}, {"mxf", "mpeg2video", "pcm_s16le", "s16", 48000, false},
    {"nut", "mpeg4", "pcm_s16le", "s16", 48000},   {"flv", "flv", "libmp3lame", "fltp", 44100},
    {"asf", "wmv2", "wmav2", "fltp", 44100},
};

void PrintTo(const Container& container, std::ostream* out) {
    *out << container.name;
}

enum Content { kPictures, kBoth, kSoundAlone };
constexpr const char* kContentNames[] = {"Pictures", "Both", "SoundAlone"};

// 64 x 48 pixels and a 25th of a second each; about 150 KB in all for the least of these codecs.
constexpr int kPictureBytes = 64 * 48 * 3 / 2;
constexpr int kSteps = 200;

std::string options_of(const Container& container, Content content) {
    std::string options = "fmt=" + std::string(container.name);
    if (content != kSoundAlone)
        options += ",pix_fmt=yuv420p,size=64x48,b:v=4M,vcodec=" + std::string(container.video);
    if (content != kPictures)
        options += ",acodec=" + std::string(container.sound) + ",afmt=" + container.form +
                   ",ac=2,b:a=160k,ar=" + std::to_string(container.rate);
    return options;
}

// Nothing that an encoder could make small.
Bytes noise(Dice& dice, int bytes) {
    Bytes block(static_cast<std::size_t>(bytes));
    std::generate(block.begin(), block.end(), [&] { return static_cast<uint8_t>(dice.number()); });
    return block;
}

std::vector<std::tuple<Container, Content>> cases() {
    std::vector<std::tuple<Container, Content>> all;
    for (const Container& container : kContainers) {
        for (const Content content : {kPictures, kBoth, kSoundAlone}) {
            if (content != kSoundAlone || container.sound_alone)
                all.emplace_back(container, content);
        }
    }
    return all;
}

class ShortDisk : public testing::TestWithParam<std::tuple<Container, Content>> {
  protected:
    Media created(const std::filesystem::path& path) const {
        return Media(qmio_create_u8(utf8(path).c_str(), options_of(container_, content_).c_str(), 0));
    }

    void write(const Media& film) {
        const int bytes = container_.rate / 25 * 2 * (takes_floats() ? 4 : 2);
        for (int step = 0; step < kSteps; ++step) {
            if (content_ != kSoundAlone)
                qmio_write_frame(film.get(), noise(dice_, kPictureBytes).data());
            if (content_ != kPictures)
                qmio_write_audio(film.get(), sound(bytes).data(), bytes);
        }
    }

    // Told by the creation, or else by the flush that follows and by completing the film.
    void expect_told(const std::filesystem::path& path) {
        const Media film = created(path);
        if (!film) {
            EXPECT_LT(why().code, 0);
            return;
        }
        write(film);
        qmio_flush(film.get());
        const int64_t error = file_param(film, "write_error");
        EXPECT_LT(error, 0);
        EXPECT_EQ(qmio_finish(film.get()), error);
    }

    void expect_told_behind_the_close(const std::filesystem::path& path) {
        Media film = created(path);
        if (!film)
            return;
        write(film);
        why();
        EXPECT_EQ(qmio_close(film.release()), 0);
        EXPECT_LT(why().code, 0);
    }

    const Container container_ = std::get<0>(GetParam());
    const Content content_ = std::get<1>(GetParam());
    TempDir folder_;

  private:
    bool takes_floats() const { return std::string(container_.form) == "fltp"; }

    Bytes sound(int bytes) {
        Bytes block = noise(dice_, bytes);
        if (!takes_floats())
            return block;
        std::vector<float> samples(block.size() / sizeof(float));
        std::generate(samples.begin(), samples.end(),
                      [&] { return static_cast<float>(dice_.number()) / 4294967296.0F - 0.5F; });
        std::copy_n(reinterpret_cast<const uint8_t*>(samples.data()), samples.size() * sizeof(float), block.begin());
        return block;
    }

    Dice dice_{1};
};

// Below what FFmpeg buffers, and above.
TEST_P(ShortDisk, OfFilesThatMayNotGrowIsTold) {
    for (const rlim_t bytes : {rlim_t{20000}, rlim_t{120000}}) {
        const FileSizeLimit limit(bytes, SIG_DFL);
        EXPECT_TRUE(created(folder_ / "film")) << "the header has room";
        expect_told(folder_ / "film");
        expect_told_behind_the_close(folder_ / "film");
    }
}

TEST_P(ShortDisk, WithoutAnyRoomIsTold) {
    expect_told("/dev/full");
    expect_told_behind_the_close("/dev/full");
}

TEST_P(ShortDisk, OfALittleMemoryIsTold) {
    if (::mount("none", folder_.path().c_str(), "tmpfs", 0, "size=64k") != 0)
        GTEST_SKIP() << "only the system's administrator mounts";
    expect_told(folder_ / "film");
    std::filesystem::remove(folder_ / "film");
    expect_told_behind_the_close(folder_ / "film");
    EXPECT_EQ(::umount(folder_.path().c_str()), 0);
}

INSTANTIATE_TEST_SUITE_P(Of, ShortDisk, testing::ValuesIn(cases()), [](const auto& test) {
    return std::string(std::get<0>(test.param).name) + kContentNames[std::get<1>(test.param)];
});

class FileSizeSignal : public testing::Test {
  protected:
    std::string options_ = "fmt=nut,vcodec=rawvideo,pix_fmt=yuv420p,size=64x48";
    TempDir folder_;

    int write(const Media& film) const {
        int result = 0;
        for (int picture = 0; picture < 100 && result >= 0; ++picture)
            result = qmio_write_frame(film.get(), Bytes(kPictureBytes).data());
        return result;
    }
};

TEST_F(FileSizeSignal, DoesNotEndTheProcessWhereFramesArePublished) {
    const FileSizeLimit limit(100000, SIG_DFL);
    const Media film(qmio_create_u8(utf8(folder_ / "film").c_str(), options_.c_str(), QMIO_CREATE_FRAME_INDEX));
    EXPECT_TRUE(!film || write(film) < 0);
}

int caught = 0;

TEST_F(FileSizeSignal, ComesToAHostThatHasAHandlerOfItsOwn) {
    const FileSizeLimit limit(100000, SIG_DFL);
    caught = 0;
    std::signal(SIGXFSZ, [](int) { ++caught; });
    const Media film(qmio_create_u8(utf8(folder_ / "film").c_str(), options_.c_str(), 0));
    ASSERT_TRUE(film);
    EXPECT_LT(write(film), 0);
    EXPECT_GT(caught, 0);
}

TEST_F(FileSizeSignal, IsNotLeftBlockedNorWaiting) {
    const FileSizeLimit limit(100000, SIG_DFL);
    const Media film(qmio_create_u8(utf8(folder_ / "film").c_str(), options_.c_str(), 0));
    ASSERT_TRUE(film);
    EXPECT_LT(write(film), 0);
    sigset_t blocked, waiting;
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, nullptr, &blocked), 0);
    ASSERT_EQ(sigpending(&waiting), 0);
    EXPECT_EQ(sigismember(&blocked, SIGXFSZ), 0);
    EXPECT_EQ(sigismember(&waiting, SIGXFSZ), 0);
}

}  // namespace
}  // namespace qmio::test
