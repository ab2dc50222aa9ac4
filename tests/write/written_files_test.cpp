// Whole files, made by the library and read back by the ffprobe program, by FFmpeg's plain calls and by the library.
#include <gtest/gtest.h>

#include <algorithm>

#include "support/made_pictures.h"
#include "support/media.h"
#include "support/plain_encoder.h"
#include "support/probe.h"
#include "support/sound_host.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

constexpr int kPictures = 53;

struct Kind {
    std::string file;
    std::string options;  // of the container and the video, without size and pixel format
    std::string pixel_format;
    int width, height;
    AVRational rate;
    SoundEncoding sound;
    uint32_t flags = 0;
    // What ffprobe is to tell.
    std::string container, video_codec, video_tag, field_order, audio_codec, timecode;
    bool stores_video_apart = false;  // the container writes the encoder's packets in another form
    bool keeps_names = true;          // metadata that the container has a place for

    std::string all_options() const {
        const SoundForm& form = sound.form;
        return options + ",size=" + std::to_string(width) + "x" + std::to_string(height) +
               ",r=" + std::to_string(rate.num) + "/" + std::to_string(rate.den) + ",acodec=" + sound.encoder +
               ",ar=" + std::to_string(form.rate) + ",ac=" + std::to_string(form.channels) +
               ",afmt=" + std::to_string(code_of(form.format)) +
               (sound.bit_rate > 0 ? ",ab=" + std::to_string(sound.bit_rate) : "") +
               ",metadata=\"title=Rain,artist=Ada,product_name=mine\"";
    }
};

void PrintTo(const Kind& kind, std::ostream* out) {
    *out << kind.file;
}

constexpr SoundForm kStereoWords{2, 48000, AV_SAMPLE_FMT_S16};

std::vector<Kind> kinds() {
    return {
        {.file = "h264_aac.mp4",
         .options = "fmt=mp4,vcodec=libx264,pix_fmt=yuv420p,preset=veryfast,bf=2,g=12,threads:v=1",
         .pixel_format = "AV_PIX_FMT_YUV420P",
         .width = 160,
         .height = 96,
         .rate = {30000, 1001},
         .sound = {"aac", {2, 48000, AV_SAMPLE_FMT_FLTP}, 128000, true},
         .container = "mov,mp4,m4a,3gp,3g2,mj2",
         .video_codec = "h264",
         .video_tag = "avc1",
         .field_order = "progressive",
         .audio_codec = "aac",
         .timecode = "",
         .stores_video_apart = true},
        {.file = "prores_pcm.mov",
         .options = "fmt=mov,vcodec=prores_ks,pix_fmt=yuv422p10le,profile:v=2,top=1,timecode=10:20:30:04",
         .pixel_format = "AV_PIX_FMT_YUV422P10LE",
         .width = 160,
         .height = 96,
         .rate = {25, 1},
         .sound = {"pcm_s16le", kStereoWords},
         .container = "mov,mp4,m4a,3gp,3g2,mj2",
         .video_codec = "prores",
         .video_tag = "apcn",
         .field_order = "tb",
         .audio_codec = "pcm_s16le",
         .timecode = "10:20:30:04"},
        {.file = "mjpeg_pcm.avi",
         .options = "fmt=avi,vcodec=mjpeg,pix_fmt=yuvj420p,vtag=dmb1",
         .pixel_format = "AV_PIX_FMT_YUVJ420P",
         .width = 176,
         .height = 144,
         .rate = {24, 1},
         .sound = {"pcm_u8", {1, 22050, AV_SAMPLE_FMT_U8}},
         .container = "avi",
         .video_codec = "mjpeg",
         .video_tag = "dmb1",
         .field_order = "",
         .audio_codec = "pcm_u8",
         .timecode = ""},
        {.file = "ffv1_flac.mkv",
         .options = "fmt=matroska,vcodec=ffv1,pix_fmt=yuv422p,top=0",
         .pixel_format = "AV_PIX_FMT_YUV422P",
         .width = 160,
         .height = 120,
         .rate = {50, 1},
         .sound = {"flac", {2, 44100, AV_SAMPLE_FMT_S16}, 0, true},
         .container = "matroska,webm",
         .video_codec = "ffv1",
         .video_tag = "",
         .field_order = "bt",
         .audio_codec = "flac",
         .timecode = ""},
        {.file = "mpeg2_pcm.mxf",
         .options = "fmt=mxf,vcodec=mpeg2video,pix_fmt=yuv422p,b:v=6M,g=12,bf=2,timecode=01:02:03:04",
         .pixel_format = "AV_PIX_FMT_YUV422P",
         .width = 160,
         .height = 96,
         .rate = {25, 1},
         .sound = {"pcm_s16le", kStereoWords},
         .flags = QMIO_CREATE_INTERLEAVED,
         .container = "mxf",
         .video_codec = "mpeg2video",
         .video_tag = "",
         .field_order = "progressive",
         .audio_codec = "pcm_s16le",
         .timecode = "01:02:03:04",
         .keeps_names = false},
        {.file = "mpeg2_mp2.ts",
         .options = "fmt=mpegts,vcodec=mpeg2video,pix_fmt=yuv420p,b:v=4M,g=10,bf=2",
         .pixel_format = "AV_PIX_FMT_YUV420P",
         .width = 160,
         .height = 96,
         .rate = {30, 1},
         .sound = {"mp2", kStereoWords, 192000},
         .container = "mpegts",
         .video_codec = "mpeg2video",
         .video_tag = "",
         .field_order = "progressive",
         .audio_codec = "mp2",
         .timecode = "",
         .keeps_names = false},
    };
}

