// What the log tells about a source that is opened, read, sought in and closed. Left out is "error alloc format context",
// which no test can provoke: the handle, made before it, is the larger of the two, and without it the open says nothing.
#include <gtest/gtest.h>

extern "C" {
#include <libavutil/error.h>
}

#include <algorithm>
#include <cstring>
#include <regex>
#include <string_view>
#include <utility>

#include "core/handle/media_handle.h"
#include "platform/shared_mapping.h"
#include "read/decode.h"
#include "read/source.h"
#include "support/media.h"
#include "support/open_media.h"
#include "support/temp_dir.h"
#include "support/trace_lines.h"

namespace qmio::test {
namespace {

using Lines = std::vector<std::string>;

// Addresses and times differ from run to run, and the folders do.
Lines masked(const TraceLines& trace) {
    Lines lines = trace.read();
    for (std::string& line : lines) {
        line = std::regex_replace(line, std::regex("[0-9A-F]{16}"), "POINTER");
        line = std::regex_replace(line, std::regex("spent [0-9]+ msec"), "spent N msec");
        line = std::regex_replace(line, std::regex("(: |\\[)[^ \\[\\]]*[/\\\\]([^/\\\\ \\[\\]]+\\.[a-z0-9]+)"),
                                  "$1FOLDER/$2");
    }
    return lines;
}

Media open_quietly(const std::string& name) {
    return open_media(utf8(media_path(name)), "threads=1");
}

Lines open_lines(const std::string& name, const std::string& options, TraceSwitch kind = TraceSwitch::open) {
    const TraceLines trace(kind);
    const Media media = open_media(name, options);
    return masked(trace);
}

TEST(OpenLog, TellsEveryStepInOrder) {
    EXPECT_EQ(
        open_lines(utf8(media_path("two_tracks_pcm_mp2.mkv")), "threads=1,probesize=1M"),
        (Lines{"qmio_open_u8: enc 65001 [FOLDER/two_tracks_pcm_mp2.mkv] param [threads=1,probesize=1M]",
               "qmio_open_u8: avformat_open_input: format ctx POINTER",
               "qmio_open_u8: \tavformat_find_stream_info OK, 3 streams", "qmio_open_u8: VIDEO",
               "qmio_open_u8: \tavcodec_find_decoder OK",
               "qmio_open_u8: \tavcodec_open OK, 160 x 96, pix fmt 0 (yuv420p)", "qmio_open_u8: format dur 2011000",
               "qmio_open_u8: frames 50, stream frames  0",  // two blanks
               "qmio_open_audio: AUDIO", "qmio_open_u8: AUDIO, 2 streams of 3",
               "qmio_open_u8: done, index handle POINTER, mem POINTER, dur 50",
               "qmio_open_u8: on exit: spent N msec"}));
}

TEST(OpenLog, TellsTheLengthThatTheStreamKnows) {
    const Lines lines = open_lines(utf8(media_path("plain.mp4")), "threads=1");
    ASSERT_GT(lines.size(), 7U);
    EXPECT_EQ(lines[6], "qmio_open_u8: frames 150, stream dur 76800, timebase 1/12800, framerate 25/1");
    EXPECT_EQ(lines[7], "qmio_open_u8: frames 150, stream frames  150");
}

TEST(OpenLog, TellsOfSoundAlone) {
    EXPECT_EQ(
        open_lines(utf8(media_path("tone.wav")), ""),
        (Lines{"qmio_open_u8: enc 65001 [FOLDER/tone.wav] param []",
               "qmio_open_u8: avformat_open_input: format ctx POINTER",
               "qmio_open_u8: \tavformat_find_stream_info OK, 1 streams", "qmio_open_audio: AUDIO",
               "qmio_open_u8: AUDIO, 1 streams of 1", "qmio_open_u8: done, index handle POINTER, mem POINTER, dur 0",
               "qmio_open_u8: on exit: spent N msec"}));
}

TEST(OpenLog, TellsTheOptionsAndWhoTookThem) {
    EXPECT_EQ(open_lines(utf8(media_path("mjpeg.avi")), "threads=2,probesize=1M,nonesuch=1", TraceSwitch::options),
              (Lines{"qmio_open_u8: format opts:", "qmio_open_u8: \t[probesize] = [1M]",
                     "qmio_open_u8: video opts:", "qmio_open_u8: \t[threads] = [2]"}));
}

TEST(OpenLog, TellsWhatKindOfSourceFailed) {
    const std::pair<std::string, Lines> sources[] = {
        {"missing.mkv", {"enc 65001 [missing.mkv] param []", "avformat_open_input [missing.mkv] fail"}},
        {"Avio:missing.png", {"enc 65001 [Avio:missing.png] param []", "avio: avformat_open_input [missing.png] fail"}},
        {"dshow://no", {"enc 65001 [dshow://no] param []", "dshow: avformat_open_input [//no] fail"}},
        {"ftp:?passive",
         {"enc 65001 [ftp:?passive] param []", "FTP passive 1", "aftp: avformat_open_input [ftp:?passive] fail"}},
        {"ftp:?x", {"enc 65001 [ftp:?x] param []", "FTP passive 0", "avformat_open_input [ftp:?x] fail"}}};
    for (const auto& [name, expected] : sources) {
        Lines lines = open_lines(name, "");
        std::erase_if(lines, [](const std::string& line) { return line.find("av_log: ") != line.npos; });
        for (std::string& line : lines)
            line.erase(0, line.starts_with("qmio_open_u8: ") ? 14 : 0);
        EXPECT_EQ(lines, expected) << name;
    }
}

Lines without_messages(Lines lines) {
    std::erase_if(lines, [](const std::string& line) { return line.find("av_log: ") != line.npos; });
    return lines;
}

// These two have no end of line of their own: what comes next stands behind them.
TEST(OpenLog, TellsThatACodecIsUnknown) {
    const TempDir folder;
    Bytes film = read_bytes(media_path("mjpeg.avi"));
    replace_bytes(film, "MJPG", "????");
    write_bytes(folder / "film.avi", film);
    const Lines of_film = without_messages(open_lines(utf8(folder / "film.avi"), ""));
    ASSERT_GE(of_film.size(), 2U);
    EXPECT_EQ(Lines(of_film.end() - 2, of_film.end()),
              (Lines{"qmio_open_u8: VIDEO", "qmio_open_u8: No codec found for video stream 0"}));
    Bytes sound = read_bytes(media_path("tone.wav"));
    sound[20] = sound[21] = 0x77;
    write_bytes(folder / "sound.wav", sound);
    const Lines of_sound = without_messages(open_lines(utf8(folder / "sound.wav"), ""));
    ASSERT_GE(of_sound.size(), 2U);
    EXPECT_EQ(Lines(of_sound.end() - 2, of_sound.end()),
              (Lines{"qmio_open_u8: AUDIO, 1 streams of 1", "qmio_open_u8: No codec found for audio stream 0 (0)"}));
}

// A film that ends with its header, which names no stream.
TEST(OpenLog, TellsThatThereAreNoStreams) {
    const TempDir folder;
    Bytes film = {'F', 'L', 'V', 1, 0, 0, 0, 0, 9};
    film.resize(200);
    write_bytes(folder / "header.flv", film);
    const Lines lines = without_messages(open_lines(utf8(folder / "header.flv"), ""));
    ASSERT_GE(lines.size(), 3U);
    EXPECT_EQ(lines[2], "qmio_open_u8: \tavformat_find_stream_info ***FAIL, 0 streams");
}

TEST(OpenLog, TellsThatABlockTellsNoSize) {
    const auto block = memory_block("mem:", Bytes(8, 'x'));
    const TraceLines trace(TraceSwitch::open);
    EXPECT_EQ(qmio_open_u8(block.get(), nullptr), nullptr);
    ASSERT_FALSE(trace.read().empty());
    EXPECT_EQ(trace.read().back(), "qmio_open_u8: mem: avformat_open_input [] fail");
}

TEST(ReadLog, TellsOfPacketsPicturesAndTheEnd) {
    const Media media = open_quietly("still.png");
    const TraceLines trace(TraceSwitch::read);
    next_picture(media);
    qmio_seek_frame(media.get(), 0);
    next_picture(media);
    qmio_video_pkt(media.get(), picture_buffer(media).data(), nullptr);
    EXPECT_EQ(masked(trace), (Lines{"qmio_get_frame: av_read_frame OK", "qmio_get_frame: 0: byte pos 0, size 3913",
                                    "dec_video_pkt: \t*** want frame 0, have frame -1, key 1, size 3913, pts 0 dts 0",
                                    "dec_video_pkt: \tframe 0: finished 1, decode pkt 3913 bytes of 3913",
                                    "dec_get_buf: \tframe 0: cvt to user pixfmt res 121",
                                    "qmio_get_frame: av_read_frame res -541478725 [End of file]",
                                    "trace_err: error 1: single frame"}));
}

TEST(SeekLog, TellsPlacesRatesAndTimes) {
    const Media media = open_quietly("plain.mp4");
    const TraceLines trace(TraceSwitch::seek);
    qmio_seek_frame(media.get(), 70);
    next_picture(media);
    qmio_seek_frame_ex(media.get(), 20);
    qmio_seek_frame_ex_old(media.get(), 20);
    Lines lines = masked(trace);
    for (std::string& line : lines)
        line = std::regex_replace(line, std::regex("offset [0-9]+"), "offset N");
    // The frame that was asked for stands after "from".
    EXPECT_EQ(lines,
              (Lines{"qmio_seek_frame: [FOLDER/plain.mp4] offset N",
                     "qmio_seek_frame: [FOLDER/plain.mp4] nf 150, time base 1 12800, frame rate 25 1",
                     "qmio_seek_frame: [FOLDER/plain.mp4] res 0: from 70 to 0: ts 35840 = 70 * 1 * 12800 / 25 / 1",
                     "qmio_seek_frame_ex: [FOLDER/plain.mp4] offset N",
                     "qmio_seek_frame_ex: [FOLDER/plain.mp4] nf 150, time base 1 12800, frame rate 25 1",
                     "qmio_seek_frame_ex: [FOLDER/plain.mp4] res 0: from 20 to 71: ts 10240 = 20 * 1 * 12800 / 25 / 1",
                     "qmio_seek_frame_ex_old: [FOLDER/plain.mp4] already on frame 20"}));
}

// The packet read last tells it; the position that was sought stands behind.
TEST(SeekLog, TellsTheTimeOfTheLastPacket) {
    const Media media = open_quietly("plain.mp4");
    for (int packet = 0; packet < 10; ++packet)
        qmio_get_frame(media.get());
    const int64_t dts = media->reading.packet->dts;
    const TraceLines trace(TraceSwitch::seek);
    qmio_seek_frame(media.get(), 70);
    ASSERT_EQ(masked(trace).size(), 4U);
    EXPECT_EQ(masked(trace).back(), "qmio_seek_frame: [FOLDER/plain.mp4] cur_dts " + std::to_string(dts) +
                                        ", start_time 0, ts 35840, new frame " + std::to_string(dts * 25 / 12800));
}

TEST(SeekLog, TellsThatASourceCannotBeSought) {
    const Media media = open_quietly("plain.mp4");
    media->reading.no_seek = true;
    const TraceLines trace(TraceSwitch::seek);
    qmio_seek_frame(media.get(), 70);
    qmio_seek_frame_ex_old(media.get(), -3);
    EXPECT_EQ(masked(trace), (Lines{"qmio_seek_frame: [FOLDER/plain.mp4] NO SEEK SUPPORTED, frame 70",
                                    "qmio_seek_frame_ex_old: [FOLDER/plain.mp4] NO SEEK SUPPORTED, frame -3"}));
}

// A writer shares entry 0, the number of frames, and a position for each.
TEST(SeekLog, TellsThePositionsOfTheIndex) {
    const TempDir folder;
    const std::filesystem::path path = folder / "indexed.ts";
    std::filesystem::copy_file(media_path("intra_mpeg2.ts"), path);
    std::string name = utf8(path);
    std::replace(name.begin(), name.end(), '\\', '/');
    const auto index = platform::SharedMapping::create(name, 64);
    ASSERT_NE(index, nullptr);
    constexpr int64_t kEntries[] = {3, 0, 1128, 2256};
    std::memcpy(index->data(), kEntries, sizeof kEntries);
    const Media media = open_media(utf8(path), "threads=1");
    const TraceLines trace(TraceSwitch::seek);
    qmio_seek_frame(media.get(), 250);
    qmio_seek_frame_ex_old(media.get(), 1);
    Lines lines = masked(trace);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(Lines(lines.begin() + 1, lines.end()),
              (Lines{"qmio_seek_frame: [FOLDER/indexed.ts] frame 2, byte seek 2256, res 0",
                     "qmio_seek_frame_ex_old: [FOLDER/indexed.ts] frame 1, byte seek 1128, res 0"}));
}

TEST(ReadLog, TellsThatAPacketCouldNotBeDecoded) {
    const TempDir folder;
    Bytes bytes = read_bytes(media_path("still.png"));
    std::fill(bytes.begin() + 60, bytes.begin() + 200, uint8_t{0x55});
    write_bytes(folder / "broken.png", bytes);
    const Media media = open_media(utf8(folder / "broken.png"), "threads=1");
    ASSERT_TRUE(media);
    Bytes buffer(std::size_t{1} << 20);
    const TraceLines trace(TraceSwitch::read);
    EXPECT_EQ(qmio_read_frame(media.get(), buffer.data()), QMIO_DECODER_ERROR);
    const Lines lines = masked(trace);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(),
              "dec_video_pkt: \t[FOLDER/broken.png] decode video error " + std::to_string(AVERROR_INVALIDDATA));
}

// What is refused before anything is decoded. That there are no frames to decode into is seen by a handle that lost them
// alone: an open that cannot make them fails.
TEST(ReadLog, TellsWhatIsMissing) {
    const Media media = open_quietly("two_tracks_pcm_mp2.mkv");
    Bytes pixels = picture_buffer(media);
    const auto told = [&](const auto& call) {
        const TraceLines trace(TraceSwitch::read);
        const int result = call();
        Lines lines = trace.read();
        lines.push_back(std::to_string(result));
        return lines;
    };
    const auto drain = [&] { return qmio_video_pkt(media.get(), pixels.data(), nullptr); };
    // The calls of hosts refuse null themselves.
    EXPECT_EQ(told([&] {
                  read::Source source(*media);
                  return read::decode_packet(source, nullptr, nullptr);
              }),
              (Lines{"trace_err: error -1: pm == NULL", "-1"}));
    while (qmio_get_frame(media.get()) != 2)
        qmio_release_frame(media.get());
    const Record sound(qmio_pkt_alloc());
    ASSERT_NE(qmio_pkt_dup(media.get(), sound.get()), nullptr);
    EXPECT_EQ(told([&] { return qmio_video_pkt(media.get(), pixels.data(), sound.get()); }),
              (Lines{"trace_err: error -5: pkt->stream_index != video", "-5"}));
    const auto target = std::move(media->reading.pFrameRGB);
    EXPECT_EQ(told(drain), (Lines{"trace_err: error -1: fp->pFrameRGB == NULL", "-1"}));
    const auto frame = std::move(media->reading.pFrame);
    EXPECT_EQ(told(drain), (Lines{"trace_err: error -1: fp->pFrame == NULL", "-1"}));
}

// The lines of the decoder for the first packet, which the picture does not come with.
Lines lines_of_first_packet(const std::string& name) {
    const Media media = open_quietly(name);
    Bytes pixels = picture_buffer(media);
    while (qmio_get_frame(media.get()) != 1)
        qmio_release_frame(media.get());
    const TraceLines trace(TraceSwitch::read);
    EXPECT_EQ(qmio_video_frame(media.get(), pixels.data()), 0);
    Lines lines = masked(trace);
    for (std::string& line : lines)
        line = std::regex_replace(line, std::regex("(size|pts|dts|pkt|of) -?[0-9]+"), "$1 N");
    return lines;
}

TEST(ReadLog, TellsOfAPacketWhosePictureComesLater) {
    EXPECT_EQ(lines_of_first_packet("bframes_open_gop.mp4"),
              (Lines{"dec_video_pkt: \t*** want frame 0, have frame -1, key 1, size N, pts N dts N",
                     "dec_video_pkt: \tframe 0: finished 0, decode pkt N bytes of N",
                     "dec_video_pkt: \tframe 0: finished 0, new pkt size N", "dec_video_pkt: done"}));
    EXPECT_EQ(lines_of_first_packet("mpeg2.ts"),
              (Lines{"dec_video_pkt: \t*** want frame 0, have frame -1, key 1, size N, pts N dts N",
                     "dec_video_pkt: \tframe 0: finished 0, decode pkt N bytes of N",
                     "dec_video_pkt: \tframe 0: finished 0, new pkt size N",
                     "dec_video_pkt: \tframe 0: not decoded, key 1"}));
}

TEST(ReadLog, TellsThatPicturesWereMadeOpaque) {
    const TempDir folder;
    write_bytes(folder / "black.ppm", {'P', '6', ' ', '1', ' ', '1', ' ', '2', '5', '5', '\n', 0, 0, 0});
    const Media media = open_media(folder / "black.ppm");
    ASSERT_NE(media, nullptr);
    ASSERT_EQ(qmio_set_dst_fmt(media.get(), qmio_fmtid("AV_PIX_FMT_ARGB")), 1);
    const TraceLines trace(TraceSwitch::read);
    EXPECT_GT(next_picture(media).result, 0);
    const Lines lines = trace.read();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(Lines(lines.end() - 2, lines.end()),
              (Lines{"dec_get_buf: \tframe 0: cvt to user pixfmt res 1", "dec_get_buf: add opaque alpha"}));
}

TEST(CloseLog, TellsEveryStepOfAReader) {
    Media media = open_quietly("two_tracks_pcm_mp2.mkv");
    const TraceLines trace(TraceSwitch::close);
    media.reset();
    EXPECT_EQ(masked(trace), (Lines{"qmio_close: read: FOLDER/two_tracks_pcm_mp2.mkv", "qmio_close: read",
                                    "qmio_close: codecs closed", "qmio_close: avformat_close_input done",
                                    "qmio_close: start free frames", "qmio_close: free frames", "qmio_close: exit"}));
}

TEST(CloseLog, TellsThatASourceWasCancelledBefore) {
    Media media = open_quietly("two_tracks_pcm_mp2.mkv");
    qmio_cancel(media.get());
    const TraceLines trace(TraceSwitch::close);
    media.reset();
    EXPECT_EQ(masked(trace),
              (Lines{"qmio_close: read: FOLDER/two_tracks_pcm_mp2.mkv", "qmio_close: bad format context (NULL)",
                     "qmio_close: start free frames", "qmio_close: free frames", "qmio_close: exit"}));
}

TEST(CloseLog, TellsNothingOfNull) {
    const TraceLines trace(TraceSwitch::close);
    EXPECT_EQ(qmio_close(nullptr), 0);
    EXPECT_EQ(masked(trace), Lines{});
}

}  // namespace
}  // namespace qmio::test
