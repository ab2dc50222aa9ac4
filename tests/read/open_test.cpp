// What a freshly opened handle knows about its source, and which sources do not open.
#include <gtest/gtest.h>

#include <cstring>
#include <utility>

#include "core/handle/media_handle.h"
#include "support/media.h"
#include "support/open_media.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio;
using namespace qmio::test;

std::string last_error() {
    char text[512] = {};
    qmio_get_error(text);
    return text;
}

// A copy of a made file with one text replaced by another of the same length.
std::filesystem::path patched_copy(const TempDir& folder, const std::string& made, const char* from, const char* to) {
    Bytes bytes = read_bytes(media_path(made));
    EXPECT_GT(replace_bytes(bytes, from, to), 0) << made << " holds no " << from;
    auto path = folder / ("patched_" + made);
    write_bytes(path, bytes);
    return path;
}

TEST(Open, StandsBeforeTheFirstPicture) {
    const Media media = open_media(media_path("two_tracks_pcm_mp2.mkv"));
    ASSERT_TRUE(media);
    EXPECT_EQ(media->video.want_frame, 0);
    EXPECT_EQ(media->video.have_frame, -1);
    EXPECT_EQ(media->reading.read_result, 0);
    EXPECT_EQ(media->writing.mode, 0U);
}

TEST(Open, TellsSizeFormatAndStreams) {
    const Media media = open_media(media_path("two_tracks_pcm_mp2.mkv"));
    ASSERT_TRUE(media);
    EXPECT_EQ(file_param(media, "width"), 160);
    EXPECT_EQ(file_param(media, "height"), 96);
    EXPECT_EQ(file_param(media, "nvideo"), 1);
    EXPECT_EQ(file_param(media, "naudio"), 2);
    EXPECT_EQ(file_param(media, "video"), 0);
    EXPECT_EQ(file_param(media, "audio"), 1);
    EXPECT_EQ(media->video.pix_fmt, AV_PIX_FMT_YUV420P);
}

TEST(Open, DeliversBgraUntilTheHostChoosesAnotherFormat) {
    const Media media = open_media(media_path("two_tracks_pcm_mp2.mkv"));
    ASSERT_TRUE(media);
    EXPECT_EQ(media->video.dst_pix_fmt, AV_PIX_FMT_BGRA);
}

TEST(Open, KeepsTheNameThatItWasGiven) {
    const std::string name = media_path("tone.wav").string();
    const Media media = open_media(name);
    ASSERT_TRUE(media);
    EXPECT_EQ(std::string(media->file_name), name);
}

TEST(Open, PreparesEveryAudioTrack) {
    const Media media = open_media(media_path("two_tracks_pcm_mp2.mkv"));
    ASSERT_TRUE(media);
    const Tracks& tracks = media->tracks;
    ASSERT_EQ(tracks.count(), 2);
    EXPECT_EQ(tracks.find(0)->stream_index, 1);
    EXPECT_EQ(tracks.find(1)->stream_index, 2);
    EXPECT_EQ(tracks.find(0)->coder->id, AV_CODEC_ID_PCM_S16LE);
    EXPECT_EQ(tracks.find(1)->coder->id, AV_CODEC_ID_MP2);
    for (const Track& track : tracks) {
        EXPECT_EQ(track.delivered, (ffmpeg::SoundForm{1, track.codec->sample_fmt, 44100}));
        EXPECT_EQ(track.buffer.size(), 0U) << "before sound is asked for";
        EXPECT_NE(track.stream, nullptr);
    }
    EXPECT_NE(media->sound.audio_frame, nullptr);
}

TEST(Open, GivesTheUserTheFirstTracksFormatAndTheIdentityChannelMap) {
    const Media media = open_media(media_path("two_tracks_pcm_mp2.mkv"));
    ASSERT_TRUE(media);
    const Sound& sound = media->sound;
    EXPECT_EQ(sound.user, (ffmpeg::SoundForm{1, AV_SAMPLE_FMT_S16, 44100}));
    EXPECT_TRUE(sound.fill_silence);
    EXPECT_EQ(sound.cur_track, 0);
    for (int channel = 0; channel < 16; ++channel)
        EXPECT_EQ(sound.chan_map[static_cast<size_t>(channel)], channel);
}