class WrittenFile : public testing::TestWithParam<Kind> {
  protected:
    const Kind& kind() const { return GetParam(); }
    std::filesystem::path path() const { return folder_ / kind().file; }

    // Sound up to the end of each picture, so that calls of sound and pictures take turns.
    int64_t samples_before(int picture) const {
        return av_rescale(picture, int64_t{kind().sound.form.rate} * kind().rate.den, kind().rate.num);
    }

    void SetUp() override {
        Writer writer(path(), kind().all_options(), kind().flags);
        ASSERT_TRUE(writer.is_open());
        for (int picture = 0; picture < kPictures; ++picture) {
            EXPECT_EQ(writer.write_picture(pictures_, picture), 0);
            const int64_t first = samples_before(picture);
            const int count = static_cast<int>(samples_before(picture + 1) - first);
            EXPECT_GE(writer.write_sound(0, sound_.samples(first, count)), 0);
        }
    }

    int64_t samples() const { return samples_before(kPictures); }

    int audio_stream() const {
        const std::vector<PlainTrack> tracks = decode_plainly(path());
        return tracks.size() == 1 ? tracks[0].stream : -1;
    }

    PictureMaker pictures_{GetParam().pixel_format, GetParam().width, GetParam().height};
    SoundMaker sound_{GetParam().sound.form};

  private:
    TempDir folder_;
};

TEST_P(WrittenFile, IsDescribedByFfprobeAsItWasAskedFor) {
    if (!Probe::is_there())
        GTEST_SKIP() << "there is no ffprobe program";
    const Probe probe(path());
    EXPECT_EQ(probe.complaints(), "");
    EXPECT_EQ(probe["format.format_name"], kind().container);
    EXPECT_EQ(probe["stream.0.codec_name"], kind().video_codec);
    EXPECT_EQ(probe["stream.0.width"], std::to_string(kind().width));
    EXPECT_EQ(probe["stream.0.height"], std::to_string(kind().height));
    const std::string rate = std::to_string(kind().rate.num) + "/" + std::to_string(kind().rate.den);
    EXPECT_EQ(probe["stream.0.r_frame_rate"], rate);
    if (!kind().video_tag.empty()) {
        EXPECT_EQ(probe["stream.0.codec_tag_string"], kind().video_tag);
    }
    if (!kind().field_order.empty()) {
        EXPECT_EQ(probe["stream.0.field_order"], kind().field_order);
    }
    EXPECT_EQ(probe["stream.1.codec_name"], kind().audio_codec);
    EXPECT_EQ(probe["stream.1.sample_rate"], std::to_string(kind().sound.form.rate));
    EXPECT_EQ(probe["stream.1.channels"], std::to_string(kind().sound.form.channels));
}

TEST_P(WrittenFile, HasEveryPictureForFfprobe) {
    if (!Probe::is_there())
        GTEST_SKIP() << "there is no ffprobe program";
    const Probe probe(path());
    EXPECT_EQ(probe.packets(0), kPictures);
    EXPECT_EQ(probe.frames(0), kPictures);
}

