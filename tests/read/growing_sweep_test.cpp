// Films that are read by the numbers of their frames while they are written, in every container that can be read then:
// a reader that came at the start, one that came in the middle and one that came at the end, and all of them again when
// the film is closed. A sample in every run, drawn by a seed that is printed (QMIO_TEST_SEED sets it), all films up to
// 12,000 pictures long with QMIO_SWEEP=all (ten minutes).
//
// Left out: what counts as one frame while it grows and so is not sought (Matroska, MXF, SWF, mpjpeg, raw streams); what no
// demuxer reads before it is closed (WTV, plain MP4); GXF and fragmented PSP, which take no pictures of this size or none
// without AAC beside them; ASF with sound, whose demuxer lands behind the start of closed files, too;
// NUT with sound, whose muxer writes no time at the start where one lies before 0;
// B-frames in MPEG-PS, most of whose pictures have no time of their own.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "core/handle/frame_index.h"
#include "core/handle/media_handle.h"
#include "support/made_pictures.h"
#include "support/numbered_picture.h"
#include "support/seed.h"
#include "support/temp_dir.h"
#include "support/trace_lines.h"

namespace {

using namespace qmio::test;

constexpr unsigned kSeed = 20260211;
constexpr int kSampleSize = 12;
constexpr int kFirstPictures = 30;  // that the first reader finds
constexpr int kSeeks = 12;
constexpr int kManySeeks = 60;
constexpr int kWidth = 64;
constexpr int kHeight = 48;
constexpr int kSamplesPerPicture = 1920;  // at 48 kHz and 25 pictures a second

struct Container {
    std::string muxer;
    std::string codec;
    std::string options;
    bool grows = true;  // for a reader that is open already: fragmented MP4 shows it what was there when it came
    bool takes_sound = true;
};

const Container kContainers[] = {
    {"avi", "mjpeg", ""},
    {"avi", "mpeg2video", ""},
    {"avi", "libx264", ""},
    {"avi", "mpeg4", ""},
    {"avi", "huffyuv", ""},
    {"nut", "mjpeg", "", true, false},
    {"nut", "mpeg2video", "", true, false},
    {"nut", "libx264", "", true, false},
    {"asf", "mjpeg", "", true, false},
    {"asf", "mpeg2video", "", true, false},
    {"asf", "libx264", "", true, false},
    {"flv", "libx264", "", true, false},
    {"smjpeg", "mjpeg", "", true, false},
    {"mpegts", "mpeg2video", "", true, false},
    {"mpegts", "libx264", "", true, false},
    {"mpeg", "mpeg2video", "", true, false},
    {"vcd", "mpeg2video", "", true, false},
    {"svcd", "mpeg2video", "", true, false},
    {"dvd", "mpeg2video", "", true, false},
    {"vob", "mpeg2video", "", true, false},
    {"mp4", "libx264", "movflags=frag_keyframe+empty_moov", false, false},
    {"mov", "mjpeg", "movflags=frag_keyframe+empty_moov", false},
    {"mov", "mpeg2video", "movflags=frag_keyframe+empty_moov", false},
    {"mov", "libx264", "movflags=frag_keyframe+empty_moov", false},
    {"f4v", "libx264", "movflags=frag_keyframe+empty_moov", false, false},
    {"3gp", "libx264", "movflags=frag_keyframe+empty_moov", false, false},
    {"3g2", "libx264", "movflags=frag_keyframe+empty_moov", false, false},
    {"ipod", "libx264", "movflags=frag_keyframe+empty_moov", false, false},
    {"ismv", "libx264", "", false, false},
};
bool is_program_stream(const Container& container) {
    return std::set<std::string>{"mpeg", "vcd", "svcd", "dvd", "vob"}.contains(container.muxer);
}

constexpr int kGops[] = {1, 12, 250};
constexpr int kLengths[] = {100, 1000, 12000};
constexpr int kShortLengths[] = {100, 150, 400};

struct Film {
    Container container;
    int gop = 1;
    int b_frames = 0;
    int pictures = 0;
    bool sound = false;
    bool interleaved = false;
};

std::ostream& operator<<(std::ostream& out, const Film& film) {
    return out << film.container.muxer << " of " << film.pictures << " " << film.container.codec << ", GOP " << film.gop
               << ", " << film.b_frames << " B-frames" << (film.sound ? ", sound" : "")
               << (film.interleaved ? ", interleaved" : "");
}

std::string options_of(const Film& film) {
    const Container& container = film.container;
    std::string options = "fmt=" + container.muxer + ",vcodec=" + container.codec + ",size=64x48,r=25,threads:v=1";
    if (container.codec == "mjpeg")
        options += ",pix_fmt=yuvj420p";
    else if (container.codec == "huffyuv")
        options += ",pix_fmt=yuv422p";
    else
        options += ",pix_fmt=yuv420p,b:v=400k,g=" + std::to_string(film.gop) + ",bf=" + std::to_string(film.b_frames);
    if (container.codec == "libx264")
        options += film.b_frames > 0 ? ",preset=ultrafast,b_strategy=0" : ",preset=ultrafast,tune=zerolatency";
    if (film.sound)
        options += ",acodec=pcm_s16le,ar=48000,ac=1,afmt=s16";
    return container.options.empty() ? options : options + "," + container.options;
}

int number_in(const Bytes& pixels) {
    return read_number(pixels.data(), kWidth, kHeight, kWidth * 4);
}

// The pictures by the numbers that reading in order gives them, from a copy, which has no index.
std::map<int, int> read_in_order(const std::filesystem::path& path) {
    std::map<int, int> pictures;
    const std::filesystem::path copy = path.parent_path() / ("copy" + path.extension().string());
    std::filesystem::remove(copy);
    std::filesystem::copy_file(path, copy);
    const Media media = open_on_one_thread(copy);
    if (!media)
        return pictures;
    Bytes pixels = picture_buffer(media);
    while (qmio_read_frame(media.get(), pixels.data()) > 1 || qmio_video_pkt(media.get(), pixels.data(), nullptr) > 1)
        pictures.try_emplace(media->video.have_frame, number_in(pixels));
    return pictures;
}

class Recording {
  public:
    explicit Recording(const Film& film)
        : film_(film),
          path_(folder_ / ("film." + film.container.muxer)),
          writer_(path_, options_of(film),
                  QMIO_CREATE_FRAME_INDEX | (film.interleaved ? unsigned{QMIO_CREATE_INTERLEAVED} : 0U)),
          index_(qmio::frame_index::attach(utf8(path_))) {}

