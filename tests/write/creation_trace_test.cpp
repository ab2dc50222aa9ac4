// What the log tells about a file that is being made, written and closed; and that nothing stays behind where making
// it failed on the way.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <regex>
#include <sstream>

#include "support/made_pictures.h"
#include "support/media.h"
#include "support/trace_lines.h"
#include "support/why.h"

namespace qmio::test {
namespace {

using Lines = std::vector<std::string>;

const std::string kVideo = "vcodec=mjpeg,pix_fmt=yuvj420p,size=64x48";
const std::string kPcm = ",acodec=pcm_s16le,ac=2,ar=48000,afmt=s16";
const std::string kAac = ",acodec=aac,ac=2,ar=48000,afmt=fltp";

// Addresses differ from run to run, and the folder does.
Lines masked(const TraceLines& trace) {
    Lines lines = trace.read();
    for (std::string& line : lines) {
        line = std::regex_replace(line, std::regex("[0-9A-F]{16}"), "POINTER");
        line = std::regex_replace(line, std::regex("(: |\\[)[^ ]*qmio-test-[0-9-]+."), "$1FOLDER/");
    }
    return lines;
}

// Those of the muxer, which differ from release to release.
std::string flags_of(const char* muxer) {
    std::ostringstream text;
    text << "0x" << std::hex << av_guess_format(muxer, nullptr, nullptr)->flags;
    return text.str();
}

class CreationLog : public testing::Test {
  protected:
    // The lines of one kind that making, writing and closing a file leaves.
    Lines lines(TraceSwitch kind, const std::string& options, uint32_t flags = 0) const {
        const TraceLines trace(kind);
        {
            const Writer writer(folder_ / "film.mov|rest", options, flags);
            EXPECT_TRUE(writer.is_open());
            write_pictures(writer, PictureMaker("AV_PIX_FMT_YUVJ420P", 64, 48), 2);
            writer.write_sound(0, Bytes(400));
            writer.write_sound(1, Bytes(8 * 1500));
        }
        return masked(trace);
    }

