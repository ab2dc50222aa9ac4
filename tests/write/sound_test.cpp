// Writing sound: any number of samples at a time, to encoders that take any number and to those that take their own.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "support/made_pictures.h"
#include "support/media.h"
#include "support/plain_encoder.h"
#include "support/sound_host.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

constexpr SoundForm kStereo{2, 48000, AV_SAMPLE_FMT_S16};
constexpr SoundForm kMono{1, 48000, AV_SAMPLE_FMT_S16};
constexpr SoundForm kPlanes{2, 48000, AV_SAMPLE_FMT_S16P};

std::string track_options(const std::string& encoder, const SoundForm& form) {
    return ",acodec=" + encoder + ",ar=" + std::to_string(form.rate) + ",ac=" + std::to_string(form.channels) +
           ",afmt=" + std::to_string(code_of(form.format));
}

class Sound : public testing::Test {
  protected:
    Writer writer(const std::string& container, const std::string& encoder, const SoundForm& form) const {
        return Writer(path(), "fmt=" + container + track_options(encoder, form));
    }
    std::filesystem::path path() const { return folder_ / "made"; }
    Bytes read_back(const SoundForm& form) const { return sound_of(path(), 0, form); }

  private:
    TempDir folder_;
};

Bytes filled_up(Bytes sound, std::size_t frame_bytes, uint8_t silence = 0) {
    sound.resize((sound.size() + frame_bytes - 1) / frame_bytes * frame_bytes, silence);
    return sound;
}

