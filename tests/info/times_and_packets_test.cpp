// Times, packets, positions and shapes of a source: against the made file, and against FFmpeg's plain calls.
#include <gtest/gtest.h>

#include <string>

#include "info/answers.h"
#include "support/made_file.h"
#include "support/media.h"
#include "support/plain_file.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

// ---- packets ----

TEST(Packets, EveryPacketTellsItsTimesAndSize) {
    for (const char* name : {"two_audio_tracks.mp4", "two_tracks_pcm_mp2.mkv", "h264_tff.mp4", "mpeg2.ts"}) {
        const Container plain = open_plainly(media_path(name));
        const Media media = open_media(media_path(name));
        ASSERT_NE(media, nullptr) << name;
        const Packet packet(av_packet_alloc());
        int packets = 0;
        for (; av_read_frame(plain.get(), packet.get()) >= 0; av_packet_unref(packet.get()), ++packets) {
            ASSERT_GE(qmio_get_frame(media.get()), 0) << name << packets;
            const AVStream& stream = *plain->streams[packet->stream_index];
            qmio_time_param expected{};
            expected.pts = packet->pts;
            expected.dts = packet->dts;
            expected.duration = packet->duration;
            expected.start = stream.start_time != AV_NOPTS_VALUE ? stream.start_time : 0;
            expected.time_base_num = stream.time_base.num;
            expected.time_base_den = stream.time_base.den;
            expected.frame_rate_num = stream.r_frame_rate.num;
            expected.frame_rate_den = stream.r_frame_rate.den;
            qmio_time_param record{};
            record.frame_count = record.container_start = 99;
            ASSERT_EQ(qmio_get_time_param(media.get(), "packet", &record), 1);
            ASSERT_TRUE(same(record, expected)) << name << packets << text_of(record) << text_of(expected);
            const int is_key = (packet->flags & AV_PKT_FLAG_KEY) != 0 ? 1 : 0;
            ASSERT_EQ(qmio_get_time_param(media.get(), "key", &record), is_key) << name << packets;
            ASSERT_TRUE(same(record, {}));
            ASSERT_EQ(qmio_get_time_param(media.get(), "key", nullptr), is_key);
            ASSERT_EQ(file_param(media, "packet"), packet->stream_index);
            ASSERT_EQ(stream_param(media, "packet"), packet->stream_index);
            ASSERT_EQ(stream_param(media, "pkt_size"), packet->size);
        }
        EXPECT_GT(packets, 25) << name;
        EXPECT_EQ(qmio_get_frame(media.get()), -1);
        EXPECT_EQ(file_param(media, "error"), 0) << "the end is no error";
    }
}

// In this container packets lie behind one another, so the file stands behind the packet read last. The first ones were
// read when the file was opened.
TEST_F(VideoAndTwoTracks, BytePositionIsBehindThePacketReadLast) {
    const Container plain = open_plainly(path_);
    const Packet packet(av_packet_alloc());
    for (int packets = 0; packets < 50; ++packets) {
        ASSERT_GE(av_read_frame(plain.get(), packet.get()), 0);
        ASSERT_GE(qmio_get_frame(media_.get()), 0);
        if (packets > 10) {
            EXPECT_EQ(stream_param(media_, "frame_pos"), packet->pos + packet->size);
        }
        EXPECT_EQ(stream_param(media_, "frame_pos"), avio_tell(object<AVFormatContext>(media_, "xfmt")->pb));
        av_packet_unref(packet.get());
    }
}

TEST_F(VideoAndTwoTracks, PacketTakesTimesFromTheHost) {
    qmio_time_param record{};
    ASSERT_EQ(qmio_get_frame(media_.get()), QMIO_PACKET_VIDEO);
    record.pts = 123456789012345;
    record.dts = -5;
    record.duration = 77;
    EXPECT_EQ(qmio_set_time_param(media_.get(), "packet", &record), 1);
    EXPECT_EQ(record.duration, 77);
    EXPECT_EQ(record.pts, 123456789012345);
    qmio_time_param read{};
    EXPECT_EQ(qmio_get_time_param(media_.get(), "packet", &read), 1);
    EXPECT_EQ(read.pts, 123456789012345);
    EXPECT_EQ(read.dts, -5);
    EXPECT_EQ(read.duration, 512);
    AVPacket* packet = qmio_pkt_alloc();
    qmio_pkt_get(media_.get(), packet);
    EXPECT_EQ(packet->pts, 123456789012345);
    EXPECT_EQ(packet->dts, -5);
    qmio_pkt_free(packet);
}