TEST(Open, SoundAloneHasNoVideo) {
    const Media media = open_media(media_path("tone.wav"));
    ASSERT_TRUE(media);
    EXPECT_EQ(file_param(media, "video"), -1);
    EXPECT_EQ(file_param(media, "nvideo"), 0);
    EXPECT_EQ(file_param(media, "naudio"), 1);
    EXPECT_EQ(file_param(media, "audio"), 0);
    EXPECT_EQ(qmio_get_dur(media.get()), 2000);
    EXPECT_EQ(media->video.codec, nullptr);
    EXPECT_EQ(media->reading.pFrame, nullptr);
    EXPECT_EQ(media->reading.pFrameRGB, nullptr);
    uint8_t pixel[4];
    EXPECT_EQ(qmio_read_frame(media.get(), pixel), 0);
}

TEST(Open, SourceWithoutPicturesAndSoundOpens) {
    const TempDir folder;
    const std::string text = "1\n00:00:00,000 --> 00:00:01,000\nwords\n\n";
    write_bytes(folder / "words.srt", Bytes(text.begin(), text.end()));
    const Media media = open_media(folder / "words.srt");
    ASSERT_TRUE(media);
    EXPECT_EQ(file_param(media, "nvideo"), 0);
    EXPECT_EQ(file_param(media, "naudio"), 0);
    EXPECT_EQ(media->sound.user.rate, 0);
    EXPECT_EQ(media->sound.user.channels, 0);
    EXPECT_TRUE(media->sound.fill_silence);
}

TEST(Open, SeventeenAudioStreamsBecomeSixteenTracks) {
    const Media media = open_media(media_path("seventeen_audio_tracks.mkv"));
    ASSERT_TRUE(media);
    EXPECT_EQ(file_param(media, "naudio"), 16);
    const Track& last = *media->tracks.find(15);
    EXPECT_EQ(last.stream_index, 16);
    EXPECT_NE(last.coder, nullptr);
}

TEST(OpenFrameCount, IsRateTimesTheStreamsDuration) {
    const Media media = open_media(media_path("small_h264_aac.mp4"));
    ASSERT_TRUE(media);
    ASSERT_NE(media->video.stream->duration, AV_NOPTS_VALUE);
    EXPECT_EQ(file_param(media, "frames"), 25);
}

// 2.011 s at 25 frames a second, whole milliseconds first: 2011 * 25 / 1 / 1000.
TEST(OpenFrameCount, IsRateTimesTheContainersDurationWhenTheStreamHasNone) {
    const Media media = open_media(media_path("two_tracks_pcm_mp2.mkv"));
    ASSERT_TRUE(media);
    ASSERT_EQ(media->video.stream->duration, AV_NOPTS_VALUE);
    const int64_t milliseconds = media->container.format_ctx->duration / 1000;
    EXPECT_EQ(file_param(media, "frames"), milliseconds * 25 / 1000);
    EXPECT_GE(file_param(media, "frames"), 50);
}

TEST(OpenFrameCount, IsOneWhenNoDurationIsKnown) {
    const Media media = open_media(media_path("live_mpeg4.mkv"));
    ASSERT_TRUE(media);
    ASSERT_EQ(media->video.stream->duration, AV_NOPTS_VALUE);
    ASSERT_EQ(media->container.format_ctx->duration, AV_NOPTS_VALUE);
    EXPECT_EQ(file_param(media, "frames"), 1);
}

TEST(OpenFrameCount, IsOneForStillPictures) {
    for (const char* still : {"still.png", "still.jpg"}) {
        const Media media = open_media(media_path(still));
        ASSERT_TRUE(media) << still;
        EXPECT_EQ(file_param(media, "frames"), 1) << still;
    }
}