    const std::filesystem::path& path() const { return path_; }
    bool is_open() const { return writer_.is_open() && index_ != nullptr; }
    int frames() const { return static_cast<int>(qmio::frame_index::frame_total(index_.get())); }

    void write_up_to(int pictures) {
        for (; written_ < pictures; ++written_) {
            writer_.write_picture(maker_, written_);
            if (film_.sound)
                writer_.write_sound(0, sound_.samples(int64_t{written_} * kSamplesPerPicture, kSamplesPerPicture));
        }
        qmio_flush(writer_.handle());
    }

    void close() { writer_.close(); }

  private:
    Film film_;
    TempDir folder_;
    std::filesystem::path path_;
    Writer writer_;
    std::shared_ptr<qmio::platform::SharedMapping> index_;
    PictureMaker maker_{film_.container.codec == "huffyuv" ? "AV_PIX_FMT_YUV422P" : "AV_PIX_FMT_YUV420P", kWidth,
                        kHeight};
    SoundMaker sound_{SoundForm{1, 48000, AV_SAMPLE_FMT_S16}};
    int written_ = 0;
};

class GrowingSweep : public testing::Test {
  protected:
    static Media open_at_the_start(const Recording& recording) {
        Media media = open_on_one_thread(recording.path());
        EXPECT_NE(media, nullptr);
        if (read_in_order(recording.path()).empty())
            return media;  // nothing was written yet but a header
        Bytes pixels = picture_buffer(media);
        EXPECT_GT(qmio_read_frame(media.get(), pixels.data()), 1);
        EXPECT_EQ(number_in(pixels), 0) << "just opened";
        return media;
    }

    // Every seek gives the picture that reading in order numbers so, or, in what a reader does not see grow, nothing.
    void expect_frames(const Media& media, const Recording& recording, const char* who, bool sees_all) {
        if (qmio_get_file_param(media.get(), "frames") == 1)
            return;

        const std::map<int, int> pictures = read_in_order(recording.path());
        Bytes pixels = picture_buffer(media);
        const int last = recording.frames() - 1;
        for (int seek = 0; seek < seeks_; ++seek) {
            const int frame = seek == 0 ? last : seek == 1 ? 0 : seek == 2 ? last - 1 : dice_.up_to(last) - 1;
            const auto expected = pictures.find(frame);
            if (expected == pictures.end())
                continue;  // it is inside the encoder or the muxer yet
            ASSERT_EQ(qmio_seek_frame(media.get(), frame), frame) << who;
            const bool delivered = qmio_read_frame(media.get(), pixels.data()) > 1;
            ASSERT_TRUE(delivered || !sees_all) << who << " of " << last + 1 << " misses " << frame;
            if (delivered) {
                ASSERT_EQ(number_in(pixels), expected->second) << who << " of " << last + 1 << " at " << frame;
            }
        }
    }