TEST_F(VideoAndTwoTracks, SetterKnowsNoOtherKeys) {
    for (const char* key : {"key", "dur", "seek", "vpts", ""}) {
        qmio_time_param record{};
        EXPECT_EQ(qmio_set_time_param(media_.get(), key, &record), 0) << key;
    }
    for (const char* key : {"video", "audio", "packet"}) {
        EXPECT_EQ(qmio_set_time_param(media_.get(), key, nullptr), 0) << key;
        EXPECT_EQ(qmio_get_time_param(media_.get(), key, nullptr), 0) << key;
    }
}

// ---- times of streams ----

qmio_time_param video_of_the_file() {
    qmio_time_param record{};
    record.duration = 76800;
    record.time_base_num = 1;
    record.time_base_den = 12800;
    record.frame_rate_num = 25;
    record.frame_rate_den = 1;
    record.container_duration = 6000000;
    record.frame_count = 150;
    return record;
}

TEST_F(VideoAndTwoTracks, TimesAreThoseOfTheStreams) {
    for (const auto& call : {qmio_get_time_param, qmio_set_time_param}) {
        qmio_time_param record{};
        record.pts = record.dts = record.start = 3;
        EXPECT_EQ(call(media_.get(), "video", &record), 1);
        EXPECT_TRUE(same(record, video_of_the_file())) << text_of(record);
        record.frame_count = record.frame_rate_num = 3;
        EXPECT_EQ(call(media_.get(), "audio", &record), 1);
        qmio_time_param expected{};
        expected.duration = 264600;
        expected.time_base_num = 1;
        expected.time_base_den = 44100;
        expected.container_duration = 6000000;
        EXPECT_TRUE(same(record, expected)) << text_of(record);
    }
}

TEST(Times, StartIsThatOfStreamAndContainer) {
    const Container plain = open_plainly(media_path("starts_at_8s.mkv"));
    const Media media = open_media(media_path("starts_at_8s.mkv"));
    ASSERT_NE(media, nullptr);
    qmio_time_param record{};
    ASSERT_EQ(qmio_get_time_param(media.get(), "video", &record), 1);
    EXPECT_EQ(record.start, plain->streams[0]->start_time);
    EXPECT_EQ(record.container_start, plain->start_time);
    EXPECT_GE(record.start, 8000);
    EXPECT_GE(record.container_start, 8000000);
    EXPECT_EQ(record.container_duration, plain->duration);
}

// The container counts nothing: the number is the library's own, by length and rate.
TEST(Times, FramesAreCountedByTheLibraryWhereTheFileDoesNot) {
    const Media media = open_media(media_path("two_tracks_pcm_mp2.mkv"));
    ASSERT_NE(media, nullptr);
    qmio_time_param record{};
    ASSERT_EQ(qmio_get_time_param(media.get(), "video", &record), 1);
    EXPECT_EQ(record.frame_count, file_param(media, "frames"));
    EXPECT_EQ(record.frame_count, 50);
    ASSERT_EQ(qmio_set_time_param(media.get(), "video", &record), 1);
    EXPECT_EQ(record.frame_count, 0);
}

TEST(Times, VideoWithoutAnAverageRateIsOneFrame) {
    const Media media = open_media(media_path("no_average_rate.asf"));
    ASSERT_NE(media, nullptr);
    qmio_time_param record{};
    ASSERT_EQ(qmio_get_time_param(media.get(), "video", &record), 1);
    EXPECT_EQ(record.frame_rate_num, 1000);
    EXPECT_EQ(record.frame_rate_den, 1);
    EXPECT_EQ(record.frame_count, 1);
    EXPECT_EQ(file_param(media, "frames"), 1);
}

// What a file without rates leaves in FFmpeg's record of the stream. The decoder of this file knows of no rate, either.
class Fallbacks : public testing::Test {
  protected:
    void SetUp() override {
        media_ = open_media(media_path("mjpeg.avi"));
        ASSERT_NE(media_, nullptr);
        AVStream& stream = video_stream(media_);
        stream.avg_frame_rate = stream.r_frame_rate = {0, 0};
    }
    qmio_time_param ask(const char* key) {
        qmio_time_param record{};
        EXPECT_EQ(qmio_get_time_param(media_.get(), key, &record), 1);
        return record;
    }
    Media media_;
};

