// Every key on a source: against what the ffprobe program says of the made file, and against FFmpeg's plain calls.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <sstream>
#include <string>

#include "info/keys.h"
#include "info/made_file.h"
#include "info/plain_file.h"
#include "support/media.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

using Texts = std::map<std::string, std::string>;
using Numbers = std::map<std::string, int64_t>;

constexpr int kPlanarFloat = -1;  // code of the sample format "fltp"

void expect_texts(const Media& media, const Texts& expected) {
    for (const auto& [key, text] : expected)
        EXPECT_STREQ(qmio_get_file_info(media.get(), key.c_str()), text.c_str()) << key;
}

void expect_file_params(const Media& media, const Numbers& expected) {
    for (const auto& [key, number] : expected)
        EXPECT_EQ(file_param(media, key.c_str()), number) << key;
}

void expect_stream_params(const Media& media, int track, const Numbers& expected) {
    for (const auto& [key, number] : expected)
        EXPECT_EQ(qmio_get_stream_param(media.get(), key.c_str(), track), number) << key << " of track " << track;
}

template <class Object>
const Object* object(const Media& media, const char* key) {
    return reinterpret_cast<const Object*>(static_cast<intptr_t>(file_param(media, key)));
}

// FFmpeg's own records behind the handle, for a test to change.
AVStream& video_stream(const Media& media) {
    return *const_cast<AVStream*>(object<AVStream>(media, "xvstream"));
}
AVCodecContext& video_codec(const Media& media) {
    return *const_cast<AVCodecContext*>(object<AVCodecContext>(media, "xvcodec"));
}

int64_t address(const void* object) {
    return static_cast<int64_t>(reinterpret_cast<intptr_t>(object));
}

int64_t stream_param(const Media& media, const char* key, int track = 0) {
    return qmio_get_stream_param(media.get(), key, track);
}

bool same(const qmio_time_param& record, const qmio_time_param& other) {
    return std::memcmp(&record, &other, sizeof record) == 0;
}

[[maybe_unused]] std::string text_of(const qmio_time_param& record) {
    std::ostringstream text;
    text << "pts " << record.pts << " dts " << record.dts << " start " << record.start << " duration "
         << record.duration << " base " << record.time_base_num << "/" << record.time_base_den << " rate "
         << record.frame_rate_num << "/" << record.frame_rate_den << " container " << record.container_start << "+"
         << record.container_duration << " frames " << record.frame_count << "\n";
    return text.str();
}

class VideoAndTwoTracks : public testing::Test {
  protected:
    void SetUp() override {
        path_ = media_path("two_audio_tracks.mp4");
        media_ = open_media(path_);
        ASSERT_NE(media_, nullptr);
    }
    std::filesystem::path path_;
    Media media_;
};

TEST_F(VideoAndTwoTracks, TextsNameContainerAndDecoders) {
    expect_texts(media_, {{"fmt", "mov,mp4,m4a,3gp,3g2,mj2"},
                          {"fdescr", "QuickTime / MOV"},
                          {"ofmt", ""},
                          {"ofdescr", ""},
                          {"codec", "h264"},
                          {"cdescr", "H.264 / AVC / MPEG-4 AVC / MPEG-4 part 10"},
                          {"pix", "yuv420p"},
                          {"pdescr", "Planar YUV 4:2:0, 12bpp, (1 Cr & Cb sample per 2x2 Y samples)"},
                          {"acodec", "aac"},
                          {"acdescr", "AAC (Advanced Audio Coding)"}});
}

const Numbers kSharedBeforeReading = {{"width", 320}, {"height", 192},   {"frames", 150},  {"nvideo", 1}, {"naudio", 2},
                                      {"video", 0},   {"audio", 1},      {"pix", 0},       {"start", 0},  {"align", 0},
                                      {"packet", 0},  {"interlace", -1}, {"top_field", -1}};

