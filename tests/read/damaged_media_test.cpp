// Files that are cut or damaged: a host gets a null handle or results that are documented, never a crash, a hang or a
// leak.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <random>

#include "support/documented_results.h"
#include "support/media.h"
#include "support/open_media.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::test;

constexpr int kMostPackets = 400;
constexpr int64_t kMostPixels = 8192 * 4096;

// Pictures are delivered only where the damaged size still is one that this test has the memory for.
bool has_deliverable_pictures(const Media& media) {
    const int64_t width = file_param(media, "width"), height = file_param(media, "height");
    return width > 0 && height > 0 && width <= kMostPixels / height;
}

void read_by_packets(const Media& media, Bytes& buffer) {
    for (int packet = 0; packet < kMostPackets; ++packet) {
        const int kind = qmio_get_frame(media.get());
        ASSERT_PRED1(is_packet_result, kind);
        if (kind < 0)
            break;
        if (kind == QMIO_PACKET_VIDEO) {
            ASSERT_PRED1(is_decoding_result, qmio_video_frame(media.get(), buffer.data()));
        }
        const int valid = qmio_is_valid_frame(media.get(), kind);
        ASSERT_TRUE(valid == 0 || valid == 1) << valid;
        ASSERT_EQ(qmio_release_frame(media.get()), 0);
    }
}

void read_pictures(const Media& media, Bytes& buffer, int most) {
    for (int picture = 0; picture < most; ++picture) {
        const int result = qmio_read_frame(media.get(), buffer.data());
        ASSERT_PRED1(is_reading_result, result);
        if (result == 0)
            return;
    }
}

void drain(const Media& media, Bytes& buffer) {
    for (int picture = 0; picture < 64; ++picture) {
        const int result = qmio_video_pkt(media.get(), buffer.data(), nullptr);
        ASSERT_PRED1(is_decoding_result, result);
        if (result <= 1)
            return;
    }
}

void use(const Media& media) {
    for (const char* key : {"frames", "naudio", "video", "audio", "frame_num", "frame_pos", "sar", "channels"}) {
        qmio_get_file_param(media.get(), key);
        qmio_get_stream_param(media.get(), key, 0);
    }
    EXPECT_TRUE(file_param(media, "naudio") >= 0 && file_param(media, "naudio") <= 16);
    EXPECT_EQ(file_param(media, "check"), 0);
    Bytes buffer(4);
    if (file_param(media, "video") >= 0 && !has_deliverable_pictures(media))
        return;
    buffer = picture_buffer(media);
    buffer.resize(std::max<std::size_t>(buffer.size(), 4));
    read_by_packets(media, buffer);
    drain(media, buffer);
    const int frames = static_cast<int>(std::clamp<int64_t>(file_param(media, "frames"), 1, 1000));
    for (const int frame : {0, frames / 2, frames - 1}) {
        EXPECT_PRED2(is_seeking_result, frame, qmio_seek_frame(media.get(), frame));
        read_pictures(media, buffer, 2);
    }
    EXPECT_PRED2(is_seeking_result, 3, qmio_seek_frame_ex(media.get(), 3));
    read_pictures(media, buffer, 2);
    EXPECT_EQ(qmio_seek_ts(media.get(), 0, 1), 0);
    read_pictures(media, buffer, 3);
    drain(media, buffer);
}

// Whether the file opened.
bool open_and_use(const std::filesystem::path& path) {
    const Media media = open_on_one_thread(path);
    if (media)
        use(media);
    return media != nullptr;
}

class Damaged : public testing::TestWithParam<const char*> {
  protected:
    static constexpr int kVariants = 200;

    void SetUp() override {
        whole_ = read_bytes(media_path(GetParam()));
        ASSERT_GT(whole_.size(), 1000U);
    }

    std::filesystem::path written(const Bytes& bytes) const {
        const auto path = folder_ / GetParam();
        write_bytes(path, bytes);
        return path;
    }

    TempDir folder_;
    Bytes whole_;
};

INSTANTIATE_TEST_SUITE_P(Containers, Damaged,
                         testing::Values("small_h264_aac.mp4", "small_mpeg4_pcm.avi", "small_vp8.webm"),
                         [](const auto& chosen) {
                             std::string name = chosen.param;
                             std::replace(name.begin(), name.end(), '.', '_');
                             return name;
                         });

