// Every way in which making a file fails, and what the host is told of it; and the same for writing into it.
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>

#include "ffmpeg/ffmpeg.h"
#include "support/made_pictures.h"
#include "support/media.h"
#include "support/temp_dir.h"
#include "support/why.h"

namespace qmio::test {
namespace {

const std::string kVideo = "vcodec=mpeg4,pix_fmt=yuv420p,size=64x48";
const std::string kSound = "acodec=pcm_s16le,ar=48000,ac=2,afmt=s16";

struct Place {
    TempDir folder;
    std::string file = utf8(folder / "made.mov");
    Media source = open_media(media_path("small_h264_aac.mp4"));
    Media sound = open_media(media_path("tone.wav"));

    MediaHandle* create(const std::string& options) const { return qmio_create_u8(file.c_str(), options.c_str(), 0); }
    MediaHandle* mux(const std::string& options) const {
        return qmio_mux_u8(file.c_str(), options.c_str(), source.get(), source.get());
    }
};

struct Failure {
    const char* name;
    std::function<MediaHandle*(const Place& place)> make;
    int code;          // 0: any
    const char* step;  // is in the text
};

void PrintTo(const Failure& failure, std::ostream* out) {
    *out << failure.name;
}

class FailedMaking : public testing::TestWithParam<Failure> {};

TEST_P(FailedMaking, TellsWhy) {
    const Place place;
    why();
    ASSERT_EQ(GetParam().make(place), nullptr);
    const Why told = why();
    EXPECT_LT(told.code, 0);
    EXPECT_NE(told.code, AVERROR_BUG) << told;
    EXPECT_NE(told.code, AVERROR_UNKNOWN) << told;
    EXPECT_EQ(told.code, GetParam().code != 0 ? GetParam().code : told.code) << told;
    EXPECT_TRUE(told.text.starts_with("cannot make")) << told;
    EXPECT_TRUE(told.holds(GetParam().step)) << told;
}

const Failure kFailures[] = {
    {"NullName", [](const Place&) { return qmio_create_a(nullptr, "fmt=mov"); }, AVERROR(EINVAL), "there is no name"},
    {"NullWideName", [](const Place&) { return qmio_create_w(nullptr, L"fmt=mov"); }, AVERROR(EINVAL), "no name"},
    {"LongName", [](const Place&) { return qmio_create_u8(std::string(1024, 'a').c_str(), "fmt=mov", 0); },
     AVERROR(ENAMETOOLONG), "the name is longer"},
    {"NoContainer", [](const Place& place) { return place.create(kVideo); }, AVERROR_MUXER_NOT_FOUND,
     "made.mov: there is no option fmt"},
    {"UnknownContainer", [](const Place& place) { return place.create("fmt=nonsense," + kVideo); },
     AVERROR_MUXER_NOT_FOUND, "option fmt: no container is called nonsense"},
    {"TwoContainers", [](const Place& place) { return place.create("fmt=mov,fmt=nonsense," + kVideo); },
     AVERROR_MUXER_NOT_FOUND, "option fmt: no container is called nonsense"},
    {"ContainerOfManyFiles", [](const Place& place) { return place.create("fmt=hls," + kVideo); }, AVERROR(ENOSYS),
     "option fmt: container hls cannot be completed here"},
    {"UnknownVideoEncoder", [](const Place& place) { return place.create("fmt=mov,vcodec=nonsense"); },
     AVERROR_ENCODER_NOT_FOUND, "option vcodec: no encoder is called nonsense"},
    {"UnknownSoundEncoder", [](const Place& place) { return place.create("fmt=wav,acodec=nonsense"); },
     AVERROR_ENCODER_NOT_FOUND, "option acodec: no encoder is called nonsense"},
    {"UnknownPixelFormat",
     [](const Place& place) { return place.create("fmt=mov,vcodec=mpeg4,pix_fmt=nonsense,size=64x48"); },
     AVERROR(EINVAL), "option pix_fmt: no pixel format is called nonsense"},
    {"WrongPixelFormat",
     [](const Place& place) { return place.create("fmt=mov,vcodec=mpeg4,pix_fmt=rgb24,size=64x48"); }, AVERROR(EINVAL),
     "encoder mpeg4 cannot be opened"},
    {"NoSize", [](const Place& place) { return place.create("fmt=mov,vcodec=mpeg4,pix_fmt=yuv420p"); }, AVERROR(EINVAL),
     "encoder mpeg4 cannot be opened"},
    {"NoPixelFormat", [](const Place& place) { return place.create("fmt=avi,vcodec=rawvideo,size=64x48"); },
     AVERROR(EINVAL),
     "encoder rawvideo cannot be opened: Invalid argument (The pixel format is missing or out of range)"},
    {"NoChannels", [](const Place& place) { return place.create("fmt=matroska,acodec=wavpack,ar=48000,afmt=s16p"); },
     AVERROR(EINVAL),
     "encoder wavpack of track 0 cannot be opened: Invalid argument (The number of channels is missing or out of "
     "range)"},
    {"UnknownSampleFormat",
     [](const Place& place) { return place.create("fmt=wav,acodec=pcm_s16le,ar=48000,ac=2,afmt=nonsense"); },
     AVERROR(EINVAL), "option afmt: no sample format is called nonsense"},
    {"WrongSampleFormat", [](const Place& place) { return place.create("fmt=mov,acodec=aac,ar=48000,ac=2,afmt=s16"); },
     AVERROR(EINVAL), "encoder aac of track 0 cannot be opened"},
    {"SoundThatTheContainerRefuses",
     [](const Place& place) { return place.create("fmt=wav," + kVideo + "," + kSound); }, 0, "the header"},
    {"AbsentFolder",
     [](const Place& place) {
         return qmio_create_u8(utf8(place.folder / "absent" / "made.mov").c_str(), ("fmt=mov," + kVideo).c_str(), 0);
     },
     AVERROR(ENOENT), "made.mov: No such file or directory"},
    {"Folder",
     [](const Place& place) {
         return qmio_create_u8(utf8(place.folder.path()).c_str(), ("fmt=mov," + kVideo).c_str(), 0);
     },
     0, "cannot make "},
    {"BlockWithoutSize",
     [](const Place&) {
         const auto block = memory_block("mem:", Bytes(100));
         return qmio_create_a(block.get(), ("fmt=mov," + kVideo).c_str());
     },
     AVERROR(EINVAL), "the memory block: its header tells no size"},
    {"CopyOfNothing", [](const Place& place) { return qmio_mux_u8(place.file.c_str(), "fmt=mov", nullptr, nullptr); },
     AVERROR(EINVAL), "there is no source"},
    {"CopyWithoutName", [](const Place& place) { return qmio_mux_a(nullptr, "fmt=mov", place.source.get(), nullptr); },
     AVERROR(EINVAL), "there is no name"},
    {"CopyInMemory", [](const Place& place) { return qmio_mux_u8("mem:10", "fmt=mov", place.source.get(), nullptr); },
     AVERROR(EINVAL), "files in memory"},
    {"NarrowCopyInMemory",
     [](const Place& place) { return qmio_mux_a("mem:10", "fmt=mov", place.source.get(), nullptr); }, AVERROR(EINVAL),
     "a memory block cannot be named so"},
    {"CopyOfSoundAlone",
     [](const Place& place) { return qmio_mux_u8(place.file.c_str(), "fmt=mov", place.sound.get(), nullptr); },
     AVERROR(EINVAL), "the source has no video"},
    {"CopyWithoutContainer", [](const Place& place) { return place.mux("movflags=faststart"); },
     AVERROR_MUXER_NOT_FOUND, "there is no option fmt"},
    {"CopyIntoAnUnknownContainer", [](const Place& place) { return place.mux("fmt=nonsense"); },
     AVERROR_MUXER_NOT_FOUND, "no container is called nonsense"},
    {"CopyIntoAContainerOfManyFiles", [](const Place& place) { return place.mux("fmt=dash"); }, AVERROR(ENOSYS),
     "container dash"},
    {"CopyThatTheContainerRefuses", [](const Place& place) { return place.mux("fmt=wav"); }, 0, "the header"},
    {"CopyIntoAnAbsentFolder",
     [](const Place& place) {
         return qmio_mux_u8(utf8(place.folder / "absent" / "made.mov").c_str(), "fmt=mov", place.source.get(), nullptr);
     },
     AVERROR(ENOENT), "No such file or directory"},
    {"CopyWithSoundThatCannotBeEncoded",
     [](const Place& place) {
         return qmio_mux_u8(place.file.c_str(), "fmt=mov,acodec=aac,ar=48000,ac=2,afmt=s16", place.source.get(),
                            nullptr);
     },
     AVERROR(EINVAL), "encoder aac of track 0 cannot be opened"},
};

INSTANTIATE_TEST_SUITE_P(Of, FailedMaking, testing::ValuesIn(kFailures),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(MadeFile, TellsTheOptionsThatNothingTook) {
    const Place place;
    why();
    const Media media(place.create("fmt=mov,movflags=faststart,presett=fast," + kVideo +
                                   ",b:v=1M,foo=1,metadata=\"a=b\","
                                   "timecode=00:00:00:00," +
                                   kSound));
    ASSERT_TRUE(media);
    const Why told = why();
    EXPECT_EQ(told.code, 0);
    EXPECT_EQ(told.text, "unused options: presett, foo");
    EXPECT_EQ(why().text, "");
}

TEST(MadeFile, WithoutATrackTellsWhy) {
    const Place place;
    why();
    const Media media(place.create("fmt=mov," + kVideo + ",acodec=nonsense"));
    ASSERT_TRUE(media);
    EXPECT_EQ(why().text, "option acodec: no encoder is called nonsense");
}

TEST(MadeFile, OfWhatAllIsKnownTellsNothing) {
    const Place place;
    why();
    const Media media(place.create("fmt=mov,movflags=faststart," + kVideo + ",b:v=1M,g=5," + kSound));
    ASSERT_TRUE(media);
    const Why told = why();
    EXPECT_EQ(told.code, 0);
    EXPECT_EQ(told.text, "");
}

TEST(FailedWriting, TellsTheFileAndTheCause) {
    const Place place;
    const Media media(place.create("fmt=mov," + kVideo + "," + kSound));
    ASSERT_TRUE(media);
    why();
    EXPECT_EQ(qmio_write_frame(media.get(), nullptr), 0);
    Why told = why();
    EXPECT_EQ(told.code, AVERROR(EINVAL));
    EXPECT_TRUE(told.text.starts_with("cannot write to ")) << told;
    EXPECT_TRUE(told.holds("made.mov: there is no picture")) << told;
    EXPECT_EQ(qmio_write_track(media.get(), 3, nullptr, 0), QMIO_TRACK_NO_TRACK);
    told = why();
    EXPECT_TRUE(told.text.starts_with("cannot write track 3 of ")) << told;
    EXPECT_TRUE(told.holds("made.mov: there is no such track: ")) << told;
    qmio_cancel(media.get());
    Bytes sound(400);
    EXPECT_EQ(qmio_write_track(media.get(), 0, sound.data(), 400), QMIO_TRACK_NO_STREAM);
    EXPECT_EQ(why().code, AVERROR_EXIT);
}

TEST(FailedWriting, TellsOfEveryRefusedTrack) {
    const Place place;
    const Media media(place.create("fmt=mov," + kVideo + "," + kSound + ",acodec=nonsense"));
    ASSERT_TRUE(media);
    Bytes sound(400);
    const auto fails = [&](MediaHandle* handle, int track, const uint8_t* data, int bytes) {
        why();
        EXPECT_LT(qmio_write_track(handle, track, data, bytes), 0);
        const Why told = why();
        EXPECT_LT(told.code, 0);
        EXPECT_TRUE(told.text.find(": ") != told.text.npos) << told;
    };
    fails(nullptr, 0, sound.data(), 400);
    fails(place.source.get(), 0, sound.data(), 400);
    fails(media.get(), 1, sound.data(), 400);
    fails(media.get(), 0, nullptr, 400);
    fails(media.get(), 0, sound.data(), 0);
}

TEST(FailedWriting, OfAPictureThatCannotBeEncodedTellsIt) {
    const Place place;
    const Media media(place.create("fmt=mov," + kVideo));
    ASSERT_TRUE(media);
    Bytes pixels(64 * 48 * 4);
    imio_picture picture = record_of(pixels);
    picture.alignment = 3;
    why();
    EXPECT_EQ(imio_write_frame(media.get(), &picture), 0);
    const Why told = why();
    EXPECT_EQ(told.code, AVERROR(EINVAL));
    EXPECT_TRUE(told.holds("made.mov: picture 0 cannot be encoded")) << told;
    EXPECT_EQ(qmio_get_file_param(media.get(), "write_error"), AVERROR(EINVAL));
}

TEST(FailedWriting, IsNotAnEncoderThatWantsMore) {
    const Place place;
    const Media media(place.create("fmt=mov,vcodec=mpeg4,bf=2,pix_fmt=yuv420p,size=64x48"));
    ASSERT_TRUE(media);
    why();
    const PictureMaker maker("AV_PIX_FMT_YUV420P", 64, 48);
    const Bytes pixels = maker.picture(0);
    EXPECT_EQ(qmio_encode_frame(media.get(), pixels.data()), nullptr);
    EXPECT_EQ(qmio_write_frame(media.get(), maker.picture(1).data()), 0);
    EXPECT_EQ(why().code, 0);
}

TEST(FailedWriting, OfACopyTellsTheFile) {
    const Place place;
    const Media media(place.mux("fmt=matroska"));
    ASSERT_TRUE(media);
    why();
    EXPECT_EQ(qmio_copy_frame(media.get(), nullptr), -1);
    Why told = why();
    EXPECT_TRUE(told.holds("made.mov: there is no source")) << told;
    ASSERT_EQ(qmio_get_frame(place.source.get()) >= 0, true);
    qmio_cancel(media.get());
    EXPECT_EQ(qmio_copy_frame(media.get(), place.source.get()), AVERROR_EXIT);
    told = why();
    EXPECT_EQ(told.code, AVERROR_EXIT);
    EXPECT_TRUE(told.holds("cannot write to ")) << told;
}

}  // namespace
}  // namespace qmio::test
