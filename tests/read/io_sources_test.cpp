// Sources other than files that FFmpeg opens itself: blocks of memory, files of the platform, devices, FTP.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>

#include "core/handle/media_handle.h"
#include "read/open.h"
#include "support/documented_results.h"
#include "support/media.h"
#include "support/open_media.h"
#include "support/temp_dir.h"
#include "support/trace_lines.h"

namespace {

using namespace qmio::test;

std::unique_ptr<char[]> block_of(const std::filesystem::path& path, const char* prefix = "mem:") {
    const Bytes bytes = read_bytes(path);
    return memory_block(memory_header(bytes.size(), prefix), bytes);
}

Bytes bytes_of(const std::string& text) {
    return {text.begin(), text.end()};
}

class MemoryStill : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Formats, MemoryStill, testing::Values("still.png", "still.jpg"),
                         [](const auto& chosen) { return std::string(chosen.param).substr(6); });

TEST_P(MemoryStill, DeliversThePictureOfTheFile) {
    const auto block = block_of(media_path(GetParam()));
    const Media memory(qmio_open_a(block.get()));
    const Media file = open_media(media_path(GetParam()));
    ASSERT_TRUE(memory);
    ASSERT_TRUE(file);
    EXPECT_EQ(file_param(memory, "width"), file_param(file, "width"));
    EXPECT_EQ(file_param(memory, "height"), file_param(file, "height"));
    EXPECT_EQ(file_param(memory, "frames"), 1);
    const Delivered picture = next_picture(memory);
    EXPECT_EQ(picture.result, 7);
    EXPECT_EQ(picture.pixels, next_picture(file).pixels);
}

TEST_P(MemoryStill, OpensWithThePrefixInAnyCase) {
    for (const char* prefix : {"MEM:", "Mem:", "mEm:"}) {
        const auto block = block_of(media_path(GetParam()), prefix);
        EXPECT_EQ(next_picture(Media(qmio_open_a(block.get()))).result, 7) << prefix;
    }
}

TEST_P(MemoryStill, TakesOptions) {
    const auto block = block_of(media_path(GetParam()));
    const Media media(qmio_open_ex_a(block.get(), "skip_frame=nokey"));
    ASSERT_TRUE(media);
    EXPECT_EQ(media->video.codec->skip_frame, AVDISCARD_NONKEY);
}

TEST_P(MemoryStill, LeavesTheBlockToTheCallerAsItWas) {
    const std::size_t size = 32 + read_bytes(media_path(GetParam())).size();
    const auto block = block_of(media_path(GetParam()));
    const std::string before(block.get(), size);
    Media media(qmio_open_a(block.get()));
    EXPECT_EQ(next_picture(media).result, 7);
    media.reset();
    EXPECT_EQ(std::string(block.get(), size), before);
}

TEST_P(MemoryStill, OpensWithTheHeaderThatMemoryOutputLeaves) {
    const Bytes bytes = read_bytes(media_path(GetParam()));
    std::array<char, 32> header{};
    std::snprintf(header.data(), header.size(), "mem:%8.8X.0000", static_cast<unsigned>(bytes.size()));
    const auto block = memory_block(header.data(), bytes);
    EXPECT_EQ(next_picture(Media(qmio_open_a(block.get()))).result, 7);
}

// Whatever the cut leaves, nothing beyond the block's bytes is read; the sanitizer would see it. Where the cut took the
// picture's size away there is no buffer for it, and it is decoded alone.
TEST_P(MemoryStill, NeverReadsBeyondACutBlock) {
    const Bytes whole = read_bytes(media_path(GetParam()));
    const int64_t width = file_param(open_media(media_path(GetParam())), "width");
    int opened = 0;
    for (std::size_t kept = 0; kept < whole.size(); kept += 1 + whole.size() / 40) {
        const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(kept));
        const auto block = memory_block(memory_header(kept), part);
        const Media media(qmio_open_a(block.get()));
        if (!media)
            continue;
        ++opened;
        if (file_param(media, "width") == width) {
            EXPECT_PRED1(is_reading_result, next_picture(media).result) << kept;
        } else {
            EXPECT_EQ(file_param(media, "width"), 0) << kept;
            EXPECT_PRED1(is_packet_result, qmio_get_frame(media.get())) << kept;
            EXPECT_PRED1(is_decoding_result, qmio_video_frame(media.get(), nullptr)) << kept;
        }
    }
    EXPECT_GT(opened, 0);
}

