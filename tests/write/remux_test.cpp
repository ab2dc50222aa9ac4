// Making a file out of open sources and copying packets into it, call by call.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "support/made_pictures.h"
#include "support/media.h"
#include "support/plain_file.h"
#include "support/remuxing.h"
#include "support/sound_host.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

const Media kNothing;

struct PacketTimes {
    int64_t pts = 0, dts = 0;
    bool operator==(const PacketTimes&) const = default;
};

class Remux : public testing::Test {
  protected:
    // The first packet that qmio_get_frame tells to be of this kind, held by the source.
    void hold(int kind) const {
        int read = QMIO_PACKET_OTHER;
        while (read >= 0 && read != kind) {
            qmio_release_frame(source_.get());
            read = qmio_get_frame(source_.get());
        }
        ASSERT_EQ(read, kind);
    }

    int copy() const { return qmio_copy_frame(mux_.get(), source_.get()); }

    void make(const std::string& options, const Media& sound) {
        mux_ = mux(path_, options, source_, sound);
        ASSERT_TRUE(mux_);
    }

    std::size_t packets(int stream) {
        mux_.reset();
        return packets_of(path_, stream).size();
    }

    TempDir folder_;
    std::filesystem::path path_ = folder_ / "copy";
    Media source_ = open_media(media_path("small_h264_aac.mp4"));
    Media mux_;
};

TEST_F(Remux, TellsWhatKindOfPacketWasWritten) {
    make("fmt=matroska", source_);
    hold(QMIO_PACKET_VIDEO);
    EXPECT_EQ(copy(), QMIO_PACKET_VIDEO);
    hold(QMIO_PACKET_AUDIO);
    EXPECT_EQ(copy(), QMIO_PACKET_AUDIO);
    EXPECT_EQ(packets(0), 1U);
    EXPECT_EQ(packets_of(path_, 1).size(), 1U);
}

TEST_F(Remux, CopiesEveryPacketWithItsBytes) {
    make("fmt=mp4", source_);
    const Copied copied = copy_packets(mux_, source_);
    mux_.reset();
    for (int stream = 0; stream < 2; ++stream) {
        const auto expected = packets_of(media_path("small_h264_aac.mp4"), stream);
        const auto found = packets_of(path_, stream);
        EXPECT_EQ(stream == 0 ? copied.video : copied.sound, static_cast<int>(expected.size()));
        ASSERT_EQ(found.size(), expected.size());
        for (std::size_t place = 0; place < found.size(); ++place) {
            EXPECT_EQ(found[place]->pts, expected[place]->pts);
            EXPECT_EQ(found[place]->dts, expected[place]->dts);
            EXPECT_EQ(found[place]->flags & AV_PKT_FLAG_KEY, expected[place]->flags & AV_PKT_FLAG_KEY);
            EXPECT_TRUE(std::equal(found[place]->data, found[place]->data + found[place]->size, expected[place]->data,
                                   expected[place]->data + expected[place]->size));
        }
    }
}

TEST_F(Remux, LeavesTheSourcesPacketAsItIs) {
    make("fmt=mpegts", source_);
    hold(QMIO_PACKET_VIDEO);
    pkt_time_info before, after;
    Record packet(qmio_pkt_alloc());
    qmio_pkt_dup(source_.get(), packet.get());
    const int size = qmio_pkt_time(source_.get(), packet.get(), &before);
    EXPECT_EQ(copy(), QMIO_PACKET_VIDEO);
    EXPECT_EQ(copy(), QMIO_PACKET_VIDEO) << "twice, if the host wants so";
    qmio_pkt_get(source_.get(), packet.get());
    EXPECT_EQ(qmio_pkt_time(source_.get(), packet.get(), &after), size);
    EXPECT_EQ(after.pts, before.pts);
    EXPECT_EQ(after.dts, before.dts);
    Bytes pixels = picture_buffer(source_);
    EXPECT_GE(qmio_video_frame(source_.get(), pixels.data()), 0) << "and it can still be decoded";
}

TEST_F(Remux, CopiesNothingWhereNoPacketIsHeld) {
    make("fmt=matroska", source_);
    EXPECT_EQ(copy(), QMIO_PACKET_OTHER) << "before the first";
    hold(QMIO_PACKET_VIDEO);
    qmio_release_frame(source_.get());
    EXPECT_EQ(copy(), QMIO_PACKET_OTHER) << "released";
    EXPECT_EQ(qmio_copy_frame(mux_.get(), nullptr), -1);
    EXPECT_EQ(qmio_copy_frame(mux_.get(), mux_.get()), QMIO_PACKET_OTHER) << "a file that is written has none";
    hold(QMIO_PACKET_VIDEO);
    Record packet(qmio_pkt_alloc());
    qmio_pkt_get(source_.get(), packet.get());
    EXPECT_EQ(qmio_pkt_put(mux_.get(), packet.get()), 1);
    EXPECT_EQ(qmio_copy_frame(mux_.get(), mux_.get()), QMIO_PACKET_OTHER) << "whatever is laid into it";
    EXPECT_EQ(packets(0), 0U);
}