TEST_F(VideoAndTwoTracks, FileNumbersAreThoseOfTheFile) {
    expect_file_params(media_, kSharedBeforeReading);
    expect_file_params(media_, {{"check", 0},
                                {"error", 0},
                                {"dts_frame", -1},
                                {"sample_rate", 44100},
                                {"audio_rate", 44100},
                                {"sample_fmt_id", AV_SAMPLE_FMT_FLTP},
                                {"audio_fmt_id", AV_SAMPLE_FMT_FLTP},
                                {"sample_fmt", kPlanarFloat},
                                {"audio_fmt", kPlanarFloat},
                                {"channels", 2},
                                {"audio_channels", 2}});
}

TEST_F(VideoAndTwoTracks, StreamNumbersAnswerTheSameKeys) {
    expect_stream_params(media_, 0, kSharedBeforeReading);
    for (const char* key : {"fmt", "codec", "acodec"})
        EXPECT_EQ(stream_param(media_, key), file_param(media_, key)) << key;
}

TEST_F(VideoAndTwoTracks, ObjectsAreFfmpegsOwn) {
    EXPECT_EQ(file_param(media_, "fmt"), address(av_find_input_format("mp4")));
    EXPECT_EQ(file_param(media_, "codec"), address(avcodec_find_decoder(AV_CODEC_ID_H264)));
    EXPECT_EQ(file_param(media_, "acodec"), address(avcodec_find_decoder(AV_CODEC_ID_AAC)));
    const AVFormatContext* container = object<AVFormatContext>(media_, "xfmt");
    ASSERT_NE(container, nullptr);
    EXPECT_EQ(container->nb_streams, 3U);
    EXPECT_EQ(object<AVStream>(media_, "xvstream"), container->streams[0]);
    EXPECT_EQ(object<AVCodecContext>(media_, "xvcodec")->codec_id, AV_CODEC_ID_H264);
    EXPECT_EQ(object<AVCodecContext>(media_, "xvcodec")->width, 320);
    EXPECT_EQ(object<AVCodecContext>(media_, "xacodec")->codec_id, AV_CODEC_ID_AAC);
    EXPECT_EQ(object<AVCodecContext>(media_, "xacodec")->sample_rate, 44100);
}

TEST_F(VideoAndTwoTracks, ChannelMapIsTheHandlesOwn) {
    const auto* map = object<int32_t>(media_, "audio_map");
    ASSERT_NE(map, nullptr);
    for (int channel = 0; channel < 64; ++channel)
        EXPECT_EQ(map[channel], channel);
    qmio_map_audio(media_.get(), 5, 1);
    qmio_map_audio(media_.get(), 63, -1);
    EXPECT_EQ(map[5], 1);
    EXPECT_LT(map[63], 0);
    EXPECT_EQ(object<int32_t>(media_, "audio_map"), map);
}

TEST_F(VideoAndTwoTracks, BitRatesAreThoseOfTheStreams) {
    const Container plain = open_plainly(path_);
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(file_param(media_, "vb"), plain->streams[0]->codecpar->bit_rate);
    EXPECT_EQ(file_param(media_, "ab"), plain->streams[1]->codecpar->bit_rate);
    EXPECT_GT(file_param(media_, "vb"), 10000);
    EXPECT_GT(file_param(media_, "ab"), 10000);
    EXPECT_NE(file_param(media_, "vb"), file_param(media_, "ab"));
}

TEST_F(VideoAndTwoTracks, AskingForStreamsBeforeReadingGivesWhatThereIs) {
    expect_stream_params(media_, 0,
                         {{"vpts", 0}, {"apts", 0}, {"frame_type", '?'}, {"frame_num", -1}, {"pkt_size", 0}});
}

// ---- sound ----

