// A track whose parts are missing, and how packets of sound are timed.
#include <gtest/gtest.h>

#include <sstream>

#include "core/handle/media_handle.h"
#include "support/made_pictures.h"
#include "support/media.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

const std::string kPcm = ",acodec=pcm_s16le,ar=48000,ac=2,afmt=s16";
const std::string kFlac = ",acodec=flac,ar=48000,ac=2,afmt=s16";

class TrackState : public testing::Test {
  protected:
    Writer writer(const std::string& options) const { return Writer(folder_ / "sound", options); }

    std::vector<std::string> lines() const {
        std::vector<std::string> all;
        const Bytes file = read_bytes(folder_ / "sound");
        std::istringstream text(std::string(file.begin(), file.end()));
        for (std::string line; std::getline(text, line);)
            if (!line.starts_with('#'))
                all.push_back(line);
        return all;
    }

    // What writing answers without a part, which is put back afterwards.
    template <class Part>
    static int without(const Writer& writer, Part& part, Part nothing) {
        std::swap(part, nothing);
        const int result = writer.write_sound(0, Bytes(400));
        std::swap(part, nothing);
        return result;
    }

    TempDir folder_;
};

TEST_F(TrackState, MissingPartsAreToldInTheirOrder) {
    const Writer pcm = writer("fmt=matroska" + kPcm);
    ASSERT_TRUE(pcm.is_open());
    Track& track = pcm.handle()->tracks.first();
    EXPECT_EQ(without<int32_t>(pcm, track.stream_index, -1), QMIO_TRACK_NO_STREAM_INDEX);
    EXPECT_EQ(without<AVCodecContext*>(pcm, track.codec, nullptr), QMIO_TRACK_NO_CODEC);
    EXPECT_EQ(without<const AVCodec*>(pcm, track.coder, nullptr), QMIO_TRACK_NO_ENCODER);
    EXPECT_EQ(without<AVStream*>(pcm, track.stream, nullptr), QMIO_TRACK_NO_STREAM);
    EXPECT_EQ(without<int32_t>(pcm, track.file.channels, 0), QMIO_TRACK_NO_FORM);
    EXPECT_EQ(without<int32_t>(pcm, track.file.channels, -2), QMIO_TRACK_NO_FORM);
    EXPECT_EQ(without<AVSampleFormat>(pcm, track.file.format, AV_SAMPLE_FMT_NONE), QMIO_TRACK_NO_FORM);
    EXPECT_EQ(without<AVSampleFormat>(pcm, track.file.format, AV_SAMPLE_FMT_NB), QMIO_TRACK_NO_FORM);
    EXPECT_EQ(pcm.write_sound(0, Bytes(400)), 400);
}

TEST_F(TrackState, MissingPartsOfFixedFramesAreTold) {
    const Writer flac = writer("fmt=flac" + kFlac);
    ASSERT_TRUE(flac.is_open());
    Track& track = flac.handle()->tracks.first();
    auto ring = std::move(track.ring);
    EXPECT_EQ(flac.write_sound(0, Bytes(400)), QMIO_TRACK_NO_RING);
    track.ring = std::move(ring);
    auto buffer = std::move(track.frame_buffer);
    EXPECT_EQ(flac.write_sound(0, Bytes(400)), QMIO_TRACK_NO_BUFFER);
    track.frame_buffer = std::move(buffer);
    EXPECT_EQ(flac.write_sound(0, Bytes(400)), 0);
}

// This container writes down what it is given: stream, dts, pts, duration, size, checksum.
TEST_F(TrackState, PacketsOfAnyLengthFollowOneAnother) {
    {
        const Writer pcm = writer("fmt=framecrc" + kPcm);
        for (const int samples : {100, 1, 5000})
            EXPECT_EQ(pcm.write_sound(0, Bytes(static_cast<std::size_t>(samples) * 4)), samples * 4);
    }
    const std::vector<std::string> all = lines();
    ASSERT_EQ(all.size(), 3U);
    EXPECT_TRUE(all[0].starts_with("0,          0,          0,      100,      400,")) << all[0];
    EXPECT_TRUE(all[1].starts_with("0,        100,        100,        1,        4,")) << all[1];
    EXPECT_TRUE(all[2].starts_with("0,        101,        101,     5000,    20000,")) << all[2];
}

TEST_F(TrackState, PacketsOfFixedFramesFollowOneAnother) {
    {
        const Writer flac = writer("fmt=framecrc" + kFlac);
        EXPECT_GT(flac.write_sound(0, Bytes(4 * 4700)), 0);
    }
    const std::vector<std::string> all = lines();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_TRUE(all[0].starts_with("0,          0,          0,     4608,")) << all[0];
    EXPECT_TRUE(all[1].starts_with("0,       4608,       4608,     4608,")) << all[1];
}

// The stream of every packet, in the order in which they stand in the file.
std::string streams(const std::vector<std::string>& lines) {
    std::string order;
    for (const std::string& line : lines)
        order += line.substr(0, 1);
    return order;
}

TEST_F(TrackState, PacketsStandInTheOrderOfTheCallsOrInterleavedInTheOrderOfTheirTimes) {
    const PictureMaker maker("AV_PIX_FMT_YUVJ420P", 64, 48);
    for (const uint32_t flags : {0U, unsigned{QMIO_CREATE_INTERLEAVED}}) {
        {
            const Writer film(folder_ / "sound", "fmt=framecrc,vcodec=mjpeg,pix_fmt=yuvj420p,size=64x48,r=25" + kPcm,
                              flags);
            ASSERT_TRUE(film.is_open());
            write_pictures(film, maker, 3);
            for (int piece = 0; piece < 3; ++piece)
                EXPECT_GT(film.write_sound(0, Bytes(1920 * 4)), 0);
        }
        EXPECT_EQ(streams(lines()), flags == 0 ? "000111" : "010101");
    }
}

// Of how long a packet is only the low 32 bits are kept; when it comes is kept whole.
TEST_F(TrackState, PacketsThatAreVeryLongTellTheLowBitsOfTheirLength) {
    {
        const Writer pcm = writer("fmt=framecrc" + kPcm);
        pcm.handle()->tracks.first().stream->time_base = {1, 1 << 30};
        for (int packet = 0; packet < 2; ++packet)
            EXPECT_GT(pcm.write_sound(0, Bytes(5 * 48000 * 4)), 0);
    }
    const std::vector<std::string> all = lines();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_TRUE(all[0].starts_with("0,          0,          0, 1073741824,")) << all[0];
    EXPECT_TRUE(all[1].starts_with("0, 5368709120, 5368709120, 1073741824,")) << all[1];
}

}  // namespace
}  // namespace qmio::test