TEST_F(Remux, CopiesNothingIntoWhatIsNoCopy) {
    hold(QMIO_PACKET_VIDEO);
    const Media writer(qmio_create_a(utf8(path_).c_str(), "fmt=avi,vcodec=mjpeg,pix_fmt=yuvj420p,size=64x48"));
    ASSERT_TRUE(writer);
    EXPECT_EQ(qmio_copy_frame(writer.get(), source_.get()), QMIO_PACKET_OTHER);
    EXPECT_EQ(qmio_copy_frame(source_.get(), source_.get()), QMIO_PACKET_OTHER);
}

TEST_F(Remux, WithoutASoundSourceHasNoStreamForSound) {
    make("fmt=matroska", kNothing);
    hold(QMIO_PACKET_AUDIO);
    EXPECT_EQ(copy(), QMIO_PACKET_OTHER);
    hold(QMIO_PACKET_VIDEO);
    EXPECT_EQ(copy(), QMIO_PACKET_VIDEO);
    EXPECT_EQ(file_param(mux_, "naudio"), 0);
    source_ = open_media(media_path("small_h264_aac.mp4"));
    hold(QMIO_PACKET_AUDIO);
    EXPECT_EQ(copy(), QMIO_PACKET_OTHER) << "of a file that comes later";
}

TEST_F(Remux, OfASoundSourceWithoutDecodableSoundHasVideoOnly) {
    const Media silent = open_media(media_path("plain.mp4"));
    make("fmt=mp4", silent);
    EXPECT_EQ(copy_packets(mux_, source_).sound, 0);
    mux_.reset();
    EXPECT_EQ(file_param(open_media(path_), "naudio"), 0);
    EXPECT_EQ(file_param(open_media(path_), "nvideo"), 1);
}

TEST_F(Remux, TakesVideoFromOneFileAndSoundFromAnother) {
    const Media sound = open_media(media_path("two_audio_tracks.mp4"));
    make("fmt=mov", sound);
    const Copied pictures = copy_packets(mux_, source_);
    const Copied samples = copy_packets(mux_, sound);
    EXPECT_GT(pictures.video, 0);
    EXPECT_EQ(pictures.sound, 0) << "the sound beside the pictures is not the one that is wanted";
    EXPECT_EQ(samples.video, 0);
    EXPECT_EQ(samples.sound, static_cast<int>(packets_of(media_path("two_audio_tracks.mp4"), 1).size()))
        << "of track 0 alone";
    EXPECT_EQ(packets(0), static_cast<std::size_t>(pictures.video));
}

TEST_F(Remux, PutsThePacketsOfBothStreamsInOrder) {
    const Media sound = open_media(media_path("small_h264_aac.mp4"));
    make("fmt=mpegts", sound);
    copy_packets(mux_, source_);
    copy_packets(mux_, sound);
    mux_.reset();
    const Container container = open_plainly(path_);
    const Packet packet(av_packet_alloc());
    double last = -1;
    std::set<int> streams;
    while (av_read_frame(container.get(), packet.get()) >= 0) {
        const double seconds =
            static_cast<double>(packet->dts) * av_q2d(container->streams[packet->stream_index]->time_base);
        EXPECT_GE(seconds, last - 0.5) << "of stream " << packet->stream_index;
        last = std::max(last, seconds);
        streams.insert(packet->stream_index);
        av_packet_unref(packet.get());
    }
    EXPECT_EQ(streams.size(), 2U);
}

TEST_F(Remux, LetsFilesFollowOneAnother) {
    make("fmt=mp4", source_);
    const Copied first = copy_packets(mux_, source_);
    source_ = open_media(media_path("small_h264_aac.mp4"));
    const Copied second = copy_packets(mux_, source_);
    EXPECT_EQ(second.video, first.video);
    EXPECT_EQ(second.sound, first.sound);
    mux_.reset();
    const auto all = packets_of(path_, 0);
    ASSERT_EQ(all.size(), 2 * static_cast<std::size_t>(first.video));
    const int64_t period = all[1]->dts - all[0]->dts;
    for (std::size_t place = 1; place < all.size(); ++place) {
        // The sound of the first file is longer than its pictures, and those of the second stay beside theirs.
        const bool is_seam = place == all.size() / 2;
        EXPECT_GE(all[place]->dts - all[place - 1]->dts, period) << place;
        EXPECT_LE(all[place]->dts - all[place - 1]->dts, is_seam ? 5 * period : period) << place;
    }
    Player player(path_);
    EXPECT_EQ(player.read_rest(1000).size(), all.size());
}