TEST_F(VideoAndTwoTracks, DeliveredFormIsWhatTheHostChose) {
    ASSERT_EQ(qmio_set_track(media_.get(), 1), 1);
    ASSERT_EQ(qmio_set_dst_audio(media_.get(), 2, 48000, 16), 1);
    expect_file_params(media_, {{"audio_rate", 48000},
                                {"audio_fmt_id", AV_SAMPLE_FMT_S16},
                                {"audio_fmt", 16},
                                {"sample_rate", 44100},
                                {"sample_fmt_id", AV_SAMPLE_FMT_FLTP},
                                {"sample_fmt", kPlanarFloat},
                                {"channels", 2}});
    expect_stream_params(media_, 1,
                         {{"sample_rate", 44100},
                          {"file_sample_rate", 44100},
                          {"audio_rate", 48000},
                          {"user_sample_rate", 48000},
                          {"sample_fmt_id", AV_SAMPLE_FMT_FLTP},
                          {"file_sample_format", AV_SAMPLE_FMT_FLTP},
                          {"audio_fmt_id", AV_SAMPLE_FMT_S16},
                          {"user_sample_format", AV_SAMPLE_FMT_S16},
                          {"sample_fmt", kPlanarFloat},
                          {"file_sample_fmt", kPlanarFloat},
                          {"audio_fmt", 16},
                          {"user_sample_fmt", 16},
                          {"channels", 1},
                          {"file_channels", 1},
                          {"audio_channels", 2},
                          {"user_channels", 2}});
}

struct TrackOfFile {
    int rate;
    AVSampleFormat format;
    int channels;
};

// As ffprobe tells them of the file.
const std::vector<TrackOfFile> kMixedTracks = {{48000, AV_SAMPLE_FMT_S16, 2},  {44100, AV_SAMPLE_FMT_FLTP, 1},
                                               {48000, AV_SAMPLE_FMT_FLTP, 6}, {96000, AV_SAMPLE_FMT_S32, 2},
                                               {48000, AV_SAMPLE_FMT_FLTP, 2}, {8000, AV_SAMPLE_FMT_U8, 1},
                                               {22050, AV_SAMPLE_FMT_FLTP, 2}, {44100, AV_SAMPLE_FMT_FLT, 2},
                                               {44100, AV_SAMPLE_FMT_FLTP, 2}, {16000, AV_SAMPLE_FMT_S16, 2}};

TEST(AudioOnly, EveryTrackHasItsOwnNumbers) {
    const Media media = open_media(media_path("sound/mixed_tracks.mkv"));
    ASSERT_NE(media, nullptr);
    ASSERT_EQ(file_param(media, "naudio"), 10);
    int64_t channels = 0;
    for (int track = 0; track < 10; ++track) {
        const TrackOfFile& expected = kMixedTracks[static_cast<std::size_t>(track)];
        const int code = code_of(expected.format);
        for (const char* key : {"sample_rate", "file_sample_rate", "audio_rate", "user_sample_rate"})
            EXPECT_EQ(stream_param(media, key, track), expected.rate) << key << track;
        for (const char* key : {"sample_fmt_id", "file_sample_format", "audio_fmt_id", "user_sample_format"})
            EXPECT_EQ(stream_param(media, key, track), expected.format) << key << track;
        for (const char* key : {"sample_fmt", "file_sample_fmt", "audio_fmt", "user_sample_fmt"})
            EXPECT_EQ(stream_param(media, key, track), code) << key << track;
        for (const char* key : {"channels", "file_channels", "audio_channels", "user_channels"})
            EXPECT_EQ(stream_param(media, key, track), expected.channels) << key << track;
        channels += expected.channels;
    }
    EXPECT_EQ(file_param(media, "channels"), channels);
    EXPECT_EQ(file_param(media, "audio_channels"), channels);
}