TEST(OpenFrameCount, IsOneWithoutAnAverageRate) {
    const Media media = open_media(media_path("no_average_rate.asf"));
    ASSERT_TRUE(media);
    const AVRational rate = media->video.stream->avg_frame_rate;
    ASSERT_TRUE(rate.num == 0 || rate.den == 0) << rate.num << "/" << rate.den;
    EXPECT_EQ(file_param(media, "frames"), 1);
}

TEST(Open, StartTimeIsKeptInMicroseconds) {
    const Media media = open_media(media_path("intra_mpeg2.ts"));
    ASSERT_TRUE(media);
    const AVStream* stream = media->video.stream;
    ASSERT_GT(stream->start_time, 0);
    EXPECT_EQ(media->video.start_time_us, stream->start_time * stream->time_base.num * 1000000 / stream->time_base.den);
}

TEST(Open, ReadingIsNotBlockingForDemuxersThatKnowHow) {
    const Media media = open_media(media_path("tone.wav"));
    ASSERT_TRUE(media);
    EXPECT_NE(media->container.format_ctx->flags & AVFMT_FLAG_NONBLOCK, 0);
}

TEST(OpenOptions, ThreadsOverridesTheDecodersThreadCount) {
    const Media media = open_media(media_path("small_h264_aac.mp4").string(), "threads=7");
    ASSERT_TRUE(media);
    EXPECT_EQ(media->video.codec->thread_count, 7);
}

TEST(OpenOptions, WideOptionsDoTheSame) {
    const Media media(qmio_open_ex_w(wide_name(media_path("small_h264_aac.mp4")).c_str(), L"threads=7"));
    ASSERT_TRUE(media);
    EXPECT_EQ(media->video.codec->thread_count, 7);
}

TEST(OpenOptions, TheDecoderChoosesItsThreadsByDefault) {
    const qmio::ffmpeg::CodecContextPtr automatic(avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_H264)));
    automatic->thread_count = 0;
    ASSERT_EQ(avcodec_open2(automatic.get(), nullptr, nullptr), 0);
    const Media media = open_media(media_path("small_h264_aac.mp4"));
    ASSERT_TRUE(media);
    EXPECT_EQ(media->video.codec->thread_count, automatic->thread_count);
}

TEST(OpenOptions, ReachTheDemuxerAndTheDecoderFromOneString) {
    const Media media = open_media(media_path("small_h264_aac.mp4").string(), "probesize=123456, skip_frame=nokey");
    ASSERT_TRUE(media);
    EXPECT_EQ(media->container.format_ctx->probesize, 123456);
    EXPECT_EQ(media->video.codec->skip_frame, AVDISCARD_NONKEY);
}

TEST(OpenOptions, SkippingEndsWhereItsNamesDo) {
    for (const auto& [text, skipping] :
         {std::pair("skip_frame=100000", AVDISCARD_ALL), {"skip_frame=-17", AVDISCARD_NONE}}) {
        const Media media = open_media(media_path("small_h264_aac.mp4").string(), text);
        ASSERT_TRUE(media);
        EXPECT_EQ(media->video.codec->skip_frame, skipping) << text;
    }
}

TEST(OpenOptions, UnknownKeysAreIgnored) {
    EXPECT_TRUE(open_media(media_path("small_h264_aac.mp4").string(), "no_such_key=1,=,,;x\n#y"));
}

TEST(OpenOptions, MayBeNull) {
    const auto path = media_path("small_h264_aac.mp4");
    EXPECT_TRUE(Media(qmio_open_ex_a(path.string().c_str(), nullptr)));
    EXPECT_TRUE(Media(qmio_open_ex_w(wide_name(path).c_str(), nullptr)));
}

TEST(OpenUndecodable, FirstSoundLeavesThePictures) {
    const TempDir folder;
    const auto path = patched_copy(folder, "two_tracks_pcm_mp2.mkv", "A_PCM/INT/LIT", "A_PXX/INT/LIT");
    last_error();
    const Media media = open_media(path);
    ASSERT_TRUE(media);
    EXPECT_EQ(last_error(), "No codec found for audio stream 0 (1)");
    EXPECT_EQ(file_param(media, "naudio"), 2);
    EXPECT_EQ(all_pictures(media, 100), all_pictures(open_media(media_path("two_tracks_pcm_mp2.mkv")), 100));
}