TEST_F(Remux, EncodesTheSoundThatTheOptionsAskForWithoutASoundSource) {
    make("fmt=mov,acodec=pcm_s16le,ar=48000,ac=1,afmt=s16,acodec=none", kNothing);
    const SoundMaker maker({1, 48000, AV_SAMPLE_FMT_S16});
    EXPECT_EQ(file_param(mux_, "naudio"), 2) << "as many as the options name";
    EXPECT_GE(qmio_write_audio(mux_.get(), maker.samples(0, 9600).data(), 19200), 0);
    EXPECT_LT(qmio_write_track(mux_.get(), 1, nullptr, 100), 0);
    const Copied copied = copy_packets(mux_, source_);
    EXPECT_GT(copied.video, 0);
    EXPECT_EQ(copied.sound, 0);
    mux_.reset();
    EXPECT_TRUE(sound_of(path_, 0, maker.form()) == maker.samples(0, 9600));
}

TEST_F(Remux, DoesNotTakeSamplesForSoundThatItCopies) {
    make("fmt=matroska,acodec=pcm_s16le,ar=48000,ac=1", source_);
    EXPECT_EQ(file_param(mux_, "naudio"), 1) << "the options count without a source of sound only";
    EXPECT_EQ(qmio_write_audio(mux_.get(), nullptr, 100), QMIO_TRACK_NO_ENCODER);
    Bytes pixels(1 << 20);
    EXPECT_EQ(qmio_write_frame(mux_.get(), pixels.data()), 0) << "nor pictures";
}

TEST_F(Remux, CutsTheNameAtABar) {
    Media copy = mux(folder_ / "film.mkv|extra", "fmt=matroska", source_, source_);
    EXPECT_TRUE(copy);
    copy = Media(qmio_mux_a(utf8(folder_ / "other.mkv|extra").c_str(), "fmt=matroska", source_.get(), nullptr));
    EXPECT_TRUE(copy);
    EXPECT_TRUE(std::filesystem::exists(folder_ / "film.mkv"));
    EXPECT_TRUE(std::filesystem::exists(folder_ / "other.mkv"));
}

TEST_F(Remux, IsRefusedWithoutWhatItNeeds) {
    const Media sound = open_media(media_path("tone.wav"));
    EXPECT_FALSE(mux(path_, "fmt=matroska", kNothing, source_)) << "no source of video";
    EXPECT_FALSE(mux(path_, "fmt=matroska", sound, sound)) << "a source without video";
    EXPECT_FALSE(mux(path_, "", source_, source_)) << "no container";
    EXPECT_FALSE(Media(qmio_mux_a(utf8(path_).c_str(), nullptr, source_.get(), nullptr))) << "no options";
    EXPECT_FALSE(mux(path_, "fmt=nonsense", source_, source_)) << "no such container";
    EXPECT_FALSE(mux(folder_ / "missing" / "copy", "fmt=matroska", source_, source_)) << "no such folder";
    EXPECT_FALSE(mux(path_, "fmt=wav", source_, kNothing)) << "a container without video";
    EXPECT_FALSE(Media(qmio_mux_a("mem:1000", "fmt=matroska", source_.get(), nullptr))) << "memory";
    EXPECT_FALSE(Media(qmio_mux_w(L"mem:1000", L"fmt=matroska", source_.get(), nullptr)));
    EXPECT_FALSE(Media(qmio_mux_a(std::string(1024, 'n').c_str(), "fmt=matroska", source_.get(), nullptr)));
    qmio_cancel(source_.get());
    EXPECT_FALSE(mux(path_, "fmt=matroska", source_, source_)) << "a source that was cancelled";
}

