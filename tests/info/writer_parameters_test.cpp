// Every key on a file that is being written.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "support/made_file.h"
#include "support/media.h"
#include "support/parameter_keys.h"
#include "support/plain_file.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

using Numbers = std::map<std::string, int64_t>;

constexpr const char* kTwoTracks =
    "r=30000/1001,acodec=pcm_s16le,ac=2,ar=48000,afmt=s16,acodec=aac,ac=1,ar=44100,afmt=fltp";

class Writer : public testing::Test {
  protected:
    void SetUp() override {
        path_ = folder_ / "written.mov";
        media_ = create_file(path_, video_options("mov", "mpeg4", kTwoTracks));
        ASSERT_NE(media_, nullptr);
    }

    int64_t stream_param(const char* key, int track = 0) const {
        return qmio_get_stream_param(media_.get(), key, track);
    }
    template <class Object>
    const Object* object(const char* key) const {
        return reinterpret_cast<const Object*>(static_cast<intptr_t>(file_param(media_, key)));
    }

    TempDir folder_;
    std::filesystem::path path_;
    Media media_;
};

TEST_F(Writer, TextsNameTheContainerThatIsWrittenAndNoDecoder) {
    EXPECT_STREQ(qmio_get_file_info(media_.get(), "ofmt"), "mov");
    EXPECT_STREQ(qmio_get_file_info(media_.get(), "ofdescr"), "QuickTime / MOV");
    for (const char* key : {"fmt", "fdescr", "codec", "cdescr", "pix", "pdescr", "acodec", "acdescr"})
        EXPECT_STREQ(qmio_get_file_info(media_.get(), key), "") << key;
}

const Numbers kShared = {{"width", kMadeWidth}, {"height", kMadeHeight},
                         {"frames", 0},         {"nvideo", 1},
                         {"naudio", 2},         {"video", 0},
                         {"audio", 1},          {"fmt", 0},
                         {"codec", 0},          {"acodec", 0},
                         {"pix", -1},           {"start", 0},
                         {"align", 4},          {"packet", 0},
                         {"interlace", -1},     {"top_field", -1}};

TEST_F(Writer, FileNumbersAreThoseOfTheEncodersOfSound) {
    Numbers expected = kShared;
    expected.insert({{"check", 0},
                     {"error", 0},
                     {"dts_frame", -1},
                     {"sample_rate", 48000},
                     {"audio_rate", 48000},
                     {"sample_fmt_id", AV_SAMPLE_FMT_S16},
                     {"audio_fmt_id", AV_SAMPLE_FMT_S16},
                     {"sample_fmt", 16},
                     {"audio_fmt", 16},
                     {"channels", 3},
                     {"audio_channels", 3},
                     {"xvcodec", 0},
                     {"vb", 0},
                     {"ab", 48000 * 2 * 16}});
    for (const auto& [key, number] : expected)
        EXPECT_EQ(file_param(media_, key.c_str()), number) << key;
}

TEST_F(Writer, StreamNumbersAnswerTheSameKeys) {
    for (const auto& [key, number] : kShared)
        EXPECT_EQ(stream_param(key.c_str()), number) << key;
}

TEST_F(Writer, ObjectsAreFfmpegsOwn) {
    const auto* container = object<AVFormatContext>("xfmt");
    ASSERT_NE(container, nullptr);
    EXPECT_EQ(container->oformat, av_guess_format("mov", nullptr, nullptr));
    EXPECT_EQ(object<AVStream>("xvstream"), container->streams[0]);
    EXPECT_EQ(object<AVCodecContext>("xacodec")->codec_id, AV_CODEC_ID_PCM_S16LE);
    const auto* map = object<int32_t>("audio_map");
    ASSERT_NE(map, nullptr);
    for (int channel = 0; channel < 64; ++channel)
        EXPECT_EQ(map[channel], channel);
}