TEST(OpenUndecodable, LaterSoundDisablesEveryTrack) {
    const TempDir folder;
    const auto path = patched_copy(folder, "two_tracks_pcm_mp2.mkv", "A_MPEG/L2", "A_XXXX/L2");
    last_error();
    const Media media = open_media(path);
    ASSERT_TRUE(media);
    EXPECT_EQ(last_error(), "No codec found for audio stream 1 (2)");
    EXPECT_EQ(media->tracks.count(), 2);
    for (const Track& track : media->tracks) {
        EXPECT_EQ(track.stream_index, -1);
        EXPECT_EQ(track.codec, nullptr);
        EXPECT_EQ(track.coder, nullptr);
    }
    EXPECT_EQ(media->sound.user.rate, 0);
}

TEST(OpenUndecodable, DisabledSoundGivesNoAudioPackets) {
    const TempDir folder;
    const Media media = open_media(patched_copy(folder, "two_tracks_pcm_mp2.mkv", "A_MPEG/L2", "A_XXXX/L2"));
    ASSERT_TRUE(media);
    int kind = 0;
    for (int packet = 0; packet < 60 && kind >= 0; ++packet) {
        kind = qmio_get_frame(media.get());
        EXPECT_NE(kind, 2);
        qmio_release_frame(media.get());
    }
}

TEST(OpenUndecodable, PicturesFailTheOpenAndSaySo) {
    const TempDir folder;
    const auto path = patched_copy(folder, "two_tracks_pcm_mp2.mkv", "V_MPEG4/ISO/ASP", "V_XXXX4/ISO/ASP");
    last_error();
    EXPECT_FALSE(open_media(path));
    EXPECT_EQ(last_error(), "No codec found for video stream 0");
}

TEST(OpenFails, EmptyNames) {
    EXPECT_EQ(qmio_open_a(""), nullptr);
    EXPECT_EQ(qmio_open_w(L""), nullptr);
    EXPECT_EQ(qmio_open_ex_w(L"", L""), nullptr);
}

TEST(OpenFails, MissingFilesFoldersAndOtherThings) {
    const TempDir folder;
    write_bytes(folder / "empty.mp4", {});
    write_bytes(folder / "zeros.mkv", Bytes(5000));
    EXPECT_FALSE(open_media(folder / "missing.mkv"));
    EXPECT_FALSE(open_media(folder.path()));
    EXPECT_FALSE(open_media(folder / "empty.mp4"));
    EXPECT_FALSE(open_media(folder / "zeros.mkv"));
    EXPECT_FALSE(open_media(std::string("nosuchprotocol://127.0.0.1/x")));
}

TEST(OpenFails, WithoutKeepingAMessage) {
    last_error();
    EXPECT_FALSE(open_media(std::string("/no/such/file.mkv")));
    char text[512] = "before";
    EXPECT_EQ(qmio_get_error(text), 0);
    EXPECT_STREQ(text, "");
}

TEST(OpenFails, WithoutKeepingFilesOpen) {
    const TempDir folder;
    const auto video = patched_copy(folder, "two_tracks_pcm_mp2.mkv", "V_MPEG4/ISO/ASP", "V_XXXX4/ISO/ASP");
    write_bytes(folder / "zeros.mkv", Bytes(5000));
    open_media(video);  // whatever FFmpeg opens once for the whole process
    const auto before = open_descriptors();
    if (!before)
        GTEST_SKIP() << "this system does not tell the open descriptors";
    for (int attempt = 0; attempt < 5; ++attempt) {
        EXPECT_FALSE(open_media(video));
        EXPECT_FALSE(open_media(folder / "zeros.mkv"));
        EXPECT_FALSE(open_media(folder / "missing.mkv"));
        EXPECT_FALSE(open_media(folder.path()));
    }
    EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