TEST_F(Remux, LeavesNothingOpenWhereItIsRefused) {
    const auto before = open_descriptors();
    if (!before)
        GTEST_SKIP() << "this system does not tell the open descriptors";
    EXPECT_FALSE(mux(path_, "fmt=wav", source_, kNothing));
    EXPECT_FALSE(mux(path_, "fmt=mov,acodec=aac,ar=7", source_, kNothing));
    { const Media copy = mux(path_, "fmt=mov", source_, source_); }
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(Remux, OutlivesItsSources) {
    make("fmt=matroska", source_);
    hold(QMIO_PACKET_VIDEO);
    EXPECT_EQ(copy(), QMIO_PACKET_VIDEO);
    source_.reset();
    EXPECT_EQ(packets(0), 1U);
}

TEST_F(Remux, TellsWhatTheStreamsHold) {
    make("fmt=mov", source_);
    EXPECT_EQ(file_param(mux_, "nvideo"), 1);
    EXPECT_EQ(file_param(mux_, "video"), 0);
    EXPECT_EQ(file_param(mux_, "audio"), 1);
    EXPECT_EQ(file_param(mux_, "width"), file_param(source_, "width"));
    EXPECT_EQ(file_param(mux_, "sample_rate"), file_param(source_, "sample_rate"));
    EXPECT_EQ(file_param(mux_, "channels"), file_param(source_, "channels"));
}

// What hosts do that make packets of their own: times in the time base of the codec, which counts fields here.
TEST_F(Remux, TakesPacketsThatArePut) {
    make("fmt=mp4", kNothing);
    hold(QMIO_PACKET_VIDEO);
    Record packet(qmio_pkt_alloc());
    ASSERT_TRUE(qmio_pkt_dup(source_.get(), packet.get()));
    EXPECT_EQ(qmio_put_frame(mux_.get(), packet.get()), 0);
    EXPECT_EQ(packets(0), 1U);
}

// ---- times that a source lacks, or that go back ----

class RemuxedTimes : public Remux, public testing::WithParamInterface<std::string> {
  protected:
    // Copies all pictures with the times that `change` makes of theirs.
    template <typename Change>
    void copy_with(Change change) {
        make("fmt=" + GetParam(), kNothing);
        for (int number = 0; qmio_get_frame(source_.get()) >= 0; qmio_release_frame(source_.get())) {
            qmio_time_param times{};
            qmio_get_time_param(source_.get(), "packet", &times);
            change(number, times);
            qmio_set_time_param(source_.get(), "packet", &times);
            const int result = copy();
            ASSERT_GE(result, 0) << "packet " << number;
            number += result == QMIO_PACKET_VIDEO ? 1 : 0;
            count_ = number;
        }
    }

    // All of them came through, each with a time of its own; in the order of decoding where the container tells it.
    void expect_rising() {
        mux_.reset();
        const auto found = packets_of(path_, 0);
        ASSERT_EQ(found.size(), static_cast<std::size_t>(count_));
        std::set<int64_t> shown;
        for (std::size_t place = 0; place < found.size(); ++place) {
            shown.insert(found[place]->pts);
            EXPECT_GE(found[place]->pts, found[place]->dts) << place;
            if (place > 0 && (GetParam() == "mp4" || GetParam() == "mpegts")) {
                EXPECT_GT(found[place]->dts, found[place - 1]->dts) << place;
            }
        }
        EXPECT_EQ(shown.size(), found.size());
    }

    int count_ = 0;
};

TEST_P(RemuxedTimes, WithoutDtsRise) {
    copy_with([](int, qmio_time_param& times) { times.dts = AV_NOPTS_VALUE; });
    expect_rising();
}

TEST_P(RemuxedTimes, WithoutAnyRise) {
    copy_with([](int, qmio_time_param& times) { times.pts = times.dts = AV_NOPTS_VALUE; });
    expect_rising();
}

TEST_P(RemuxedTimes, WithoutPtsRise) {
    copy_with([](int, qmio_time_param& times) { times.pts = AV_NOPTS_VALUE; });
    expect_rising();
}

TEST_P(RemuxedTimes, ThatGoBackNowAndThenRise) {
    copy_with([](int number, qmio_time_param& times) { times.dts -= number % 5 == 4 ? 3 * times.duration : 0; });
    expect_rising();
}

TEST_P(RemuxedTimes, ThatStandStillRise) {
    copy_with([](int number, qmio_time_param& times) { times.dts -= number % 3 == 2 ? times.duration : 0; });
    expect_rising();
}

TEST_P(RemuxedTimes, ThatBeginAnewRise) {
    copy_with([](int number, qmio_time_param& times) {
        times.dts -= number < 10 ? 0 : 200 * times.duration;
        times.pts -= number < 10 ? 0 : 200 * times.duration;
    });
    expect_rising();
}

INSTANTIATE_TEST_SUITE_P(Containers, RemuxedTimes, testing::Values("mp4", "matroska", "mpegts", "nut"),
                         [](const auto& test) { return test.param; });

}  // namespace
}  // namespace qmio::test