TEST_F(Writer, TracksHaveTheFormOfTheirEncoders) {
    const std::vector<Numbers> tracks = {
        {{"sample_rate", 48000}, {"sample_fmt_id", AV_SAMPLE_FMT_S16}, {"sample_fmt", 16}, {"channels", 2}},
        {{"sample_rate", 44100}, {"sample_fmt_id", AV_SAMPLE_FMT_FLTP}, {"sample_fmt", -1}, {"channels", 1}}};
    const std::map<std::string, std::vector<std::string>> names = {
        {"sample_rate", {"sample_rate", "file_sample_rate", "audio_rate", "user_sample_rate"}},
        {"sample_fmt_id", {"sample_fmt_id", "file_sample_format", "audio_fmt_id", "user_sample_format"}},
        {"sample_fmt", {"sample_fmt", "file_sample_fmt", "audio_fmt", "user_sample_fmt"}},
        {"channels", {"channels", "file_channels", "audio_channels", "user_channels"}}};
    for (int track = 0; track < 2; ++track)
        for (const auto& [name, keys] : names)
            for (const std::string& key : keys)
                EXPECT_EQ(stream_param(key.c_str(), track), tracks[static_cast<std::size_t>(track)].at(name)) << key;
    for (const std::string& key : kTrackKeys)
        for (const int track : {2, 16, -1})
            EXPECT_EQ(stream_param(key.c_str(), track), 0) << key << track;
}

TEST_F(Writer, CountersAreThoseOfTheNextPictureAndSample) {
    EXPECT_EQ(stream_param("vpts"), 0);
    EXPECT_EQ(stream_param("apts", 0), 0);
    write_pictures(media_, 7);
    EXPECT_EQ(stream_param("vpts"), 7);
    const Bytes packed(std::size_t{1000} * 4, 0);
    ASSERT_GE(qmio_write_track(media_.get(), 0, packed.data(), static_cast<int>(packed.size())), 0);
    EXPECT_EQ(stream_param("apts", 0), 1000);
    EXPECT_EQ(stream_param("apts", 1), 0);
    // Whole frames of this encoder are 1,024 samples; the rest waits.
    const Bytes floats(std::size_t{2500} * 4, 0);
    ASSERT_GE(qmio_write_track(media_.get(), 1, floats.data(), static_cast<int>(floats.size())), 0);
    EXPECT_EQ(stream_param("apts", 1), 2048);
    EXPECT_EQ(stream_param("apts", 0), 1000);
}

TEST_F(Writer, ThereIsNoDecodedPicture) {
    write_pictures(media_, 3);
    EXPECT_EQ(stream_param("frame_type"), '?');
    EXPECT_EQ(stream_param("frame_num"), -1);
    EXPECT_EQ(stream_param("pkt_size"), 0);
    EXPECT_EQ(stream_param("par"), 0);
    EXPECT_EQ(file_param(media_, "dts_frame"), -1);
    EXPECT_EQ(qmio_get_time_param(media_.get(), "key", nullptr), 0);
    qmio_time_param record{};
    EXPECT_EQ(qmio_get_time_param(media_.get(), "seek", &record), 0);
    EXPECT_EQ(record.start, 0);
    EXPECT_EQ(qmio_get_time_param(media_.get(), "dur", &record), 0);
}

TEST_F(Writer, BytePositionGrowsWithWhatIsWritten) {
    const int64_t before = stream_param("frame_pos");
    EXPECT_GT(before, 0);
    write_pictures(media_, 4);
    EXPECT_GT(stream_param("frame_pos"), before);
    EXPECT_EQ(stream_param("frame_pos"), avio_tell(object<AVFormatContext>("xfmt")->pb));
    qmio_flush(media_.get());
    EXPECT_EQ(stream_param("frame_pos"), static_cast<int64_t>(std::filesystem::file_size(path_)));
}

TEST_F(Writer, TimesAreThoseOfItsStreams) {
    const auto* container = object<AVFormatContext>("xfmt");
    for (const auto& call : {qmio_get_time_param, qmio_set_time_param}) {
        qmio_time_param record{};
        ASSERT_EQ(call(media_.get(), "video", &record), 1);
        EXPECT_EQ(record.frame_rate_num, 30000);
        EXPECT_EQ(record.frame_rate_den, 1001);
        EXPECT_EQ(record.time_base_num, container->streams[0]->time_base.num);
        EXPECT_EQ(record.time_base_den, container->streams[0]->time_base.den);
        EXPECT_EQ(record.start, 0);
        EXPECT_EQ(record.frame_count, 0);
        ASSERT_EQ(call(media_.get(), "audio", &record), 1);
        EXPECT_EQ(record.time_base_num, 1);
        EXPECT_EQ(record.time_base_den, 48000);
        EXPECT_EQ(record.frame_rate_num, 0);
    }
}