TEST(AudioOnly, KeysOfVideoSayThatThereIsNone) {
    const Media media = open_media(media_path("tone.wav"));
    ASSERT_NE(media, nullptr);
    expect_texts(media, {{"fmt", "wav"},
                         {"fdescr", "WAV / WAVE (Waveform Audio)"},
                         {"ofmt", ""},
                         {"ofdescr", ""},
                         {"codec", ""},
                         {"cdescr", ""},
                         {"pix", ""},
                         {"pdescr", ""},
                         {"acodec", "pcm_s16le"},
                         {"acdescr", "PCM signed 16-bit little-endian"}});
    const Numbers shared = {{"width", 0},  {"height", 0}, {"frames", 0},     {"nvideo", 0},    {"naudio", 1},
                            {"video", -1}, {"audio", 0},  {"codec", 0},      {"pix", -1},      {"start", 0},
                            {"align", 2},  {"packet", 0}, {"interlace", -1}, {"top_field", -1}};
    expect_file_params(media, shared);
    expect_stream_params(media, 0, shared);
    expect_file_params(media, {{"check", 0},
                               {"error", 0},
                               {"dts_frame", -1},
                               {"sample_rate", 48000},
                               {"audio_rate", 48000},
                               {"sample_fmt_id", AV_SAMPLE_FMT_S16},
                               {"audio_fmt_id", AV_SAMPLE_FMT_S16},
                               {"sample_fmt", 16},
                               {"audio_fmt", 16},
                               {"channels", 1},
                               {"audio_channels", 1},
                               {"xvcodec", 0},
                               {"xvstream", 0},
                               {"vb", 0},
                               {"ab", 768000},
                               {"fmt", address(av_find_input_format("wav"))},
                               {"acodec", address(avcodec_find_decoder(AV_CODEC_ID_PCM_S16LE))}});
    expect_stream_params(media, 0,
                         {{"vpts", 0}, {"frame_type", '?'}, {"frame_num", -1}, {"par", 0}, {"sar", 0}, {"dar", 0}});
}

TEST(AudioOnly, TimesAreThoseOfTheSoundAlone) {
    const Media media = open_media(media_path("tone.wav"));
    ASSERT_NE(media, nullptr);
    qmio_time_param record{};
    record.pts = 5;
    EXPECT_EQ(qmio_get_time_param(media.get(), "video", &record), 0);
    EXPECT_TRUE(same(record, {}));
    EXPECT_EQ(qmio_set_time_param(media.get(), "video", &record), 0);
    for (const auto& call : {qmio_get_time_param, qmio_set_time_param}) {
        record.pts = record.dts = 7;
        record.frame_rate_num = 9;
        EXPECT_EQ(call(media.get(), "audio", &record), 1);
        qmio_time_param expected{};
        expected.duration = 96000;
        expected.time_base_num = 1;
        expected.time_base_den = 48000;
        expected.container_start = AV_NOPTS_VALUE;
        expected.container_duration = 2000000;
        EXPECT_TRUE(same(record, expected)) << text_of(record);
    }
}

// The time of each frame of sound as FFmpeg's own decoding gives it.
TEST_F(VideoAndTwoTracks, SoundTellsItsTimestamp) {
    const std::vector<PlainTrack> plain = decode_plainly(path_);
    ASSERT_EQ(plain.size(), 2U);
    ASSERT_EQ(qmio_set_track(media_.get(), 1), 1);
    ASSERT_EQ(qmio_set_dst_audio(media_.get(), 1, 44100, 16), 1);
    Bytes buffer(1 << 20);
    std::size_t frames = 0;
    for (int kind; (kind = qmio_get_frame(media_.get())) >= 0; qmio_release_frame(media_.get()))
        while (kind == QMIO_PACKET_AUDIO && qmio_audio_frame(media_.get(), buffer.data()) > 0) {
            ASSERT_LT(frames, plain[1].frames.size());
            ASSERT_EQ(stream_param(media_, "apts", 1), plain[1].frames[frames++]->pts);
        }
    EXPECT_EQ(frames, plain[1].frames.size());
    EXPECT_GT(stream_param(media_, "apts", 1), 44100 * 5);
}

// ---- pictures ----

class FieldOrder : public testing::TestWithParam<const char*> {};