TEST_P(Damaged, CutAnywhere) {
    int opened = 0;
    for (int cut = 0; cut < kVariants; ++cut) {
        SCOPED_TRACE(cut);
        const std::size_t kept = whole_.size() * static_cast<std::size_t>(cut) / kVariants;
        opened += open_and_use(written({whole_.begin(), whole_.begin() + static_cast<std::ptrdiff_t>(kept)}));
    }
    EXPECT_GT(opened, 0);
    EXPECT_LT(opened, kVariants) << "an empty file has opened";
}

// Half of the damage falls on the first two kilobytes, where containers keep what they say about themselves.
TEST_P(Damaged, BitsFlippedAnywhere) {
    int opened = 0;
    for (int seed = 0; seed < kVariants; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(static_cast<uint32_t>(seed));
        Bytes bytes = whole_;
        const std::size_t reach = seed % 2 == 0 ? bytes.size() : 2048;
        for (int flip = 0; flip < 1 + seed % 8; ++flip)
            bytes[random() % reach] ^= static_cast<uint8_t>(1U << random() % 8);
        opened += open_and_use(written(bytes));
    }
    EXPECT_GT(opened, 0);
}

// Bytes of the middle replaced by noise, by zeros and by an earlier piece of the file.
TEST_P(Damaged, PiecesReplaced) {
    int opened = 0;
    for (int seed = 0; seed < 30; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(static_cast<uint32_t>(seed));
        Bytes bytes = whole_;
        const std::size_t length = 1 + random() % 512;
        const std::size_t place = random() % (bytes.size() - length);
        const std::size_t source = random() % (bytes.size() - length);
        for (std::size_t byte = 0; byte < length; ++byte)
            bytes[place + byte] = seed % 3 == 0   ? static_cast<uint8_t>(random())
                                  : seed % 3 == 1 ? uint8_t{0}
                                                  : whole_[source + byte];
        opened += open_and_use(written(bytes));
    }
    EXPECT_GT(opened, 0);
}

TEST_P(Damaged, LeavesNoFileOpen) {
    open_and_use(written(whole_));
    const auto before = open_descriptors();
    if (!before)
        GTEST_SKIP() << "this system does not tell the open descriptors";
    for (std::size_t kept = 0; kept < whole_.size(); kept += whole_.size() / 10)
        open_and_use(written({whole_.begin(), whole_.begin() + static_cast<std::ptrdiff_t>(kept)}));
    EXPECT_EQ(open_descriptors(), before);
}

// Media found damaged in the wild; the table beside them says which open nevertheless.
TEST(DamagedInTheWild, OpensOrFailsAsTheTableSays) {
    const std::vector<RealFile> files = real_files();
    if (files.empty())
        GTEST_SKIP() << "no folder of real media";
    int damaged = 0;
    for (const RealFile& file : files) {
        if (!file.damaged)
            continue;
        SCOPED_TRACE(file.name);
        ++damaged;
        open_and_use(real_media(file.name));
        if (!file.opens) {
            EXPECT_FALSE(open_media(real_media(file.name)));
        }
    }
    EXPECT_GT(damaged, 0);
}

// Every file opens from every prefix of its first bytes or fails; the still picture formats among them.
TEST(DamagedInTheWild, OtherFilesCutShort) {
    const TempDir folder;
    const std::vector<RealFile> files = real_files();
    if (files.empty())
        GTEST_SKIP() << "no folder of real media";
    int opened = 0;
    for (const RealFile& file : files) {
        SCOPED_TRACE(file.name);
        const Bytes whole = read_bytes(real_media(file.name));
        for (const std::size_t kept : {std::size_t{64}, std::size_t{700}, std::size_t{9000}}) {
            const auto end = whole.begin() + static_cast<std::ptrdiff_t>(std::min(kept, whole.size()));
            write_bytes(folder / file.name, {whole.begin(), end});
            opened += open_and_use(folder / file.name);
        }
    }
    EXPECT_GT(opened, 0);
}

}  // namespace