class MemorySize : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Malformed, MemorySize,
                         testing::Values("mem:", "mem:zz", "mem:-5", "mem:0", "mem:.", "mem:ffffffffffffffff",
                                         "mem:8000000000000000", "mem:10000000000000000",
                                         "mem:123456789abcdef0123456789ab", "mem:7fffffffffffffff"));

TEST_P(MemorySize, ThatIsNoSizeFailsTheOpen) {
    const auto block = memory_block(GetParam(), read_bytes(media_path("still.png")));
    const auto before = open_descriptors();
    EXPECT_EQ(qmio_open_a(block.get()), nullptr);
    EXPECT_EQ(qmio_open_ex_a(block.get(), "threads=1"), nullptr);
    EXPECT_EQ(open_descriptors(), before);
}

// A wide name is text, not a block: behind it lies nothing that belongs to the source.
TEST(Memory, AsAWideNameHasNoBlockToRead) {
    EXPECT_EQ(qmio_open_w(L"mem:100"), nullptr);
    EXPECT_EQ(qmio_open_w(L"mem:100000"), nullptr);
    EXPECT_EQ(qmio_open_ex_w(L"MEM:100000", L"threads=1"), nullptr);
}

TEST(Memory, OfRandomBytesFails) {
    Bytes noise(4096);
    uint32_t state = 12345;
    for (uint8_t& byte : noise)
        byte = static_cast<uint8_t>((state = state * 1664525 + 1013904223) >> 24);
    const auto block = memory_block(memory_header(noise.size()), noise);
    EXPECT_FALSE(Media(qmio_open_a(block.get())));
}

// A block is a picture. A text in it that names other files must not make the library open them.
TEST(Memory, WithAPlaylistOpensNothingElse) {
    const std::string target = media_path("small_h264_aac.mp4").generic_string();
    const std::array<std::string, 4> playlists = {
        "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + target + "\n#EXT-X-ENDLIST\n",
        "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\nfile://" + target + "\n#EXT-X-ENDLIST\n",
        "ffconcat version 1.0\nfile '" + target + "'\n",
        "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\nm=video 9 RTP/AVP 96\na=rtpmap:96 H264/90000\n",
    };
    for (const std::string& playlist : playlists) {
        const auto block = memory_block(memory_header(playlist.size()), bytes_of(playlist));
        EXPECT_FALSE(Media(qmio_open_a(block.get()))) << playlist;
    }
}

TEST(PlatformFile, DeliversThePictureOfTheFile) {
    for (const char* still : {"still.png", "still.jpg"}) {
        const Media media = open_media("avio:" + media_path(still).string());
        ASSERT_TRUE(media) << still;
        EXPECT_EQ(next_picture(media).pixels, next_picture(open_media(media_path(still))).pixels) << still;
    }
}

TEST(PlatformFile, OpensThroughEveryEntryPointWithThePrefixInAnyCase) {
    const auto path = media_path("still.png");
    EXPECT_TRUE(Media(qmio_open_a(("AVIO:" + path.string()).c_str())));
    EXPECT_TRUE(Media(qmio_open_ex_a(("Avio:" + path.string()).c_str(), "threads=1")));
    EXPECT_TRUE(Media(qmio_open_w((L"aviO:" + wide_name(path)).c_str())));
    EXPECT_TRUE(Media(qmio_open_ex_w((L"avio:" + wide_name(path)).c_str(), nullptr)));
}

TEST(PlatformFile, MayHaveANameOutsideAscii) {
    const TempDir folder;
    const auto path = folder / path_of("кадр 画面.png");
    std::filesystem::copy_file(media_path("still.png"), path);
    EXPECT_TRUE(Media(qmio_open_w((L"avio:" + wide_name(path)).c_str())));
}

TEST(PlatformFile, ThatCannotBeReadFailsTheOpen) {
    const TempDir folder;
    write_bytes(folder / "empty.png", {});
    EXPECT_FALSE(open_media("avio:" + (folder / "missing.png").string()));
    EXPECT_FALSE(open_media("avio:" + folder.path().string()));
    EXPECT_FALSE(open_media("avio:" + (folder / "empty.png").string()));
    EXPECT_FALSE(open_media(std::string("avio:")));
}