TEST_F(Fallbacks, VideoWithoutAnyRateHas25) {
    const qmio_time_param record = ask("video");
    EXPECT_EQ(record.frame_rate_num, 25);
    EXPECT_EQ(record.frame_rate_den, 1);
    EXPECT_EQ(record.frame_count, 1);
}

TEST_F(Fallbacks, AverageRateServesWhereThereIsNoOther) {
    video_stream(media_).avg_frame_rate = {24000, 1001};
    EXPECT_EQ(ask("video").frame_rate_num, 24000);
    EXPECT_EQ(ask("video").frame_rate_den, 1001);
    EXPECT_EQ(ask("video").frame_count, 40);
    ASSERT_EQ(qmio_get_frame(media_.get()), QMIO_PACKET_VIDEO);
    EXPECT_EQ(ask("packet").frame_rate_num, 24000);
    EXPECT_EQ(ask("packet").frame_rate_den, 1001);
}

TEST_F(Fallbacks, PacketAndSetterInventNoRate) {
    ASSERT_EQ(qmio_get_frame(media_.get()), QMIO_PACKET_VIDEO);
    EXPECT_EQ(ask("packet").frame_rate_num, 0);
    qmio_time_param record{};
    ASSERT_EQ(qmio_set_time_param(media_.get(), "video", &record), 1);
    EXPECT_EQ(record.frame_rate_num, 0);
    EXPECT_EQ(record.frame_count, 40);
}

TEST_F(Fallbacks, SetterTakesNoAverageRateForTheGuessedOne) {
    video_stream(media_).avg_frame_rate = {24000, 1001};
    qmio_time_param record{};
    ASSERT_EQ(qmio_set_time_param(media_.get(), "video", &record), 1);
    EXPECT_EQ(record.frame_rate_num, 0);
}

TEST_F(Fallbacks, TimeBaseIsTheDecodersThen1By25) {
    AVStream& stream = video_stream(media_);
    const AVRational base = stream.time_base;
    stream.time_base = {0, 1};
    video_codec(media_).time_base = {1, 90};
    EXPECT_EQ(ask("video").time_base_den, 90);
    video_codec(media_).time_base = {0, 0};
    EXPECT_EQ(ask("video").time_base_num, 1);
    EXPECT_EQ(ask("video").time_base_den, 25);
    qmio_time_param record{};
    EXPECT_EQ(qmio_set_time_param(media_.get(), "video", &record), 1);
    EXPECT_EQ(record.time_base_num, 0);
    EXPECT_EQ(record.time_base_den, 1);
    stream.time_base = base;
}

TEST_F(Fallbacks, UnknownStartIsZero) {
    video_stream(media_).start_time = AV_NOPTS_VALUE;
    EXPECT_EQ(ask("video").start, 0);
}

TEST_F(Fallbacks, ThereIsNoTimeCodeWithoutARate) {
    EXPECT_EQ(qmio_get_smpte(media_.get(), 1), -1);
}

// ---- seeking ----

TEST_F(VideoAndTwoTracks, SeekPositionIsToldInMicroseconds) {
    qmio_time_param record{};
    record.pts = 4;
    EXPECT_EQ(qmio_get_time_param(media_.get(), "seek", &record), 0);
    EXPECT_TRUE(same(record, {}));
    ASSERT_EQ(qmio_seek_frame(media_.get(), 60), 60);
    EXPECT_EQ(qmio_get_time_param(media_.get(), "seek", &record), 0);
    qmio_time_param expected{};
    expected.start = 2400000;
    EXPECT_TRUE(same(record, expected)) << text_of(record);
    ASSERT_EQ(qmio_seek_frame(media_.get(), 149), 149);
    EXPECT_EQ(qmio_get_time_param(media_.get(), "Seek", &record), 0);
    EXPECT_EQ(record.start, 5960000);
    EXPECT_EQ(qmio_get_time_param(media_.get(), "seek", nullptr), 0);
}

// ---- shapes ----

TEST_F(VideoAndTwoTracks, SquarePixelsAreAThousand) {
    expect_stream_params(media_, 0, {{"par", 1000}, {"sar", 1000}, {"dar", 1666}});
}