TEST_F(Writer, PacketOfTheHostHasTheTimesThatItSets) {
    AVPacket* packet = qmio_encode_frame(media_.get(), Bytes(std::size_t{kMadeWidth} * kMadeHeight * 3 / 2).data());
    ASSERT_NE(packet, nullptr);
    ASSERT_EQ(qmio_pkt_put(media_.get(), packet), 1);
    EXPECT_EQ(stream_param("pkt_size"), packet->size);
    EXPECT_EQ(qmio_get_time_param(media_.get(), "key", nullptr), 1);
    qmio_time_param record{};
    record.pts = 11;
    record.dts = 10;
    EXPECT_EQ(qmio_set_time_param(media_.get(), "packet", &record), 1);
    qmio_time_param read{};
    EXPECT_EQ(qmio_get_time_param(media_.get(), "packet", &read), 1);
    EXPECT_EQ(read.pts, 11);
    EXPECT_EQ(read.dts, 10);
    EXPECT_EQ(read.frame_rate_num, 30000);
    qmio_pkt_free(packet);
}

TEST(WriterShapes, PixelsOfTheContainerAreTold) {
    const TempDir folder;
    const Media media = create_file(folder / "wide.mov", video_options("mov", "mpeg4", "aspect=16/11"));
    ASSERT_NE(media, nullptr);
    EXPECT_EQ(qmio_get_stream_param(media.get(), "sar", 0), 1454);
    EXPECT_EQ(qmio_get_stream_param(media.get(), "dar", 0), 1939);
    EXPECT_EQ(qmio_get_stream_param(media.get(), "par", 0), 0);
}

TEST(SoundWriter, HasNoVideo) {
    const TempDir folder;
    const Media media = create_file(folder / "sound.wav", "fmt=wav,acodec=pcm_s16le,ac=2,ar=48000,afmt=s16");
    ASSERT_NE(media, nullptr);
    EXPECT_EQ(file_param(media, "nvideo"), 0);
    EXPECT_EQ(file_param(media, "video"), -1);
    EXPECT_EQ(file_param(media, "audio"), 0);
    EXPECT_EQ(file_param(media, "naudio"), 1);
    EXPECT_EQ(file_param(media, "xvstream"), 0);
    EXPECT_EQ(file_param(media, "width"), 0);
    EXPECT_EQ(file_param(media, "pix"), -1);
    EXPECT_STREQ(qmio_get_file_info(media.get(), "ofmt"), "wav");
    qmio_time_param record{};
    EXPECT_EQ(qmio_get_time_param(media.get(), "video", &record), 0);
    EXPECT_EQ(qmio_get_time_param(media.get(), "audio", &record), 1);
    EXPECT_EQ(qmio_get_smpte(media.get(), 3), -1);
}

TEST(PictureWriter, HasNoSound) {
    const TempDir folder;
    const Media media = create_file(folder / "silent.avi", video_options("avi", "ffv1"));
    ASSERT_NE(media, nullptr);
    EXPECT_EQ(file_param(media, "naudio"), 0);
    EXPECT_EQ(file_param(media, "audio"), -1);
    EXPECT_EQ(file_param(media, "sample_rate"), 0);
    EXPECT_EQ(file_param(media, "sample_fmt_id"), -1);
    EXPECT_EQ(file_param(media, "sample_fmt"), 0);
    EXPECT_EQ(file_param(media, "audio_fmt"), 0);
    EXPECT_EQ(file_param(media, "xacodec"), 0);
    EXPECT_EQ(file_param(media, "align"), 0);
    EXPECT_EQ(file_param(media, "ab"), 0);
    qmio_time_param record{};
    EXPECT_EQ(qmio_get_time_param(media.get(), "audio", &record), 0);
}

}  // namespace
}  // namespace qmio::test
