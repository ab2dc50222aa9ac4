// What the log tells about a file that takes packets of others.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "core/handle/media_handle.h"
#include "support/media.h"
#include "support/remuxing.h"
#include "support/trace_lines.h"

namespace qmio::test {
namespace {

using Lines = std::vector<std::string>;

const Media kNothing;

class RemuxLog : public testing::Test {
  protected:
    Lines lines(TraceSwitch kind, const std::string& name, const std::string& options, bool with_sound) const {
        const Media source = open_media(media_path(name));
        const TraceLines trace(kind);
        { const Media copy = mux(folder_ / "copy|rest", options, source, with_sound ? source : kNothing); }
        Lines found = trace.read();
        for (std::string& line : found) {
            line = std::regex_replace(line, std::regex("[0-9A-F]{16}"), "POINTER");
            line = std::regex_replace(line, std::regex("\\[[^ ]*qmio-test-[0-9-]+."), "[FOLDER/");
        }
        return found;
    }

    TempDir folder_;
};

TEST_F(RemuxLog, TellsEveryStepInOrder) {
    EXPECT_EQ(lines(TraceSwitch::create, "small_h264_aac.mp4", "fmt=avi", true),
              (Lines{"qmio_mux_u8: start [FOLDER/copy]", "qmio_mux_u8: opt parsed [fmt=avi]", "qmio_mux_u8: video",
                     "qmio_mux_u8: copy codec param done", "qmio_mux_u8: copy codec tag done",
                     "qmio_mux_u8: copy bitrate done", "qmio_mux_u8: copy extradata done",
                     "qmio_mux_u8: try get timecode from input video", "qmio_mux_u8: NO timecode in input video",
                     "qmio_mux_u8: timebase calc done", "qmio_mux_u8: start video specific",
                     "qmio_mux_u8: end of video", "qmio_mux_u8: audio", "qmio_mux_u8: create_file",
                     "qmio_mux_u8: before avformat_write_header, codec fps 25/1, tbr 25/1, tbs 1/50, tbc 1/50",
                     "qmio_mux_u8: after avformat_write_header, codec fps 25/1, tbr 25/1, tbs 1/50, tbc 1/50",
                     "qmio_mux_u8: after avformat_write_header, res 0"}));
}

TEST_F(RemuxLog, TellsTheTracksThatAreEncoded) {
    const Lines found =
        lines(TraceSwitch::create, "plain.mp4", "fmt=mov,acodec=pcm_s16le,ar=48000,ac=2,afmt=s16", false);
    EXPECT_TRUE(std::find(found.begin(), found.end(), "qmio_mux_u8: audio, 1 tracks") != found.end());
    EXPECT_TRUE(std::find(found.begin(), found.end(), "qmio_mux_u8: \ttrack 0 OK, 2 chans") != found.end());
}

TEST_F(RemuxLog, TellsARefusedHeader) {
    const Lines found = lines(TraceSwitch::create, "live_vp8.mkv", "fmt=mov", false);
    ASSERT_FALSE(found.empty());
    EXPECT_EQ(found.back(), "qmio_mux_u8: after avformat_write_header ERROR");
}

TEST_F(RemuxLog, TellsAFileThatCannotBeOpenedWhateverTheSwitches) {
    const Media source = open_media(media_path("plain.mp4"));
    const TraceLines trace(TraceSwitch::read);
    EXPECT_FALSE(mux(folder_ / "missing" / "copy", "fmt=mov", source, kNothing));
    const Lines found = trace.read();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_TRUE(std::regex_match(found[0], std::regex("qmio_mux_u8: open \\[.*missing.copy\\] ERR"))) << found[0];
}

TEST_F(RemuxLog, TellsTheOptionsThatTheContainerGetsAndItsTags) {
    const Lines found =
        lines(TraceSwitch::options, "plain.mp4", "fmt=mov,movflags=faststart,metadata=title=Rain", false);
    const auto place = std::find(found.begin(), found.end(), "qmio_mux_u8: format opts:");
    EXPECT_EQ(Lines(place, found.end()), (Lines{"qmio_mux_u8: format opts:", "qmio_mux_u8: \t[movflags] = [faststart]",
                                                "qmio_mux_u8: metadata opts:", "qmio_mux_u8: \t[title] = [Rain]"}));
}

// Decoding may have found out more than the file's header tells.
TEST(RemuxOfReorderedPictures, TellsTheMuxerWhatTheDecoderKnows) {
    const TempDir folder;
    const Media source = open_media(media_path("plain.mp4"));
    source->video.codec->has_b_frames = 7;
    const Media copy = mux(folder / "copy", "fmt=mov", source, kNothing);
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->video.stream->codecpar->video_delay, 7);
}

// As an open leaves it whose decoder is missing.
TEST(RemuxOfSoundWithoutDecoder, HasVideoOnly) {
    const TempDir folder;
    const Media source = open_media(media_path("small_h264_aac.mp4"));
    source->tracks.first().codec = nullptr;
    const Media copy = mux(folder / "copy", "fmt=mov", source, source);
    ASSERT_TRUE(copy);
    EXPECT_EQ(file_param(copy, "naudio"), 0);
    EXPECT_EQ(copy->container.format_ctx->nb_streams, 1U);
}

}  // namespace
}  // namespace qmio::test