TEST_P(WrittenFile, KeepsTheNamesThatTheContainerHasRoomFor) {
    if (!Probe::is_there())
        GTEST_SKIP() << "there is no ffprobe program";
    const Probe probe(path());
    if (kind().keeps_names) {
        EXPECT_EQ(probe["format.tags.title"], "Rain");
        EXPECT_EQ(probe["format.tags.artist"] + probe["format.tags.ARTIST"], "Ada");
    }
    const std::string product = probe["format.tags.product_name"] + probe["format.tags.PRODUCT_NAME"];
    EXPECT_TRUE(product.empty() || product == "qmstudio") << product;
    const std::string timecode = probe["stream.0.tags.timecode"];
    EXPECT_EQ(timecode.empty() ? probe["format.tags.timecode"] : timecode, kind().timecode);
}

TEST_P(WrittenFile, IsReadBackPictureByPicture) {
    Player player(path(), L"threads=1");
    ASSERT_TRUE(player.is_open());
    EXPECT_EQ(player.width(), kind().width);
    EXPECT_EQ(player.height(), kind().height);
    EXPECT_EQ(numbers(player.read_rest(2 * kPictures)), numbers_from(0, kPictures));
}

TEST_P(WrittenFile, TellsTheLibraryItsTracks) {
    const Media media = open_media(path());
    EXPECT_EQ(file_param(media, "naudio"), 1);
    EXPECT_EQ(file_param(media, "sample_rate"), kind().sound.form.rate);
    EXPECT_EQ(file_param(media, "channels"), kind().sound.form.channels);
}

INSTANTIATE_TEST_SUITE_P(Kinds, WrittenFile, testing::ValuesIn(kinds()),
                         [](const auto& test) { return test_name(test.param.file); });

std::vector<Kind> kinds_with(const std::vector<std::string>& encoders) {
    std::vector<Kind> chosen = kinds();
    std::erase_if(chosen, [&](const Kind& kind) {
        return std::find(encoders.begin(), encoders.end(), kind.sound.encoder) == encoders.end();
    });
    return chosen;
}

// Encoders of fixed frames: what the encoder gives for whole frames, the last one filled up with silence, and no more.
class FileOfWholeFrames : public WrittenFile {};

TEST_P(FileOfWholeFrames, HasThePacketsOfItsSoundThatThePlainEncoderGives) {
    const std::vector<Bytes> expected = encode_plainly(kind().sound, sound_, samples());
    const std::vector<Packet> packets = packets_of(path(), audio_stream());
    ASSERT_EQ(packets.size(), expected.size());
    for (std::size_t packet = 0; packet < packets.size(); ++packet)
        EXPECT_TRUE(Bytes(packets[packet]->data, packets[packet]->data + packets[packet]->size) == expected[packet])
            << "packet " << packet;
}

INSTANTIATE_TEST_SUITE_P(Kinds, FileOfWholeFrames, testing::ValuesIn(kinds_with({"aac", "mp2", "flac"})),
                         [](const auto& test) { return test_name(test.param.file); });

class FileOfExactSound : public WrittenFile {};

TEST_P(FileOfExactSound, GivesBackItsSoundSampleBySample) {
    const int frame = frame_samples(kind().sound);
    const int64_t whole = frame == 0 ? samples() : (samples() + frame - 1) / frame * frame;
    const Bytes expected = sound_.samples_until(samples(), 0, static_cast<int>(whole));
    EXPECT_TRUE(sound_of(path(), 0, kind().sound.form) == expected);
}

INSTANTIATE_TEST_SUITE_P(Kinds, FileOfExactSound, testing::ValuesIn(kinds_with({"pcm_s16le", "pcm_u8", "flac"})),
                         [](const auto& test) { return test_name(test.param.file); });

// ---- exact pixels ----

struct Lossless {
    std::string name, options, pixel_format;
};

void PrintTo(const Lossless& kind, std::ostream* out) {
    *out << kind.name;
}

class LosslessFile : public testing::TestWithParam<Lossless> {};

Bytes read_in_format(MediaHandle* handle, const PictureMaker& maker) {
    Bytes pixels(maker.size());
    imio_picture picture = record_of(pixels);
    picture.width = maker.width();
    picture.height = maker.height();
    return imio_read_frame(handle, &picture) > 1 || imio_video_pkt(handle, &picture, nullptr) > 1 ? pixels : Bytes();
}