// Everything that is told of the picture decoded last, picture after picture.
TEST_P(FieldOrder, EveryPictureTellsItsTypeFieldsAndTime) {
    const std::filesystem::path path = media_path(GetParam());
    const std::vector<Frame> plain = pictures_of(path);
    const Media media = open_media(path);
    ASSERT_NE(media, nullptr);
    Bytes buffer = picture_buffer(media);
    int number = 0;
    const auto check = [&] {
        ASSERT_LT(static_cast<std::size_t>(number), plain.size());
        const AVFrame& picture = *plain[static_cast<std::size_t>(number)];
        ASSERT_EQ(file_param(media, "dts_frame"), number);
        ASSERT_EQ(file_param(media, "interlace"), picture.interlaced_frame) << number;
        ASSERT_EQ(file_param(media, "top_field"), picture.top_field_first) << number;
        expect_stream_params(media, 0,
                             {{"vpts", picture.pts},
                              {"frame_num", number},
                              {"frame_type", av_get_picture_type_char(picture.pict_type)},
                              {"interlace", picture.interlaced_frame},
                              {"top_field", picture.top_field_first}});
        ++number;
    };
    while (qmio_read_frame(media.get(), buffer.data()) > 1)
        check();
    while (qmio_video_pkt(media.get(), buffer.data(), nullptr) > 1)
        check();
    EXPECT_EQ(static_cast<std::size_t>(number), plain.size());
}

INSTANTIATE_TEST_SUITE_P(Files, FieldOrder,
                         testing::Values("two_audio_tracks.mp4", "h264_tff.mp4", "h264_bff.mp4", "rate_30000_1001.mp4",
                                         "mpeg4_no_bframes.avi", "starts_at_8s.mkv"),
                         [](const auto& file) { return test_name(file.param); });

TEST(FieldOrders, AreWhatTheFilesWereMadeWith) {
    const std::map<std::string, std::pair<int, int>> files = {
        {"plain.mp4", {0, 0}}, {"h264_tff.mp4", {1, 1}}, {"h264_bff.mp4", {1, 0}}};
    for (const auto& [name, fields] : files) {
        const Media media = open_media(media_path(name));
        ASSERT_NE(media, nullptr) << name;
        next_picture(media);
        EXPECT_EQ(file_param(media, "interlace"), fields.first) << name;
        EXPECT_EQ(file_param(media, "top_field"), fields.second) << name;
        EXPECT_EQ(stream_param(media, "frame_type"), 'I') << name;
    }
}

TEST(Pictures, StillPictureIsOneFrameOfItsFormat) {
    const Media media = open_media(media_path("still_alpha.png"));
    ASSERT_NE(media, nullptr);
    expect_file_params(media,
                       {{"frames", 1}, {"width", 160}, {"height", 96}, {"pix", 28}, {"naudio", 0}, {"audio", -1}});
    expect_texts(media, {{"pix", "rgba"}, {"codec", "png"}, {"acodec", ""}, {"acdescr", ""}});
}

// Another stream's number, another start, another depth.
TEST(Pictures, PixelFormatIsTheInterfacesNumber) {
    const std::map<std::string, std::pair<int, std::string>> files = {
        {"ten_bit.mp4", {72, "yuv420p10le"}},     {"gray.mkv", {8, "gray"}},
        {"alpha_ffv1.mkv", {30, "bgra"}},         {"rgb24.avi", {3, "bgr24"}},
        {"full_range_444.mp4", {14, "yuvj444p"}}, {"alpha_qtrle.mov", {27, "argb"}}};
    for (const auto& [name, format] : files) {
        const Media media = open_media(media_path(name));
        ASSERT_NE(media, nullptr) << name;
        EXPECT_EQ(file_param(media, "pix"), format.first) << name;
        EXPECT_STREQ(qmio_get_file_info(media.get(), "pix"), format.second.c_str());
        EXPECT_STREQ(qmio_get_file_info(media.get(), "pdescr"), qmio_get_pix_info(format.first, "descr"));
    }
}

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