TEST(PlatformFile, WithAPlaylistOpensNothingElse) {
    const TempDir folder;
    const std::string playlist =
        "ffconcat version 1.0\nfile '" + media_path("small_h264_aac.mp4").generic_string() + "'\n";
    write_bytes(folder / "list.ffconcat", bytes_of(playlist));
    EXPECT_FALSE(open_media("avio:" + (folder / "list.ffconcat").string()));
}

TEST(Sources, LeaveNoFileOpenWhenClosedAndWhenFailed) {
    const TempDir folder;
    const std::string still = media_path("still.png").string();
    const auto block = block_of(media_path("still.png"));
    write_bytes(folder / "zeros.bin", Bytes(3000));
    open_media("avio:" + still);
    const auto before = open_descriptors();
    if (!before)
        GTEST_SKIP() << "this system does not tell the open descriptors";
    for (int attempt = 0; attempt < 3; ++attempt) {
        EXPECT_TRUE(open_media("avio:" + still));
        EXPECT_TRUE(open_media(still));
        EXPECT_TRUE(Media(qmio_open_a(block.get())));
        EXPECT_FALSE(open_media("avio:" + (folder / "zeros.bin").string()));
        EXPECT_FALSE(open_media("avio:" + (folder / "missing.png").string()));
    }
    EXPECT_EQ(open_descriptors(), before);
}

// A picture of many packets' worth of bytes: those that FFmpeg notes when it seeks do not begin where it does.
TEST(StillFile, IsDeliveredAfterASeekToItHoweverLongItIs) {
    const TempDir folder;
    const auto path = folder / "noise.jpg";
    constexpr std::size_t kBytes = 1280 * 720 * 3 / 2;
    Bytes noise(kBytes);
    std::mt19937 random(5);
    for (uint8_t& byte : noise)
        byte = static_cast<uint8_t>(random());
    Media made(qmio_create_a(utf8(path).c_str(), "fmt=image2pipe,vcodec=mjpeg,pix=yuvj420p,size=1280x720"));
    EXPECT_EQ(qmio_write_frame(made.get(), noise.data()), 0);
    made.reset();
    const Bytes expected = next_picture(open_media(path)).pixels;
    for (const std::string prefix : {"", "avio:"}) {
        const Media media = open_media(prefix + utf8(path));
        for (int times = 0; times < 3; ++times) {
            EXPECT_EQ(qmio_seek_frame_ex(media.get(), 0), 0) << prefix;
            const Delivered delivered = next_picture(media);
            EXPECT_EQ(delivered.result, QMIO_PICTURE_PROGRESSIVE) << prefix << times;
            EXPECT_TRUE(delivered.pixels == expected) << prefix << times;
        }
    }
}

TEST(CaptureDevice, ThatIsNotThereFailsTheOpen) {
    for (const char* name : {"dshow:video=no such device", "dshow://video=no such device", "Dshow:video=no such device",
                             "DSHOW://video=no such device", "dshow:", "dshow://"})
        EXPECT_EQ(qmio_open_a(name), nullptr) << name;
    EXPECT_EQ(qmio_open_w(L"DShow://video=no such device"), nullptr);
}

TEST(CaptureDevice, IsTheSameWithAndWithoutSlashes) {
    using qmio::read::capture_device;
    EXPECT_EQ(capture_device("video=a device"), "video=a device");
    EXPECT_EQ(capture_device("//video=a device"), "video=a device");
    EXPECT_EQ(capture_device("//"), "");
    EXPECT_EQ(capture_device("/video=a//b"), "/video=a//b");
}

// No other kind of source writes this line.
TEST(CaptureDevice, IsOpenedAsOneWhateverTheCaseOfItsPrefix) {
    for (const char* name : {"dshow:no such device", "dshow://no such device", "DSHOW:no such device"}) {
        const TraceLines trace(qmio::TraceSwitch::open);
        EXPECT_EQ(qmio_open_a(name), nullptr);
        const std::string line = std::string("qmio_open_u8: dshow: avformat_open_input [") + (name + 6) + "] fail";
        const std::vector<std::string> lines = trace.read();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), line), 1) << name;
    }
}

}  // namespace