    void record(const Film& film) {
        SCOPED_TRACE(testing::Message() << film);
        Recording recording(film);
        ASSERT_TRUE(recording.is_open());
        const bool grows = film.container.grows;
        recording.write_up_to(kFirstPictures);
        const Media early = open_at_the_start(recording);
        recording.write_up_to(film.pictures / 2);
        const Media midway = open_at_the_start(recording);
        expect_frames(early, recording, "the reader from the start", grows);
        expect_frames(midway, recording, "the reader from the middle", true);
        recording.write_up_to(film.pictures);
        const Media late = open_at_the_start(recording);
        for (const bool closed : {false, true}) {
            SCOPED_TRACE(closed ? "closed" : "growing");
            expect_frames(early, recording, "the reader from the start", grows);
            expect_frames(midway, recording, "the reader from the middle", grows);
            expect_frames(late, recording, "the reader from the end", grows || !closed);
            recording.close();
        }
    }

    Film drawn() {
        Film film{.container = dice_.one_of(kContainers), .gop = dice_.one_of(kGops)};
        film.pictures = dice_.one_of(kShortLengths);
        film.b_frames = is_program_stream(film.container) ? 0 : 2 * (dice_.up_to(2) - 1);
        film.sound = film.container.takes_sound && dice_.up_to(2) == 1;
        film.interleaved = dice_.up_to(2) == 1;
        return film;
    }

    Dice dice_{printed_seed(kSeed)};
    int seeks_ = kSeeks;
};

// Of the demuxers that lose their way at a byte position, those that do so seldom.
TEST_F(GrowingSweep, WhatADemuxerHadReadElsewhereIsForgotten) {
    seeks_ = kManySeeks;
    record({.container = {"asf", "mjpeg", ""}, .pictures = 400});
    record({.container = {"avi", "mjpeg", ""}, .pictures = 100, .sound = true, .interleaved = true});
}

// What lies between the length that a reader found and the frame is not read.
TEST_F(GrowingSweep, AFrameBehindTheLengthOfTheOpenNeedsAFewGopsOfPackets) {
    Recording recording({.container = {"mpegts", "libx264", ""}, .gop = 100});
    ASSERT_TRUE(recording.is_open());
    recording.write_up_to(kFirstPictures);
    const Media media = open_at_the_start(recording);
    recording.write_up_to(3000);
    const qmio::test::TraceLines trace(qmio::TraceSwitch::read);
    Bytes pixels = picture_buffer(media);
    ASSERT_EQ(qmio_seek_frame(media.get(), 2950), 2950);
    ASSERT_GT(qmio_read_frame(media.get(), pixels.data()), 1);
    EXPECT_EQ(number_in(pixels), 2950);
    const std::vector<std::string> lines = trace.read();
    const auto packets = std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.find("av_read_frame OK") != std::string::npos;
    });
    EXPECT_GT(packets, 0);
    EXPECT_LT(packets, 600);
}

// AVI of MPEG-4, whose demuxer may not know one packet as a key packet, and of each other kind of demuxer one.
TEST_F(GrowingSweep, FilmsOfEveryKindAreReadByNumberWhileTheyGrow) {
    record({.container = {"avi", "mpeg4", ""}, .gop = 12, .pictures = 150});
    record({.container = {"avi", "huffyuv", ""}, .pictures = 100, .sound = true});
    record({.container = {"flv", "libx264", "", true, false}, .gop = 12, .b_frames = 2, .pictures = 150});
    record({.container = {"mp4", "libx264", "movflags=frag_keyframe+empty_moov", false, false},
            .gop = 12,
            .b_frames = 2,
            .pictures = 150});
    record({.container = {"vob", "mpeg2video", "", true, false}, .gop = 12, .pictures = 150});
}

TEST_F(GrowingSweep, ASampleOfFilmsIsReadByNumberWhileItGrows) {
    for (int number = 0; number < kSampleSize; ++number)
        record(drawn());
}

TEST_F(GrowingSweep, AllFilmsAreReadByNumberWhileTheyGrow) {
    if (std::getenv("QMIO_SWEEP") == nullptr)
        GTEST_SKIP() << "takes long: QMIO_SWEEP=all";
    for (const Container& container : kContainers)
        for (const int gop : kGops)
            for (const int pictures : kLengths)
                record({.container = container, .gop = gop, .pictures = pictures});
}

}  // namespace
