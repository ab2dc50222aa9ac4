// Every key on a source: against what the ffprobe program says of the made file, and against FFmpeg's plain calls.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "info/answers.h"
#include "support/media.h"
#include "support/plain_file.h"
#include "support/plain_sound.h"
#include "support/release_names.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

constexpr int kPlanarFloat = -1;  // code of the sample format "fltp"

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
        ASSERT_EQ(file_param(media, "interlace"), is_interlaced(picture)) << number;
        ASSERT_EQ(file_param(media, "top_field"), is_top_field_first(picture)) << number;
        expect_stream_params(media, 0,
                             {{"vpts", picture.pts},
                              {"frame_num", number},
                              {"frame_type", av_get_picture_type_char(picture.pict_type)},
                              {"interlace", is_interlaced(picture)},
                              {"top_field", is_top_field_first(picture)}});
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

TEST(SoundOfSeveralTracks, TellsItsTimeByTheTrack) {
    const Media media = open_media(media_path("two_tracks_pcm_mp2.mkv"));
    ASSERT_NE(media, nullptr);
    qmio_set_track(media.get(), -1);
    Bytes sound(std::size_t{1} << 20);
    int64_t first_of_track[] = {0, 0};
    for (int kind = 0, packets = 0; packets < 40 && kind >= 0; kind = qmio_get_frame(media.get())) {
        if (kind != QMIO_PACKET_AUDIO || qmio_audio_frame(media.get(), sound.data()) < 1)
            continue;
        const int track = qmio_get_astream(media.get()) - 1;
        const int64_t other = stream_param(media, "apts", 1 - track);
        EXPECT_EQ(other, first_of_track[1 - track]) << "sound of track " << track << " is no sound of the other";
        first_of_track[track] = stream_param(media, "apts", track);
        ++packets;
    }
    EXPECT_GT(first_of_track[0], 0);
    EXPECT_GT(first_of_track[1], 0);
    EXPECT_NE(first_of_track[0], first_of_track[1]);
}

TEST(Pictures, WithoutTimestampsTheyAreCounted) {
    const Media media(qmio_open_ex_a(utf8(media_path("mjpeg.avi")).c_str(), "threads=1"));
    ASSERT_NE(media, nullptr);
    ASSERT_GT(next_picture(media).result, 1);
    ASSERT_EQ(qmio_get_frame(media.get()), QMIO_PACKET_VIDEO);
    AVPacket* packet = qmio_pkt_alloc();
    ASSERT_EQ(qmio_pkt_dup(media.get(), packet), packet);
    packet->pts = packet->dts = AV_NOPTS_VALUE;
    EXPECT_GT(qmio_video_pkt(media.get(), picture_buffer(media).data(), packet), 1);
    qmio_pkt_free(packet);
    expect_stream_params(media, 0, {{"vpts", AV_NOPTS_VALUE}, {"frame_num", 1}});
    EXPECT_EQ(file_param(media, "dts_frame"), 1);
    // The number is that of the packet in hand as long as that has a time.
    qmio_time_param times{};
    times.pts = 7;
    ASSERT_EQ(qmio_set_time_param(media.get(), "packet", &times), 1);
    EXPECT_EQ(stream_param(media, "frame_num", 0), 7);
    times.pts = times.dts = AV_NOPTS_VALUE;
    ASSERT_EQ(qmio_set_time_param(media.get(), "packet", &times), 1);
    EXPECT_EQ(stream_param(media, "frame_num", 0), 1);
}

}  // namespace
}  // namespace qmio::test