TEST_P(LosslessFile, GivesBackEveryPixel) {
    const TempDir folder;
    const auto path = folder / "written";
    const PictureMaker maker(GetParam().pixel_format, 166, 98);
    write_pictures(Writer(path, GetParam().options + ",size=166x98,r=25"), maker, 5);
    const Media media = open_media(path);
    ASSERT_TRUE(media);
    qmio_set_dst_fmt(media.get(), maker.format());
    for (int number = 0; number < 5; ++number)
        EXPECT_TRUE(read_in_format(media.get(), maker) == maker.picture(number)) << number;
    EXPECT_TRUE(read_in_format(media.get(), maker).empty());
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, LosslessFile,
    testing::Values(Lossless{"ffv1_422", "fmt=matroska,vcodec=ffv1,pix_fmt=yuv422p", "AV_PIX_FMT_YUV422P"},
                    Lossless{"ffv1_bgra", "fmt=matroska,vcodec=ffv1,pix_fmt=bgra", "AV_PIX_FMT_BGRA"},
                    Lossless{"png_rgb24", "fmt=mov,vcodec=png,pix_fmt=rgb24", "AV_PIX_FMT_RGB24"},
                    Lossless{"rawvideo_bgr24", "fmt=avi,vcodec=rawvideo,pix_fmt=bgr24", "AV_PIX_FMT_BGR24"},
                    Lossless{"rawvideo_uyvy", "fmt=mov,vcodec=rawvideo,pix_fmt=uyvy422", "AV_PIX_FMT_UYVY422"}),
    [](const auto& test) { return test.param.name; });

// ---- sixteen tracks ----

class SixteenTracks : public testing::Test {
  protected:
    static SoundForm form_of_track(int track) {
        return {1 + track % 2, track % 3 == 0 ? 44100 : 48000, AV_SAMPLE_FMT_S16};
    }
    static int samples_of_track(int track) { return 4000 + 37 * track; }

    void SetUp() override {
        std::string options = "fmt=mov,vcodec=mpeg4,pix_fmt=yuv420p,size=64x48,r=25";
        for (int track = 0; track < 16; ++track) {
            const SoundForm form = form_of_track(track);
            options +=
                ",acodec=pcm_s16le,afmt=s16,ac=" + std::to_string(form.channels) + ",ar=" + std::to_string(form.rate);
        }
        // One more than there is room for: it does not count, nor does what is said of it.
        const Writer writer(path(), options + ",acodec=pcm_s16le,ac=7,ar=8000", QMIO_CREATE_INTERLEAVED);
        ASSERT_TRUE(writer.is_open());
        EXPECT_EQ(qmio_write_track(writer.handle(), 16, nullptr, 100), QMIO_TRACK_NO_TRACK);
        for (int track = 15; track >= 0; --track)
            EXPECT_GE(
                writer.write_sound(track, SoundMaker(form_of_track(track), track).samples(0, samples_of_track(track))),
                0);
        write_pictures(writer, PictureMaker("AV_PIX_FMT_YUV420P", 64, 48), 3);
    }

    std::filesystem::path path() const { return folder_ / "sixteen.mov"; }

  private:
    TempDir folder_;
};

TEST_F(SixteenTracks, AreFoundByFfprobe) {
    if (!Probe::is_there())
        GTEST_SKIP() << "there is no ffprobe program";
    const Probe probe(path());
    EXPECT_EQ(probe["format.nb_streams"], "17");
    EXPECT_EQ(probe.frames(0), 3);
    for (int track = 0; track < 16; ++track) {
        const std::string stream = "stream." + std::to_string(track + 1);
        EXPECT_EQ(probe[stream + ".channels"], std::to_string(form_of_track(track).channels));
        EXPECT_EQ(probe[stream + ".sample_rate"], std::to_string(form_of_track(track).rate));
        EXPECT_EQ(probe[stream + ".duration_ts"], std::to_string(samples_of_track(track)));
    }
}

TEST_F(SixteenTracks, GiveBackTheirOwnSound) {
    EXPECT_EQ(file_param(open_media(path()), "naudio"), 16);
    for (int track = 0; track < 16; ++track)
        EXPECT_TRUE(sound_of(path(), track, form_of_track(track)) ==
                    SoundMaker(form_of_track(track), track).samples(0, samples_of_track(track)))
            << track;
}

}  // namespace
}  // namespace qmio::test