TEST_F(VideoAndTwoTracks, ShapesAreCutToWholeNumbers) {
    video_stream(media_).sample_aspect_ratio = {16, 11};
    video_codec(media_).sample_aspect_ratio = {2, 3};
    expect_stream_params(media_, 0, {{"par", 666}, {"sar", 1454}, {"dar", 2424}});
}

TEST_F(VideoAndTwoTracks, UnknownShapesAreZero) {
    for (const AVRational unknown : {AVRational{0, 1}, AVRational{0, 0}, AVRational{4, 0}}) {
        video_stream(media_).sample_aspect_ratio = video_codec(media_).sample_aspect_ratio = unknown;
        expect_stream_params(media_, 0, {{"par", 0}, {"sar", 0}, {"dar", 0}});
    }
}

TEST(Shapes, WidePixelsOfAFileAreTold) {
    const TempDir folder;
    for (const char* container : {"mov", "matroska", "avi"}) {
        const std::filesystem::path path = folder / (std::string("wide.") + container);
        ASSERT_TRUE(make_file(path, video_options(container, "mpeg4", "aspect=16/11"), 3)) << container;
        const Container plain = open_plainly(path);
        const Media media = open_media(path);
        ASSERT_NE(media, nullptr) << container;
        const AVRational shape = av_guess_sample_aspect_ratio(plain.get(), plain->streams[0], nullptr);
        EXPECT_EQ(stream_param(media, "par"), 1454) << container;
        if (av_cmp_q(shape, {16, 11}) == 0 && plain->streams[0]->sample_aspect_ratio.num > 0) {
            EXPECT_EQ(stream_param(media, "sar"), 1454) << container;
            EXPECT_EQ(stream_param(media, "dar"), 1939) << container;
        }
    }
}

// ---- the time code of the start ----

TEST(StartTimeCode, IsTheFrameThatItNames) {
    const TempDir folder;
    struct Start {
        const char* rate;
        const char* timecode;
        int64_t frame;
    };
    const Start starts[] = {{"25", "01:00:00:00", 90000},          {"25", "00:00:00:24", 24},
                            {"24", "10:00:00:00", 864000},         {"50", "01:00:00:10", 180010},
                            {"30000/1001", "01:00:00:00", 108000}, {"30000/1001", "01:00:00;00", 107892}};
    for (const Start& start : starts) {
        const std::string more = std::string("r=") + start.rate + ",timecode=" + start.timecode;
        ASSERT_TRUE(make_file(folder / "start.mov", video_options("mov", "mpeg4", more), 3));
        const Media media = open_media(folder / "start.mov");
        ASSERT_NE(media, nullptr);
        EXPECT_EQ(file_param(media, "start"), start.frame) << start.rate << " " << start.timecode;
        EXPECT_EQ(stream_param(media, "start"), start.frame) << start.rate << " " << start.timecode;
    }
}

TEST(StartTimeCode, IsZeroWithoutOne) {
    const TempDir folder;
    ASSERT_TRUE(make_file(folder / "start.mov", video_options("mov", "mpeg4"), 3));
    const Media media = open_media(folder / "start.mov");
    EXPECT_EQ(file_param(media, "start"), 0);
}

// ---- published positions ----

TEST(PublishedPositions, AreCountedWhileTheFileIsWritten) {
    const TempDir folder;
    const std::filesystem::path path = folder / "growing.nut";
    const Media writer = create_file(path, video_options("nut", "ffv1"), QMIO_CREATE_FRAME_INDEX);
    ASSERT_NE(writer, nullptr);
    qmio_time_param record{};
    EXPECT_EQ(qmio_get_time_param(writer.get(), "dur", nullptr), 0);
    write_pictures(writer, 40);
    qmio_flush(writer.get());
    record.pts = 3;
    EXPECT_EQ(qmio_get_time_param(writer.get(), "dur", &record), 40);
    EXPECT_TRUE(same(record, {}));
    const Media reader = open_media(path);
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(qmio_get_time_param(reader.get(), "dur", nullptr), 40);
    write_pictures(writer, 5);
    EXPECT_EQ(qmio_get_time_param(reader.get(), "DUR", &record), 45);
}

TEST_F(VideoAndTwoTracks, ThereAreNoPublishedPositions) {
    qmio_time_param record{};
    record.start = 3;
    EXPECT_EQ(qmio_get_time_param(media_.get(), "dur", &record), 0);
    EXPECT_TRUE(same(record, {}));
}

}  // namespace
}  // namespace qmio::test
