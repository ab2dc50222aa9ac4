// Every way in which an open fails, and what the host is told of it; and the same for reading and seeking.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <functional>

#include "ffmpeg/ffmpeg.h"
#include "support/loopback_server.h"
#include "support/media.h"
#include "support/open_media.h"
#include "support/temp_dir.h"
#include "support/why.h"

namespace qmio::test {
namespace {

using Open = std::function<MediaHandle*(const TempDir& folder)>;

struct Failure {
    const char* name;
    Open open;
    int code;          // 0: any
    const char* step;  // is in the text, as far as it is the same everywhere
};

void PrintTo(const Failure& failure, std::ostream* out) {
    *out << failure.name;
}

std::string file_with(const TempDir& folder, const Bytes& bytes, const char* name = "file.mp4") {
    write_bytes(folder / name, bytes);
    return utf8(folder / name);
}

Bytes text(const std::string& letters) {
    return Bytes(letters.begin(), letters.end());
}

Bytes start_of(const char* media, std::size_t bytes) {
    Bytes start = read_bytes(media_path(media));
    start.resize(bytes);
    return start;
}

// A film whose codec nobody knows.
Bytes of_unknown_codec() {
    Bytes film = read_bytes(media_path("mjpeg.avi"));
    replace_bytes(film, "MJPG", "????");
    return film;
}

MediaHandle* open(const std::string& name, const char* options = nullptr) {
    return qmio_open_u8(name.c_str(), options);
}

class FailedOpen : public testing::TestWithParam<Failure> {};

TEST_P(FailedOpen, TellsWhy) {
    const TempDir folder;
    why();
    ASSERT_EQ(GetParam().open(folder), nullptr);
    const Why told = why();
    EXPECT_LT(told.code, 0);
    EXPECT_NE(told.code, AVERROR_BUG) << told;
    EXPECT_NE(told.code, AVERROR_UNKNOWN) << told;
    EXPECT_EQ(told.code, GetParam().code != 0 ? GetParam().code : told.code) << told;
    EXPECT_TRUE(told.text.starts_with("cannot open")) << told;
    EXPECT_TRUE(told.holds(GetParam().step)) << told;
    EXPECT_EQ(why().code, 0);
}

const Failure kFailures[] = {
    {"NullName", [](const TempDir&) { return qmio_open_a(nullptr); }, AVERROR(EINVAL), "there is no name"},
    {"NullWideName", [](const TempDir&) { return qmio_open_w(nullptr); }, AVERROR(EINVAL), "there is no name"},
    {"NullNameInUtf8", [](const TempDir&) { return qmio_open_u8(nullptr, nullptr); }, AVERROR(EINVAL), "no name"},
    {"LongName", [](const TempDir&) { return qmio_open_a(std::string(513, 'a').c_str()); }, AVERROR(ENAMETOOLONG),
     "the name is longer"},
    {"LongWideName", [](const TempDir&) { return qmio_open_w(std::wstring(1024, L'a').c_str()); },
     AVERROR(ENAMETOOLONG), "the name is longer"},
    {"LongNameInUtf8", [](const TempDir&) { return open(std::string(1024, 'a')); }, AVERROR(ENAMETOOLONG),
     "the name is longer"},
    {"WideBlock", [](const TempDir&) { return qmio_open_w(L"mem:10"); }, AVERROR(EINVAL), "a memory block"},
    {"LongWideOptions", [](const TempDir&) { return qmio_open_ex_w(L"a.mp4", std::wstring(4096, L'a').c_str()); },
     AVERROR(E2BIG), "the options are longer"},
    {"NameThatIsNotUtf8", [](const TempDir&) { return open("a\xFF.mp4"); }, AVERROR(EILSEQ), "the name is not UTF-8"},
    {"OptionsThatAreNotUtf8", [](const TempDir&) { return open("a.mp4", "a=\xFF"); }, AVERROR(EILSEQ),
     "the options are not UTF-8"},
    {"EmptyName", [](const TempDir&) { return open(""); }, 0, "cannot open"},
    {"AbsentFile", [](const TempDir& folder) { return open(utf8(folder / "absent.mp4")); }, AVERROR(ENOENT),
     "absent.mp4: No such file or directory"},
    {"Folder", [](const TempDir& folder) { return open(utf8(folder.path())); }, 0, "cannot open"},
    {"Letter", [](const TempDir& folder) { return open(file_with(folder, text("a letter, no film"))); },
     AVERROR_INVALIDDATA, "file.mp4: Invalid data"},
    {"EmptyFile", [](const TempDir& folder) { return open(file_with(folder, {})); }, 0, "file.mp4: "},
    {"CutFile", [](const TempDir& folder) { return open(file_with(folder, start_of("plain.mp4", 20000))); },
     AVERROR_INVALIDDATA, "(moov atom not found)"},
    {"UnknownCodec", [](const TempDir& folder) { return open(file_with(folder, of_unknown_codec(), "film.avi")); },
     AVERROR_DECODER_NOT_FOUND, "nothing tells the codec of video stream 0"},
    {"BlockWithoutSize",
     [](const TempDir&) {
         const auto block = memory_block("mem:", text("no size"));
         return qmio_open_a(block.get());
     },
     AVERROR(EINVAL), "the memory block: its header tells no size"},
    {"BlockWithoutPicture",
     [](const TempDir&) {
         const Bytes letter = text("no picture in here, whatever one looks for");
         const auto block = memory_block(memory_header(letter.size()), letter);
         return qmio_open_u8(block.get(), nullptr);
     },
     0, "the memory block: "},
    {"AbsentPicture", [](const TempDir& folder) { return open("avio:" + utf8(folder / "absent.png")); },
     AVERROR(ENOENT), "absent.png: No such file or directory"},
    {"FolderForAPicture", [](const TempDir& folder) { return open("avio:" + utf8(folder.path())); }, 0, "avio:"},
    {"NoPicture", [](const TempDir& folder) { return open("avio:" + file_with(folder, text("no picture"))); }, 0,
     "avio:"},
    {"RefusedConnection", [](const TempDir&) { return open("tcp://127.0.0.1:1", "timeout=2000000"); }, 0,
     "tcp://127.0.0.1:1: "},
    {"RefusedPassiveFtp", [](const TempDir&) { return open("ftp://127.0.0.1:1/a?passive", "timeout=2000000"); }, 0,
     "ftp://127.0.0.1:1/a?passive: "},
    {"FtpWithoutHost", [](const TempDir&) { return open("ftp:///a?passive"); }, AVERROR(EINVAL), "ftp:///a?passive"},
    {"UnknownProtocol", [](const TempDir&) { return open("nonesuch://a"); }, 0, "nonesuch://a: "},
    {"CaptureDevice", [](const TempDir&) { return open("dshow:video=no such device"); }, 0, "dshow:"},
    {"MuteServer",
     [](const TempDir&) {
         const LoopbackServer server({});
         return open(server.url(), "timeout=250000");
     },
     AVERROR(ETIMEDOUT), "stood still"},
    {"ServerThatFallsSilent",
     [](const TempDir&) {
         const LoopbackServer server(start_of("two_tracks_pcm_mp2.mkv", 100));
         return open(server.url(), "timeout=250000");
     },
     AVERROR(ETIMEDOUT), "stood still"},
    {"OwnOptionOfNoSense", [](const TempDir&) { return open("a.mp4", "cancel=soon"); }, AVERROR(EINVAL),
     "a.mp4: option cancel cannot be \"soon\""},
    {"TimeLimitOfNoSense", [](const TempDir&) { return open("a.mp4", "open_timeout=-1"); }, AVERROR(EINVAL),
     "option open_timeout"},
};

INSTANTIATE_TEST_SUITE_P(Of, FailedOpen, testing::ValuesIn(kFailures),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(OpenWithoutSound, TellsWhyThereIsNone) {
    const TempDir folder;
    Bytes film = read_bytes(media_path("two_tracks_pcm_mp2.mkv"));
    ASSERT_GT(replace_bytes(film, "A_MPEG/L2", "A_MPEG/LX"), 0);
    why();
    const Media media(open(file_with(folder, film, "film.mkv")));
    ASSERT_TRUE(media);
    const Why told = why();
    EXPECT_EQ(told.code, 0);
    EXPECT_TRUE(told.text.starts_with("there is no sound: nothing tells the codec of track ")) << told;
}

TEST(FailedReading, TellsTheFileAndTheCause) {
    const Player player(media_path("small_h264_aac.mp4"));
    why();
    EXPECT_EQ(qmio_read_frame(player.handle(), nullptr), 0);
    EXPECT_EQ(why().code, AVERROR(EINVAL));
    EXPECT_EQ(qmio_read_frame(nullptr, nullptr), 0);
    EXPECT_EQ(why().code, AVERROR(EINVAL));
    EXPECT_EQ(qmio_get_frame(nullptr), -1);
    EXPECT_EQ(why().text, "no handle: Invalid argument");
    qmio_cancel(player.handle());
    EXPECT_EQ(qmio_get_frame(player.handle()), -1);
    const Why told = why();
    EXPECT_EQ(told.code, AVERROR_EXIT);
    EXPECT_TRUE(told.holds("cannot read ")) << told;
    EXPECT_TRUE(told.holds("small_h264_aac.mp4: cancelled")) << told;
}

TEST(FailedReading, IsNotTheEndOfASource) {
    Player player(media_path("small_h264_aac.mp4"));
    why();
    player.read_rest(1000);
    EXPECT_EQ(qmio_get_frame(player.handle()), -1);
    EXPECT_EQ(why().code, 0);
}

TEST(FailedReading, OfADamagedPacketTellsTheDecodersError) {
    const Media media = open_on_one_thread(media_path("small_h264_aac.mp4"));
    ASSERT_TRUE(media);
    Bytes nonsense(100 + AV_INPUT_BUFFER_PADDING_SIZE, 0xFF);
    const Record packet(qmio_pkt_alloc());
    packet->data = nonsense.data();
    packet->size = 100;
    packet->stream_index = static_cast<int>(file_param(media, "video"));
    why();
    EXPECT_EQ(qmio_video_pkt(media.get(), nullptr, packet.get()), QMIO_DECODER_ERROR);
    const Why told = why();
    EXPECT_EQ(told.code, AVERROR_INVALIDDATA) << told;
    EXPECT_TRUE(told.holds("small_h264_aac.mp4: a packet of the video cannot be decoded")) << told;
}

TEST(FailedReading, OfSoundAloneTellsThatThereIsNoVideo) {
    const Media sound = open_media(media_path("tone.wav"));
    why();
    Bytes pixels(64);
    EXPECT_EQ(qmio_read_frame(sound.get(), pixels.data()), 0);
    EXPECT_TRUE(why().holds("there is no video to decode"));
}

TEST(FailedSeeking, TellsTheFileAndTheCause) {
    const Player player(media_path("small_h264_aac.mp4"));
    why();
    qmio_cancel(player.handle());
    EXPECT_EQ(qmio_seek_ts(player.handle(), 5, 1), 0);
    Why told = why();
    EXPECT_LT(told.code, 0);
    EXPECT_TRUE(told.holds("cannot seek in ")) << told;
    EXPECT_EQ(qmio_seek_frame(nullptr, 5), 0);
    told = why();
    EXPECT_EQ(told.code, AVERROR(EINVAL));
}

TEST(FailedSeeking, IsNotASeekToFrameZero) {
    const Player player(media_path("small_h264_aac.mp4"));
    why();
    EXPECT_EQ(qmio_seek_frame(player.handle(), 5), 5);
    EXPECT_EQ(qmio_seek_frame(player.handle(), 0), 0);
    EXPECT_EQ(why().code, 0);
}

// The last of the options shows that all of them arrived.
TEST(WideOptions, OfUpTo4095BytesAreTakenWhole) {
    for (const std::size_t bytes : {1023U, 1024U, 4095U})
        for (const std::wstring seconds : {L"90", L"-1"}) {
            const std::wstring begin = L"threads=1,nonesuch=", end = L",open_timeout=" + seconds;
            const std::wstring options = begin + std::wstring(bytes - begin.size() - end.size(), L'x') + end;
            why();
            const Media media(qmio_open_ex_w(wide_name(media_path("plain.mp4")).c_str(), options.c_str()));
            EXPECT_EQ(media != nullptr, seconds == L"90") << bytes << " " << why();
        }
}

}  // namespace
}  // namespace qmio::test