Bytes operator+(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// ---- what the calls answer ----

TEST_F(Sound, WithoutTrackIsRefused) {
    const Bytes sound(400);
    const Writer two(
        path(), "fmt=mov" + track_options("pcm_s16le", kStereo) + track_options("aac", {2, 48000, AV_SAMPLE_FMT_FLTP}));
    ASSERT_TRUE(two.is_open());
    for (const int track : {2, 15, 16, 17, -1, 2147483647, -2147483647})
        EXPECT_EQ(qmio_write_track(two.handle(), track, sound.data(), 400), QMIO_TRACK_NO_TRACK) << track;
}

TEST_F(Sound, ForAReaderOrAFileWithoutSoundIsRefused) {
    const Bytes sound(400);
    const Media reader = open_media(media_path("two_audio_tracks.mp4"));
    EXPECT_EQ(qmio_write_track(reader.get(), 0, sound.data(), 400), QMIO_TRACK_NO_TRACK);
    const Writer silent(path(), "fmt=mov,vcodec=mjpeg,pix_fmt=yuvj420p,size=64x48");
    EXPECT_EQ(qmio_write_audio(silent.handle(), sound.data(), 400), QMIO_TRACK_NO_TRACK);
}

TEST_F(Sound, OfNoLengthOrFormIsRefusedByEncodersOfAnyNumber) {
    const Writer pcm = writer("mov", "pcm_s16le", kStereo);
    const Bytes sound(400);
    EXPECT_EQ(qmio_write_track(pcm.handle(), 0, nullptr, 400), QMIO_TRACK_NO_DATA);
    EXPECT_EQ(qmio_write_track(pcm.handle(), 0, nullptr, 0), QMIO_TRACK_NO_DATA);
    for (const int bytes : {0, 3, -1, -2147483647})
        EXPECT_EQ(qmio_write_track(pcm.handle(), 0, sound.data(), bytes), QMIO_TRACK_FILL_FAILED) << bytes;
    EXPECT_EQ(qmio_write_track(pcm.handle(), 0, sound.data(), 4), 4);
}

TEST_F(Sound, OfAFrameThatIsTooLargeIsRefused) {
    // 40,000 samples of two channels of four bytes are more than 192,000 bytes; 24,000 are just that.
    const SoundForm form{2, 48000, AV_SAMPLE_FMT_S32};
    const Bytes sound(8000);
    const Writer large(path(), "fmt=flac" + track_options("flac", form) + ",frame_size=40000");
    ASSERT_TRUE(large.is_open());
    EXPECT_EQ(large.write_sound(0, sound), QMIO_TRACK_NO_RING);
    const Writer largest(path(), "fmt=flac" + track_options("flac", form) + ",frame_size=24000");
    ASSERT_TRUE(largest.is_open());
    EXPECT_EQ(largest.write_sound(0, sound), 0);
    EXPECT_GT(largest.write_sound(0, Bytes(192000)), 0);
}

TEST_F(Sound, AfterCancelIsRefused) {
    const Writer pcm = writer("mov", "pcm_s16le", kStereo);
    EXPECT_EQ(qmio_cancel(pcm.handle()), 0);
    EXPECT_EQ(pcm.write_sound(0, Bytes(400)), QMIO_TRACK_NO_STREAM);
    EXPECT_EQ(qmio_write_audio(pcm.handle(), nullptr, 400), QMIO_TRACK_NO_STREAM);
}

TEST_F(Sound, ThatTheEncoderRefusesIsToldSo) {
    // 65,536 is more than a frame of this encoder can say.
    const Writer pcm(path(), "fmt=mpegts" + track_options("s302m", kStereo) + ",strict:a=experimental");
    ASSERT_TRUE(pcm.is_open());
    EXPECT_EQ(pcm.write_sound(0, Bytes(4 * 20000)), QMIO_TRACK_ENCODE_FAILED);
}

// ---- encoders of any number ----

TEST_F(Sound, OfAnyLengthIsTakenAsItComes) {
    const SoundMaker maker(kStereo);
    {
        const Writer pcm = writer("mov", "pcm_s16le", kStereo);
        int64_t at = 0;
        for (const int count : {1, 7, 1000, 1023, 48001, 100000}) {
            EXPECT_EQ(pcm.write_sound(0, maker.samples(at, count)), 4 * count);
            at += count;
        }
    }
    EXPECT_TRUE(read_back(kStereo) == maker.samples(0, 1 + 7 + 1000 + 1023 + 48001 + 100000));
}

TEST_F(Sound, OfHalfASampleAtTheEndLosesTheHalf) {
    const SoundMaker maker(kStereo);
    {
        const Writer pcm = writer("mov", "pcm_s16le", kStereo);
        for (int piece = 0; piece < 4; ++piece)
            EXPECT_GE(pcm.write_sound(0, maker.samples(piece * 100, 100) + Bytes(3, 0x77)), 0);
    }
    EXPECT_TRUE(read_back(kStereo) == maker.samples(0, 400));
}

// Two planes of an odd number of samples end on no multiple of a sample of both.
TEST_F(Sound, OfPlanesIsTakenInAnyNumber) {
    const SoundMaker maker(kPlanes);
    {
        const Writer pcm = writer("nut", "pcm_s16le_planar", kPlanes);
        ASSERT_TRUE(pcm.is_open());
        EXPECT_EQ(pcm.write_sound(0, maker.samples(0, 500)), 2000);
        EXPECT_EQ(pcm.write_sound(0, maker.samples(500, 501)), 2004);
    }
    EXPECT_TRUE(read_back(kStereo) == SoundMaker(kStereo).samples(0, 1001));
}

TEST_F(Sound, CallIsAnotherNameForTrackZero) {
    const Bytes sound = SoundMaker(kStereo).samples(0, 777);
    {
        const Writer pcm(path(), "fmt=mov" + track_options("pcm_s16le", kStereo) + track_options("pcm_s16le", kMono));
        EXPECT_EQ(qmio_write_audio(pcm.handle(), sound.data(), static_cast<int>(sound.size())), 4 * 777);
    }
    EXPECT_TRUE(read_back(kStereo) == sound);
}

// The encoder's own option for its layout overrules the channels of the track or stands in for them: a call takes what
// the encoder takes, and reads nothing behind it.
TEST_F(Sound, IsTakenInTheChannelsThatTheEncoderOpenedWith) {
    for (const std::string layout : {"ch_layout=stereo", "channel_layout=stereo", "ch_layout=stereo,ac=1", "ac=2"}) {
        const Writer aac(path(), "fmt=matroska,acodec=aac,ar=48000,afmt=fltp," + layout);
        ASSERT_TRUE(aac.is_open()) << layout;
        const auto exact = std::make_unique<uint8_t[]>(8 * 4096);
        EXPECT_GE(qmio_write_track(aac.handle(), 0, exact.get(), 8 * 4096), 0) << layout;
        EXPECT_EQ(qmio_get_stream_param(aac.handle(), "channels", 0), 2) << layout;
    }
    const Writer surround(path(), "fmt=matroska,acodec=flac,ar=48000,afmt=s16,ch_layout=5.1");
    EXPECT_EQ(surround.write_sound(0, Bytes(12 * 4096)), 0);
    // This one is not opened without channels.
    const Writer planes(path(), "fmt=matroska,acodec=wavpack,ar=48000,afmt=s16p,ch_layout=stereo");
    EXPECT_EQ(planes.write_sound(0, Bytes(4 * 4096)), 0);
    EXPECT_FALSE(Writer(path(), "fmt=matroska,acodec=aac,ar=48000,afmt=fltp,ch_layout=nonesuch").is_open());
    EXPECT_FALSE(Writer(path(), "fmt=matroska,acodec=aac,ac=2147483647,ar=48000,afmt=fltp").is_open());
}

// ---- encoders of fixed frames ----

// A frame longer than half the usual ring gets a ring with room beside it: calls of any usual length are kept whole.
TEST_F(Sound, IsKeptWholeByEncodersWhoseFramesNearlyFillTheRing) {
    const SoundMaker maker(kMono);
    for (const auto& [encoder, frame] : {std::pair("wavpack", 48000), std::pair("tta", 50155)})
        for (const int count : {1601, 1920, 48000}) {
            const SoundForm form{1, 48000, frame == 48000 ? AV_SAMPLE_FMT_S16P : AV_SAMPLE_FMT_S16};
            int64_t at = 0;
            {
                const Writer writer(path(), "fmt=matroska" + track_options(encoder, form));
                for (; at < 130000; at += count)
                    ASSERT_GE(writer.write_sound(0, maker.samples(at, count)), 0) << encoder << " " << count;
            }
            const auto frames = static_cast<std::size_t>((at + frame - 1) / frame);
            EXPECT_TRUE(read_back(kMono) ==
                        maker.samples_until(at, 0, static_cast<int>(frames * static_cast<std::size_t>(frame))))
                << encoder << " " << count;
        }
}

// Less than a frame always waits in the ring, so a ring's worth at a time would be too much.
TEST_F(Sound, OfTheLengthThatIsAlwaysRightIsWrittenWhole) {
    const SoundMaker maker(kMono);
    {
        const Writer flac = writer("flac", "flac", kMono);
        ASSERT_TRUE(flac.is_open());
        for (int call = 0; call < 4; ++call)
            EXPECT_GE(flac.write_sound(0, maker.samples(32768 * call, 32768)), 0);
    }
    Bytes sound = read_back(kMono);
    const Bytes expected = maker.samples(0, 4 * 32768);
    ASSERT_GE(sound.size(), expected.size());
    sound.resize(expected.size());
    EXPECT_TRUE(sound == expected);
}

constexpr int kFlacFrame = 4608;

TEST_F(Sound, ShorterThanAFrameWaitsForTheNextCall) {
    const SoundMaker maker(kStereo);
    {
        const Writer flac = writer("flac", "flac", kStereo);
        EXPECT_EQ(flac.write_sound(0, maker.samples(0, kFlacFrame - 1)), 0);
        EXPECT_EQ(flac.write_sound(0, {}), 0);
        EXPECT_EQ(flac.write_sound(0, Bytes(3)), 0);
        EXPECT_GT(flac.write_sound(0, maker.samples(kFlacFrame - 1, 1)), 0);
        EXPECT_EQ(flac.write_sound(0, maker.samples(kFlacFrame, kFlacFrame - 1)), 0);
        EXPECT_GT(flac.write_sound(0, maker.samples(2 * kFlacFrame - 1, 2)), 0);
    }
    EXPECT_TRUE(read_back(kStereo) == filled_up(maker.samples(0, 2 * kFlacFrame + 1), kFlacFrame * 4));
}

// The last frame is filled up with silence, whatever is left over: never a frame too many, never one too few.
TEST_F(Sound, EndsWithOneFrameFilledUpWithSilence) {
    for (const SoundForm& form : {kMono, kStereo, SoundForm{6, 48000, AV_SAMPLE_FMT_S16}})
        for (const int rest : {0, 1, 2, 3, 1000, kFlacFrame / 2, kFlacFrame - 1}) {
            const SoundMaker maker(form);
            {
                const Writer flac = writer("flac", "flac", form);
                ASSERT_GE(flac.write_sound(0, maker.samples(0, kFlacFrame + rest)), 0);
            }
            const std::size_t frame = static_cast<std::size_t>(kFlacFrame * maker.block());
            EXPECT_TRUE(read_back(form) == filled_up(maker.samples(0, kFlacFrame + rest), frame))
                << form.channels << " channels, " << rest;
        }
}

TEST_F(Sound, WithoutDataIsSilence) {
    const SoundMaker maker(kStereo);
    {
        const Writer flac = writer("flac", "flac", kStereo);
        EXPECT_EQ(flac.write_sound(0, maker.samples(0, 100)), 0);
        EXPECT_GT(qmio_write_track(flac.handle(), 0, nullptr, kFlacFrame * 4), 0);
    }
    EXPECT_TRUE(read_back(kStereo) == filled_up(maker.samples(0, 100), 2 * kFlacFrame * 4));
}

TEST_F(Sound, WithoutDataIsTheMiddleInUnsignedBytes) {
    const SoundForm bytes{1, 44100, AV_SAMPLE_FMT_U8};
    const int frame = frame_samples({"tta", bytes});
    ASSERT_GT(frame, 0);
    {
        const Writer tta = writer("tta", "tta", bytes);
        ASSERT_TRUE(tta.is_open());
        EXPECT_EQ(tta.write_sound(0, Bytes(10, 200)), 0);
        EXPECT_GT(qmio_write_track(tta.handle(), 0, nullptr, frame), 0);
    }
    EXPECT_TRUE(read_back(bytes) == filled_up(Bytes(10, 200), static_cast<std::size_t>(2 * frame), 128));
}

TEST_F(Sound, OfPlanesGoesThroughTheRingChannelByChannel) {
    const SoundMaker maker(kPlanes);
    const int frame = frame_samples({"alac", kPlanes});
    {
        const Writer alac = writer("mov", "alac", kPlanes);
        ASSERT_TRUE(alac.is_open());
        int64_t at = 0;
        for (const int count : {1, frame, 3, 2 * frame + 5, 10}) {
            EXPECT_GE(alac.write_sound(0, maker.samples(at, count)), 0);
            at += count;
        }
    }
    EXPECT_TRUE(read_back(kStereo) == SoundMaker(kStereo).samples_until(3 * frame + 19, 0, 4 * frame));
}

// More than the ring holds: deliberately not what comes next in the data, but what lies as many bytes behind its
// beginning as samples fitted.
TEST_F(Sound, BeyondTheRingGoesOnFromTheWrongPlace) {
    const SoundMaker maker(kMono);
    {
        const Writer flac = writer("flac", "flac", kMono);
        EXPECT_GT(flac.write_sound(0, maker.samples(0, 60000)), 0);
    }
    EXPECT_TRUE(read_back(kMono) == filled_up(maker.samples(0, 48000) + maker.samples(24000, 12000), kFlacFrame * 2));
}

TEST_F(Sound, OfPlanesBeyondTheRingGoesOnFromTheWrongPlace) {
    const SoundMaker maker(kPlanes);
    const Bytes sound = maker.samples(0, 60000);
    {
        const Writer alac = writer("mov", "alac", kPlanes);
        EXPECT_GT(alac.write_sound(0, sound), 0);
    }
    // Two planes of the 12,000 samples that did not fit, 48,000 bytes behind the beginning.
    const uint8_t* const planes[] = {sound.data() + 48000, sound.data() + 72000};
    Bytes expected = SoundMaker(kStereo).samples(0, 48000) + interleaved(block_of(planes, kPlanes, 12000));
    // Filled up by the deliberate formula (below) that leaves 2,656 samples over here.
    expected.resize(14 * 4096 * 4);
    EXPECT_TRUE(read_back(kStereo) == expected);
}

// The formula counts what is ready in samples and frames in values of all channels: with a frame or more waiting, only
// whole frames come out of it, and with an odd number of them what is left over is lost.
TEST_F(Sound, LeftInTheRingByALongCallIsFilledUpByTheFormula) {
    for (const int channels : {1, 2, 3}) {
        const SoundForm form{channels, 48000, AV_SAMPLE_FMT_S16};
        for (const int more : {1000, 7000, 12000, 20000}) {
            {
                const Writer flac = writer("flac", "flac", form);
                ASSERT_GT(flac.write_sound(0, SoundMaker(form).samples(0, 48000 + more)), 0);
            }
            const int ready = 48000 % kFlacFrame + more;
            const int values = kFlacFrame * channels;
            const int padding = (values - ready % values) / channels;
            const int frames = 48000 / kFlacFrame + (ready + padding) / kFlacFrame;
            const Bytes sound = read_back(form);
            EXPECT_EQ(sound.size(), static_cast<std::size_t>(frames * kFlacFrame * 2 * channels))
                << channels << " channels, " << more << " more";
        }
    }
}

TEST_F(Sound, ExactlyAsMuchAsTheRingHoldsIsKeptWhole) {
    const SoundMaker maker(kStereo);
    {
        const Writer flac = writer("flac", "flac", kStereo);
        // What waits in the ring takes room, too: the second call brings a little less.
        EXPECT_GT(flac.write_sound(0, maker.samples(0, 48000)), 0);
        EXPECT_GT(flac.write_sound(0, maker.samples(48000, 48000 - 48000 % kFlacFrame)), 0);
    }
    EXPECT_TRUE(read_back(kStereo) == filled_up(maker.samples(0, 96000 - 48000 % kFlacFrame), kFlacFrame * 4));
}

// ---- what reaches the encoders ----

TEST_F(Sound, PrivateOptionsOfItsEncodersAreNotSearched) {
    const SoundForm form{2, 48000, AV_SAMPLE_FMT_FLTP};
    const auto file_with = [&](const std::string& option) {
        const Writer aac(path(), "fmt=adts" + track_options("aac", form) + option);
        EXPECT_TRUE(aac.is_open());
        for (int piece = 0; piece < 20; ++piece)
            aac.write_sound(0, SoundMaker(form).samples(piece * 1024, 1024));
        qmio_flush(aac.handle());
        return read_bytes(path());
    };
    const Bytes plain = file_with("");
    EXPECT_GT(plain.size(), 1000U);
    EXPECT_EQ(file_with(",aac_coder=fast"), plain);
    EXPECT_EQ(file_with(",aac_coder:a=fast"), plain);
    EXPECT_EQ(file_with(",b:v=32k"), plain);
    EXPECT_NE(file_with(",cutoff=4000"), plain);
    EXPECT_NE(file_with(",cutoff:a=4000"), plain);
    EXPECT_NE(file_with(",b:a=32k"), plain);
    EXPECT_NE(file_with(",ab=32k"), plain);
    EXPECT_EQ(file_with(",ab=32k,b:a=256k"), file_with(",b:a=256k"));
    EXPECT_EQ(file_with(",ab=0,b:a=256k"), file_with(",b:a=256k"));
}

TEST_F(Sound, TagOfATrackEndsAsNone) {
    const auto file_with = [&](const std::string& option) {
        {
            const Writer pcm(path(), "fmt=avi" + track_options("pcm_s16le", kStereo) + option);
            EXPECT_TRUE(pcm.is_open());
            pcm.write_sound(0, SoundMaker(kStereo).samples(0, 480));
        }
        return read_bytes(path());
    };
    EXPECT_EQ(file_with(",atag=abcd"), file_with(""));
}

TEST_F(Sound, EveryTrackKeepsItsOwnRateAndChannels) {
    {
        const Writer two(path(), "fmt=mov" + track_options("pcm_s16le", kStereo) +
                                     track_options("pcm_s16le", {1, 44100, AV_SAMPLE_FMT_S16}));
        ASSERT_TRUE(two.is_open());
    }
    const Writer two(path(), "fmt=mov" + track_options("aac", {2, 48000, AV_SAMPLE_FMT_FLTP}) +
                                 track_options("mp2", {1, 44100, AV_SAMPLE_FMT_S16}));
    ASSERT_TRUE(two.is_open());
    EXPECT_EQ(qmio_get_stream_param(two.handle(), "sample_rate", 0), 48000);
    EXPECT_EQ(qmio_get_stream_param(two.handle(), "sample_rate", 1), 44100);
    EXPECT_EQ(qmio_track_chans(two.handle(), 0), 2);
    EXPECT_EQ(qmio_track_chans(two.handle(), 1), 1);
}

// ---- sound of another form ----

TEST_F(Sound, OfAnotherFormIsConvertedForItsTrack) {
    const SoundForm target{2, 48000, AV_SAMPLE_FMT_FLTP};
    const SoundMaker maker(kStereo);
    const Bytes source = maker.samples(0, 1024);
    const Writer aac = writer("adts", "aac", target);
    ASSERT_TRUE(aac.is_open());
    ASSERT_EQ(qmio_set_dst_audio(aac.handle(), 2, 48000, 16), 1);
    Bytes converted(source.size() * 2 + 8192);
    const int bytes =
        qmio_resample_track(aac.handle(), 0, converted.data(), source.data(), static_cast<int>(source.size()));
    ASSERT_EQ(bytes, 1024 * 8);
    converted.resize(static_cast<std::size_t>(bytes));
    const uint8_t* const packed[] = {source.data()};
    EXPECT_TRUE(converted == plane_by_plane(PlainResampler(kStereo, target).convert(packed, 1024, 48000)));
    EXPECT_GT(aac.write_sound(0, converted), 0);
    EXPECT_EQ(qmio_resample_track(aac.handle(), 1, converted.data(), source.data(), 4), 0);
}

}  // namespace
}  // namespace qmio::test