    TempDir folder_;
};

TEST_F(CreationLog, TellsEveryStepInOrder) {
    EXPECT_EQ(
        lines(TraceSwitch::create, "fmt=mov,r=30000/1001,top=1,ab=96k," + kVideo + kPcm + kAac + ",acodec=none",
              QMIO_CREATE_INTERLEAVED | QMIO_CREATE_FRAME_INDEX | QMIO_CREATE_SUPPRESSED),
        (Lines{"qmio_create_u8: context ok, flags 0x80000", "qmio_create_u8: video",
               "qmio_create_u8: encoder found POINTER [mjpeg]",
               "qmio_create_u8: unused opts:", "qmio_create_u8: audio, 3 tracks",
               "qmio_create_u8: \task sample fmt 1 (s16)", "qmio_create_u8: \tcodec [pcm_s16le], sample fmt 1 (s16)",
               "qmio_create_u8: \taudio stream created, ctx POINTER",
               "qmio_create_u8: \tset bitrate 96000, old bitrate 128000", "qmio_create_u8: \ttrack 0 OK, 2 chans",
               "qmio_create_u8: \task sample fmt 8 (fltp)", "qmio_create_u8: \tcodec [aac], sample fmt 8 (fltp)",
               "qmio_create_u8: \taudio stream created, ctx POINTER",
               "qmio_create_u8: \tset bitrate 96000, old bitrate 0", "qmio_create_u8: \ttrack 1 OK, 2 chans",
               "qmio_create_u8: no codec for audio stream 2", "qmio_create_u8: create file",
               // Rates upside down, time bases not.
               "qmio_create_u8: before write header, fps 1001/30000, tbr 1001/30000, tbs 1001/30000, tbc "
               "1001/30000",
               "qmio_create_u8: format context flags 0x200000", "qmio_create_u8: format flush_packets -1",
               "qmio_create_u8: format packet_size 0", "qmio_create_u8: before write header field order param 2, enc 2",
               "qmio_create_u8: after write header field order param 2, enc 2",
               "qmio_create_u8: ************************************",
               "qmio_create_u8: after write header, format context flags 0x200000",
               "qmio_create_u8: after write header, format flush_packets -1",
               "qmio_create_u8: after write header, format packet_size 0",
               "qmio_create_u8: after write header, fps 1001/30000, tbr 1001/30000, tbs 1/30000, tbc "
               "1001/30000",
               "qmio_create_u8: format flags " + flags_of("mov"),
               "qmio_create_u8: done, index handle POINTER, mem POINTER"}));
}

TEST_F(CreationLog, TellsTheOptionsAndWhoTookThem) {
    const Lines all = lines(TraceSwitch::options,
                            "fmt=mov,r=0/2,top=0,timecode=01:00:00:00,movflags=faststart,nonesuch=1,b:v=2M,b:a=96k,"
                            "b:s=1,strict:v=-2,strict:a=experimental,metadata=\"title=A\"," +
                                kVideo + kPcm + kAac);
    const auto first = std::find(all.begin(), all.end(), "qmio_create_u8: format opts:");
    EXPECT_EQ(Lines(first, all.end()), (Lines{"qmio_create_u8: format opts:",
                                              "qmio_create_u8: \t[movflags] = [faststart]",
                                              "qmio_create_u8: metadata opts:",
                                              "qmio_create_u8: \t[title] = [A]",
                                              "qmio_create_u8: \t[product_version] = [5.9]",
                                              "qmio_create_u8: \t[product_name] = [qmstudio]",
                                              "qmio_create_u8: \t[company_name] = [qmstudio.example]",
                                              "qmio_create_u8: set fps 50/2",
                                              "qmio_create_u8: set top_field 0",
                                              "qmio_create_u8: video global header",
                                              "qmio_create_u8: video opts:",
                                              "qmio_create_u8: \t[b] = [2M]",
                                              "qmio_create_u8: \t[strict] = [-2]",
                                              "qmio_create_u8: video experimental",
                                              "qmio_create_u8: unused opts:",
                                              "qmio_create_u8: audio opts:",
                                              "qmio_create_u8: \t[b] = [96k]",
                                              "qmio_create_u8: \t[strict] = [experimental]",
                                              "qmio_create_u8: audio experimental",
                                              "qmio_create_u8: audio global header",
                                              "qmio_create_u8: audio opts:",
                                              "qmio_create_u8: \t[b] = [96k]",
                                              "qmio_create_u8: \t[strict] = [experimental]",
                                              "qmio_create_u8: audio experimental",
                                              "qmio_create_u8: audio global header"}));
}

TEST_F(CreationLog, TellsTheProductWhateverTheOptionsCallIt) {
    const Lines all =
        lines(TraceSwitch::options,
              "fmt=mov,metadata=\"product_name=mine,product_version=1,company_name=me\"," + kVideo + kPcm + kAac);
    for (const char* line :
         {"[product_name] = [qmstudio]", "[product_version] = [5.9]", "[company_name] = [qmstudio.example]"})
        EXPECT_EQ(std::count(all.begin(), all.end(), std::string("qmio_create_u8: \t") + line), 1) << line;
}

TEST_F(CreationLog, TellsProgressiveWithoutAFieldOrder) {
    const Lines all = lines(TraceSwitch::options, "fmt=mov," + kVideo + kPcm + kAac);
    EXPECT_EQ(std::count(all.begin(), all.end(), "qmio_create_u8: set progressive"), 1);
    EXPECT_EQ(std::count(all.begin(), all.end(), "qmio_create_u8: set fps 25/1"), 0);
}

TEST_F(CreationLog, TellsTheFieldOrdersOfEveryEncoder) {
    const auto told = [&](const std::string& options) {
        const TraceLines trace(TraceSwitch::create);
        { const Writer writer(folder_ / "film.mov", "fmt=mov," + options); }
        for (const std::string& line : trace.read())
            if (line.find("after write header field order") != line.npos)
                return line.substr(line.find("param"));
        return std::string();
    };
    // 1 progressive, 2 and 3 top and bottom first in store too, 4 and 5 top and bottom stored, the other shown first.
    const std::string mpeg4 = "vcodec=mpeg4,pix_fmt=yuv420p,size=64x48";
    EXPECT_EQ(told(kVideo), "param 1, enc 1");
    EXPECT_EQ(told(kVideo + ",top=1"), "param 2, enc 2");
    EXPECT_EQ(told(kVideo + ",top=7"), "param 2, enc 2");
    EXPECT_EQ(told(kVideo + ",top=0"), "param 3, enc 3");
    EXPECT_EQ(told(mpeg4), "param 1, enc 1");
    EXPECT_EQ(told(mpeg4 + ",top=1"), "param 4, enc 4");
    EXPECT_EQ(told(mpeg4 + ",top=0"), "param 5, enc 5");
}

TEST_F(CreationLog, TellsEveryPicture) {
    EXPECT_EQ(lines(TraceSwitch::write, "fmt=mov,r=30000/1001,flags:v=+bitexact," + kVideo + kPcm + kAac).size(), 5U);
    const Lines all = lines(TraceSwitch::write, "fmt=mov,r=30000/1001," + kVideo + kPcm + kAac);
    const std::regex encoded(
        "enc_video: res 0, encode video, enc size [1-9][0-9]*, got 1, frame 1, enc_pts 1, enc_dts 1, calc_pts 1001");
    ASSERT_EQ(all.size(), 5U);
    EXPECT_TRUE(std::regex_match(all[3], encoded)) << all[3];
    EXPECT_EQ(all[4],
              "enc_put_frame: \tav_write_frame 2, res 0, pts 1001, dts 1001, timebase codec 1001/30000 stream 1/30000");
}

TEST_F(CreationLog, TellsAPictureThatFailed) {
    const TraceLines trace(TraceSwitch::write);
    const Writer writer(folder_ / "film.mov", "fmt=mov," + kVideo);
    Bytes pixels = PictureMaker("AV_PIX_FMT_YUVJ420P", 64, 48).picture(0);
    const imio_picture crooked = record_of(pixels, 3);
    imio_write_frame(writer.handle(), &crooked);
    EXPECT_EQ(trace.read().back(), "enc_video: error encode");
}

TEST_F(CreationLog, TellsEveryCallOfSound) {
    EXPECT_EQ(lines(TraceSwitch::audio, "fmt=mov," + kVideo + kPcm + kAac),
              (Lines{"qmio_create_u8: unused opts:",
                     "qmio_write_track: var 65536, track 0, chans 2, bytes per sample 2, block 4",
                     "qmio_write_track: var 0, track 1, chans 2, bytes per sample 4, block 8",
                     // What close fills up with.
                     "qmio_write_track: var 0, track 1, chans 2, bytes per sample 4, block 8"}));
}

TEST_F(CreationLog, TellsTheClose) {
    const Lines all = lines(TraceSwitch::close, "fmt=mov," + kVideo + kPcm + kAac);
    EXPECT_EQ(all, (Lines{"qmio_create_u8: unused opts:", "qmio_close: write: FOLDER/film.mov",
                          "qmio_close: *** flush encode: res 0, got 0, frm 2, pts NOPTS, dts NOPTS, size 0",
                          "qmio_close: write", "qmio_close: custom io", "qmio_close: before write trailer",
                          "qmio_close: after write trailer", "qmio_close: avio_close done",
                          "qmio_close: bitbuf free done", "qmio_close: close format context",
                          "qmio_close: start free frames", "qmio_close: free frames", "qmio_close: free audio stream 0",
                          "qmio_close: aring deleted", "qmio_close: audio buf freed", "qmio_close: free audio stream 1",
                          "qmio_close: aring deleted", "qmio_close: audio buf freed", "qmio_close: exit"}));
}

TEST_F(CreationLog, TellsWhatTheCloseStillWrites) {
    const TraceLines trace(TraceSwitch::close);
    {
        const Writer writer(folder_ / "film.mov", "fmt=mov,vcodec=mpeg4,bf=1,r=25,pix_fmt=yuv420p,size=64x48");
        write_pictures(writer, PictureMaker("AV_PIX_FMT_YUV420P", 64, 48), 3);
    }
    const Lines all = trace.read();
    EXPECT_EQ(std::count_if(
                  all.begin(), all.end(),
                  [](const std::string& line) { return line.starts_with("enc_put_frame: \tav_write_frame 3, res 0"); }),
              std::count_if(all.begin(), all.end(), [](const std::string& line) {
                  return line.find("flush encode: res 0, got 1") != line.npos;
              }));
    EXPECT_GT(std::count_if(all.begin(), all.end(),
                            [](const std::string& line) { return line.starts_with("enc_put_frame"); }),
              0);
}

TEST_F(CreationLog, TellsTheBlockOfAMemoryTarget) {
    Bytes block(32 + 100000);
    std::string("mem:186a0").copy(reinterpret_cast<char*>(block.data()), 31);
    const TraceLines trace(TraceSwitch::close);
    {
        const Media media(
            qmio_create_a(reinterpret_cast<char*>(block.data()), "fmt=u8,acodec=pcm_u8,ac=1,ar=8000,afmt=u8"));
    }
    const Lines all = trace.read();
    const auto line = std::find(all.begin(), all.end(), "qmio_close: memory mapped io processing");
    ASSERT_NE(line, all.end());
    EXPECT_EQ(*(line + 1), "qmio_close: mem: [mem:00000000.], 0");
}

TEST_F(CreationLog, TellsACancel) {
    const TraceLines trace(TraceSwitch::close);
    {
        const Writer writer(folder_ / "film.mov", "fmt=mov," + kVideo);
        qmio_cancel(writer.handle());
    }
    const Lines all = masked(trace);
    EXPECT_EQ(Lines(all.begin() + 1, all.begin() + 5),
              (Lines{"qmio_cancel: FOLDER/film.mov", "qmio_close: write: FOLDER/film.mov", "qmio_close: write",
                     "qmio_close: close format context"}));
}

TEST_F(CreationLog, HasNoTimesWithoutVideo) {
    const TraceLines trace(TraceSwitch::create);
    { const Writer writer(folder_ / "film.mov", "fmt=mov" + kPcm); }
    for (const std::string& line : trace.read())
        EXPECT_TRUE(line.find("write header, fps") == line.npos && line.find("field order") == line.npos) << line;
}

// ---- the sample format ----

TEST_F(CreationLog, SampleFormatIsNegotiatedOnlyWhileItIsTraced) {
    const std::string options = "fmt=mov,acodec=aac,ar=48000,ac=2,afmt=s16";
    EXPECT_FALSE(Writer(folder_ / "film.mov", options).is_open());
    const TraceLines trace(TraceSwitch::create);
    const Writer writer(folder_ / "film.mov", options);
    ASSERT_TRUE(writer.is_open());
    // Taken is the encoder's own from now on: four bytes for each of two channels.
    EXPECT_EQ(writer.write_sound(0, Bytes(1024 * 4)), 0);
    EXPECT_GT(writer.write_sound(0, Bytes(1024 * 4)), 0);
}

// ---- failures ----

class FailedCreation : public CreationLog {
  protected:
    Lines log_of(const std::string& options, const std::string& name = "film.mov") const {
        const TraceLines trace(TraceSwitch::fifo);  // says nothing here
        EXPECT_FALSE(Writer(folder_ / name, options).is_open());
        Lines lines = masked(trace);
        std::erase_if(lines, [](const std::string& line) { return line.find("av_log:") != line.npos; });
        return lines;
    }
};

TEST_F(FailedCreation, SaysWhatFailed) {
    EXPECT_EQ(log_of(kVideo), Lines{});
    EXPECT_EQ(log_of("fmt=nonesuch," + kVideo), Lines{});
    EXPECT_EQ(log_of("fmt=mov,vcodec=mjpeg,pix_fmt=yuvj420p"),
              (Lines{"qmio_create_u8: unused opts:", "qmio_create_u8: fail to avcodec_open2 -22"}));
    EXPECT_EQ(log_of("fmt=mov,acodec=aac,ar=48000,ac=2,afmt=s16"),
              (Lines{"qmio_create_u8: error open codec 86018 [aac], track 0"}));
    EXPECT_EQ(log_of("fmt=mov" + kPcm + ",acodec=mp2,ar=1,ac=2,afmt=s16"),
              (Lines{"qmio_create_u8: error open codec 86016 [mp2], track 1"}));
    EXPECT_EQ(log_of("fmt=mov," + kVideo, "no folder/film.mov"),
              (Lines{"qmio_create_u8: unused opts:", "qmio_create_u8: open [FOLDER/no folder/film.mov] ERR"}));
    EXPECT_EQ(log_of("fmt=webm," + kVideo),
              (Lines{"qmio_create_u8: unused opts:", "qmio_create_u8: avformat_write_header [FOLDER/film.mov] ERR"}));
}

// FFmpeg's encoders neither check these values nor survive them.
TEST_F(FailedCreation, OfAnEncoderThatIsRefusedSaysWhichValueIsMissing) {
    const auto told = [&](const std::string& options) {
        const TraceLines trace(TraceSwitch::fifo);  // says nothing here
        EXPECT_FALSE(Writer(folder_ / "film.avi", "fmt=avi," + options).is_open());
        EXPECT_TRUE(why().holds("Invalid argument (The ")) << options;
        Lines lines = trace.read();
        for (std::string& line : lines)  // FFmpeg's messages have the time before them
            line.erase(0, line.find('\t') + 1);
        return lines;
    };
    EXPECT_EQ(told("vcodec=rawvideo,size=64x48"),
              (Lines{"av_log: [AVCodecContext] [-] The pixel format is missing or out of range",
                     "qmio_create_u8: unused opts:", "qmio_create_u8: fail to avcodec_open2 -22"}));
    EXPECT_EQ(told("acodec=wavpack,ar=48000,afmt=s16p"),
              (Lines{"av_log: [AVCodecContext] [-] The number of channels is missing or out of range",
                     "qmio_create_u8: error open codec 86041 [wavpack], track 0"}));
}

TEST_F(FailedCreation, WithARefusedHeaderIsClosedWithoutTrailerButItsOutputIsClosed) {
    const TraceLines trace(TraceSwitch::close);
    EXPECT_FALSE(Writer(folder_ / "film.mov", "fmt=webm," + kVideo + kPcm).is_open());
    const Lines all = masked(trace);
    const auto has = [&](const std::string& text) {
        return std::any_of(all.begin(), all.end(),
                           [&](const std::string& line) { return line.find(text) != line.npos; });
    };
    EXPECT_TRUE(has("qmio_close: custom io"));
    EXPECT_TRUE(has("qmio_close: avio_close done"));
    EXPECT_FALSE(has("trailer"));
    EXPECT_FALSE(has("flush encode"));
    EXPECT_TRUE(has("qmio_close: exit"));
}

TEST_F(FailedCreation, TellsEveryTrackThatWasAskedForWhenItIsClosed) {
    for (const std::string options : {"acodec=aac", "fmt=mov,acodec=aac,ar=1"}) {
        const TraceLines trace(TraceSwitch::close);
        EXPECT_FALSE(Writer(folder_ / "film.mov", options + kPcm).is_open());
        const Lines all = trace.read();
        EXPECT_EQ(std::count(all.begin(), all.end(), "qmio_close: free audio stream 0"), 1) << options;
        EXPECT_EQ(std::count(all.begin(), all.end(), "qmio_close: free audio stream 1"), 1) << options;
    }
}

TEST_F(CreationLog, TellsThatAWrittenFileIsNothingToReadFrom) {
    const Writer writer(folder_ / "film.mov", "fmt=mov," + kVideo);
    ASSERT_TRUE(writer.is_open());
    Bytes picture(64 * 48 * 4);
    const TraceLines trace(TraceSwitch::read);
    EXPECT_EQ(qmio_read_frame(writer.handle(), picture.data()), QMIO_NOTHING_TO_DECODE);
    EXPECT_EQ(trace.read(), Lines{"trace_err: error -1: fp->pCodecCtx == NULL"});
}

// Memory that gets short: every size of block from which on there is none, so that making the file stops at one place
// after the other.
TEST_F(FailedCreation, ForWantOfMemoryLeavesNothingWhereverItStops) {
    int failed = 0;
    int made = 0;
    for (std::size_t limit = 40; limit < (1U << 22); limit += limit / 6) {
        av_max_alloc(limit);
        {
            const Writer writer(folder_ / "film.mov",
                                "fmt=mov,timecode=01:00:00:00,metadata=\"title=A\"," + kVideo + kPcm + kAac,
                                QMIO_CREATE_FRAME_INDEX);
            ++(writer.is_open() ? made : failed);
            if (writer.is_open()) {
                const Bytes picture(64 * 48 * 3 / 2);
                const Bytes sound(16000);
                qmio_write_frame(writer.handle(), picture.data());
                writer.write_sound(0, sound);
                writer.write_sound(1, sound);
            }
        }
        av_max_alloc(INT_MAX);
    }
    EXPECT_GT(failed, 20);
    EXPECT_GT(made, 1);
}

// The header of a block tells what was written, eight zeros where creation failed late, or what it told before.
TEST_F(FailedCreation, ForWantOfMemoryLeavesABlockToItsHost) {
    const std::string before = "mem:30d40";
    const std::string none = "mem:00000000.";
    int failed = 0;
    int made = 0;
    for (std::size_t limit = 40; limit < (1U << 20); limit += limit / 6) {
        Bytes block(32 + 200000);
        char* const header = reinterpret_cast<char*>(block.data());
        before.copy(header, 31);
        av_max_alloc(limit);
        const bool is_made = Media(qmio_create_a(header, ("fmt=avi," + kVideo + kPcm).c_str())) != nullptr;
        av_max_alloc(INT_MAX);
        const std::string told(header, std::find(header, header + 32, '\0'));
        EXPECT_TRUE(is_made ? std::regex_match(told, std::regex("mem:[0-9A-F]{8}\\.")) && told != none
                            : told == before || told == none)
            << told << " with memory up to " << limit;
        ++(is_made ? made : failed);
    }
    EXPECT_GT(failed, 10);
    EXPECT_GT(made, 1);
}

}  // namespace
}  // namespace qmio::test
