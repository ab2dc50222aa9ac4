// Writing pictures: at once, or encoded first and put into the file later.
#include <gtest/gtest.h>

#include <deque>

#include "support/made_pictures.h"
#include "support/media.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

const std::string kIntra = "fmt=mov,vcodec=mjpeg,pix_fmt=yuvj420p,size=64x48,r=25";
// Holds pictures back: two B frames, and frames that the rate control looks ahead at.
const std::string kDelayed =
    "fmt=mov,vcodec=libx264,pix_fmt=yuv420p,size=64x48,r=25,preset=veryfast,bf=2,b_strategy=0,threads:v=1,"
    "rc-lookahead=7,g=12";

class Video : public testing::Test {
  protected:
    Writer intra(uint32_t flags = 0) const { return Writer(path(), kIntra, flags); }
    Writer delayed(uint32_t flags = 0) const { return Writer(path(), kDelayed, flags); }
    std::filesystem::path path() const { return folder_ / "made.mov"; }
    std::vector<int> numbers_in_file() const { return numbers(Player(path(), L"threads=1").read_rest(200)); }

    static Record encode(const Writer& writer, const PictureMaker& maker, int number) {
        return Record(qmio_encode_frame(writer.handle(), maker.picture(number).data()));
    }

    PictureMaker yuvj_{"AV_PIX_FMT_YUVJ420P", 64, 48};
    PictureMaker yuv_{"AV_PIX_FMT_YUV420P", 64, 48};

  private:
    TempDir folder_;
};

TEST_F(Video, IsNotDisturbedBySeekCalls) {
    {
        const Writer writer = intra();
        write_pictures(writer, yuvj_, 3);
        EXPECT_EQ(qmio_seek_frame(writer.handle(), 2), -1);
        EXPECT_EQ(qmio_seek_frame_ex(writer.handle(), 0), -1);
        EXPECT_EQ(qmio_seek_frame_ex_old(writer.handle(), 1), -1);
        EXPECT_EQ(qmio_seek_ts(writer.handle(), 0, 1), 0);
        EXPECT_EQ(qmio_get_frame(writer.handle()), -1);
        for (int number = 3; number < 6; ++number)
            EXPECT_EQ(writer.write_picture(yuvj_, number), 0) << number;
    }
    EXPECT_EQ(numbers_in_file(), (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

TEST_F(Video, WithoutAnythingToWorkOnGivesNothing) {
    imio_picture empty{};
    const Writer writer = intra();
    EXPECT_EQ(qmio_write_frame(writer.handle(), nullptr), 0);
    EXPECT_EQ(imio_write_frame(writer.handle(), nullptr), 0);
    EXPECT_EQ(imio_write_frame(writer.handle(), &empty), 0);
    EXPECT_EQ(qmio_encode_frame(writer.handle(), nullptr), nullptr);
    EXPECT_EQ(imio_encode_frame(writer.handle(), nullptr), nullptr);
    EXPECT_EQ(imio_encode_frame(writer.handle(), &empty), nullptr);
    EXPECT_EQ(qmio_put_frame(writer.handle(), nullptr), 0);
}

TEST_F(Video, IsNotTakenByAReader) {
    const Media reader = open_media(media_path("mjpeg.avi"));
    Bytes pixels(1 << 20);
    imio_picture picture = record_of(pixels);
    const Record packet(qmio_pkt_alloc());
    EXPECT_EQ(qmio_write_frame(reader.get(), pixels.data()), 0);
    EXPECT_EQ(imio_encode_frame(reader.get(), &picture), nullptr);
    EXPECT_EQ(qmio_put_frame(reader.get(), packet.get()), 0);
}

TEST_F(Video, IsNotTakenByAWriterOfSoundAlone) {
    const Writer writer(path(), "fmt=mov,acodec=pcm_s16le,ar=48000,ac=2,afmt=s16");
    ASSERT_TRUE(writer.is_open());
    const Record packet(qmio_pkt_alloc());
    EXPECT_EQ(writer.write_picture(yuvj_, 0), 0);
    EXPECT_EQ(encode(writer, yuvj_, 0), nullptr);
    EXPECT_EQ(qmio_put_frame(writer.handle(), packet.get()), 0);
}

TEST_F(Video, WrittenAtOnceIsAllThere) {
    write_pictures(intra(), yuvj_, 20);
    EXPECT_EQ(numbers_in_file(), numbers_from(0, 20));
}

TEST_F(Video, RowsMayBeAligned) {
    const PictureMaker odd("AV_PIX_FMT_YUVJ420P", 70, 46);
    for (const int alignment : {1, 2, 16, 64, 128}) {
        {
            const Writer writer(path(), "fmt=mov,vcodec=mjpeg,pix_fmt=yuvj420p,size=70x46");
            Bytes pixels = odd.aligned_picture(5, alignment);
            const Bytes before = pixels;
            const imio_picture picture = record_of(pixels, alignment);
            EXPECT_EQ(imio_write_frame(writer.handle(), &picture), 0);
            EXPECT_EQ(pixels, before);
        }
        const Bytes aligned = read_bytes(path());
        write_pictures(Writer(path(), "fmt=mov,vcodec=mjpeg,pix_fmt=yuvj420p,size=70x46"), odd, 0);
        {
            const Writer writer(path(), "fmt=mov,vcodec=mjpeg,pix_fmt=yuvj420p,size=70x46");
            EXPECT_EQ(writer.write_picture(odd, 5), 0);
        }
        EXPECT_EQ(aligned, read_bytes(path())) << alignment;
    }
}

TEST_F(Video, WithAnAlignmentThatIsNoneGivesNothingButUsesUpItsNumber) {
    {
        const Writer writer = intra();
        Bytes pixels = yuvj_.picture(9);
        for (const int alignment : {0, -1, 3, 48}) {
            const imio_picture picture = record_of(pixels, alignment);
            EXPECT_EQ(imio_encode_frame(writer.handle(), &picture), nullptr);
            EXPECT_EQ(imio_write_frame(writer.handle(), &picture), 0);
        }
        EXPECT_EQ(encode(writer, yuvj_, 0)->pts, 8);
    }
}

TEST_F(Video, PictureMayBeOverwrittenRightAfterTheCall) {
    {
        const Writer writer = delayed();
        Bytes pixels(yuv_.size());
        for (int number = 0; number < 30; ++number) {
            pixels = yuv_.picture(number);
            EXPECT_EQ(qmio_write_frame(writer.handle(), pixels.data()), 0);
            std::fill(pixels.begin(), pixels.end(), uint8_t{0x80});
        }
    }
    EXPECT_EQ(numbers_in_file(), numbers_from(0, 30));
}

// ---- encoded first, put later ----

TEST_F(Video, PacketsOfAnEncoderWithoutDelayComeWithTheirPictures) {
    const Writer writer = intra();
    for (int number = 0; number < 5; ++number) {
        const Record packet = encode(writer, yuvj_, number);
        ASSERT_TRUE(packet);
        EXPECT_EQ(packet->pts, number);
        EXPECT_GT(qmio_pkt_time(nullptr, packet.get(), nullptr), 0);
    }
}

TEST_F(Video, EncoderWithDelayGivesNothingFirstAndLosesNothing) {
    {
        const Writer writer = delayed();
        std::deque<Record> waiting;
        int nothing = 0;
        for (int number = 0; number < 40; ++number) {
            if (Record packet = encode(writer, yuv_, number))
                waiting.push_back(std::move(packet));
            else
                ++nothing;
            EXPECT_TRUE(number > 0 || waiting.empty());
        }
        EXPECT_GT(nothing, 5);
        EXPECT_EQ(nothing + static_cast<int>(waiting.size()), 40);
        for (const Record& packet : waiting)
            EXPECT_EQ(qmio_put_frame(writer.handle(), packet.get()), 0);
    }
    EXPECT_EQ(numbers_in_file(), numbers_from(0, 40));
}

// Some encoders end the process over such samples, others take them for what they are.
TEST_F(Video, SamplesOfMoreBitsThanTheirFormatHasAreRefusedWhereTheyDoHarm) {
    const PictureMaker deep("AV_PIX_FMT_YUV420P10LE", 64, 48);
    Bytes wrong = deep.picture(1);
    wrong.back() |= 0x04;
    for (const std::string encoder : {"libx264,preset=ultrafast", "libaom-av1,cpu-used=8", "ffv1"}) {
        SCOPED_TRACE(encoder);
        Writer writer(path(), "fmt=mov,pix_fmt=yuv420p10le,size=64x48,r=25,vcodec=" + encoder);
        if (!writer.is_open())
            continue;  // not every system has all of them
        writer.write_picture(deep, 0);
        qmio_write_frame(writer.handle(), wrong.data());
        const bool refused = qmio_get_file_param(writer.handle(), "write_error") < 0;
        EXPECT_EQ(refused, encoder != "ffv1");
        writer.write_picture(deep, 2);
        writer.close();
        EXPECT_EQ(numbers_in_file().size(), refused ? 2U : 3U);
    }
}

TEST_F(Video, PutLaterGivesTheSameFileAsWrittenAtOnce) {
    for (const uint32_t flags : {0U, unsigned{QMIO_CREATE_INTERLEAVED}}) {
        write_pictures(delayed(flags), yuv_, 25);
        const Bytes at_once = read_bytes(path());
        {
            const Writer writer = delayed(flags);
            std::deque<Record> waiting;
            for (int number = 0; number < 25; ++number)
                if (Record packet = encode(writer, yuv_, number))
                    waiting.push_back(std::move(packet));
            for (const Record& packet : waiting)
                qmio_put_frame(writer.handle(), packet.get());
        }
        EXPECT_EQ(read_bytes(path()), at_once) << flags;
    }
}

TEST_F(Video, PutStampsTheRecordWithTheTimesOfTheStream) {
    const Writer writer = intra();
    const Record first = encode(writer, yuvj_, 0);
    const Record second = encode(writer, yuvj_, 1);
    EXPECT_EQ(qmio_put_frame(writer.handle(), first.get()), 0);
    EXPECT_EQ(qmio_put_frame(writer.handle(), second.get()), 0);
    pkt_time_info info{};
    EXPECT_GT(qmio_pkt_time(writer.handle(), second.get(), &info), 0);
    EXPECT_EQ(info.frame_rate_num * 1, 25 * info.frame_rate_den);
    // One frame at 25 per second, whatever units the container chose.
    EXPECT_EQ(info.pts * 25 * info.time_base_num, info.time_base_den);
    EXPECT_EQ(qmio_pkt_type(writer.handle(), second.get()), QMIO_PACKET_VIDEO);
}

TEST_F(Video, InterleavingTakesTheBytesOver) {
    const Writer writer = intra(QMIO_CREATE_INTERLEAVED);
    const Record packet = encode(writer, yuvj_, 0);
    EXPECT_EQ(qmio_put_frame(writer.handle(), packet.get()), 0);
    EXPECT_EQ(qmio_pkt_time(nullptr, packet.get(), nullptr), 0);
}

TEST_F(Video, PacketsThatAreNeverPutAreSimplyNotThere) {
    {
        const Writer writer = intra();
        for (int number = 0; number < 6; ++number) {
            const Record packet = encode(writer, yuvj_, number);
            if (number % 2 == 0)
                qmio_put_frame(writer.handle(), packet.get());
        }
    }
    EXPECT_EQ(numbers_in_file(), (std::vector<int>{0, 2, 4}));
}

TEST_F(Video, APacketOutOfOrderIsRefusedWithAnError) {
    const Writer writer = intra();
    const Record first = encode(writer, yuvj_, 0);
    const Record second = encode(writer, yuvj_, 1);
    EXPECT_EQ(qmio_put_frame(writer.handle(), second.get()), 0);
    EXPECT_LT(qmio_put_frame(writer.handle(), first.get()), 0);
}

// ---- suppressed, cancelled ----

TEST_F(Video, SuppressedGivesZeroAndAnOutputWithoutPackets) {
    const std::string sound = ",acodec=pcm_s16le,ar=48000,ac=2,afmt=s16,acodec=mp2,ar=48000,ac=2,afmt=s16";
    {
        const Writer writer(path(), kIntra + sound, QMIO_CREATE_SUPPRESSED);
        const SoundMaker maker({2, 48000, AV_SAMPLE_FMT_S16});
        for (int number = 0; number < 5; ++number) {
            EXPECT_EQ(writer.write_picture(yuvj_, number), 0);
            EXPECT_GT(writer.write_sound(0, maker.samples(0, 2000)), 0);
            EXPECT_GT(writer.write_sound(1, maker.samples(0, 2000)), 0);
        }
        const Record packet = encode(writer, yuvj_, 5);
        EXPECT_TRUE(packet);
        EXPECT_EQ(qmio_put_frame(writer.handle(), packet.get()), 0);
    }
    for (const PlainTrack& track : decode_plainly(path()))
        EXPECT_TRUE(track.frames.empty());
    EXPECT_TRUE(packets_of(path(), 0).empty());
    EXPECT_LT(std::filesystem::file_size(path()), 4000U);
}

TEST_F(Video, AfterCancelIsRefused) {
    const Writer writer = intra();
    EXPECT_EQ(writer.write_picture(yuvj_, 0), 0);
    const Record packet = encode(writer, yuvj_, 1);
    EXPECT_EQ(qmio_cancel(writer.handle()), 0);
    EXPECT_LT(qmio_put_frame(writer.handle(), packet.get()), 0);
    EXPECT_LT(writer.write_picture(yuvj_, 2), 0);
    EXPECT_TRUE(encode(writer, yuvj_, 3));
    EXPECT_EQ(qmio_flush(writer.handle()), 0);
    EXPECT_EQ(qmio_pkt_ts(writer.handle(), packet.get(), 3), 0);
}

// ---- interlaced ----

// What the file's first picture says about its fields.
int fields_of(const std::filesystem::path& path) {
    Player player(path, L"threads=1");
    const int result = player.read().result;
    return result > 1 ? result : player.drain().result;
}

TEST_F(Video, PicturesAreMarkedWithTheirFieldOrder) {
    const std::string mpeg2 = "fmt=mpegts,vcodec=mpeg2video,pix_fmt=yuv420p,size=64x48,r=25";
    for (const auto& [option, told] : {std::pair{"", int{QMIO_PICTURE_PROGRESSIVE}},
                                       {",top=1,flags:v=+ildct+ilme", int{QMIO_PICTURE_TOP_FIELD_FIRST}},
                                       {",top=0,flags:v=+ildct+ilme", int{QMIO_PICTURE_BOTTOM_FIELD_FIRST}}}) {
        write_pictures(Writer(path(), mpeg2 + option), yuv_, 30);
        EXPECT_EQ(fields_of(path()), told);
    }
}

TEST_F(Video, PicturesOfProresAreMarkedWithTheirFieldOrder) {
    const std::string prores = "fmt=mov,vcodec=prores_ks,pix_fmt=yuv422p10le,size=64x64,flags:v=+ildct";
    const PictureMaker maker("AV_PIX_FMT_YUV422P10LE", 64, 64);
    for (const auto& [option, told] :
         {std::pair{",top=1", int{QMIO_PICTURE_TOP_FIELD_FIRST}}, {",top=0", int{QMIO_PICTURE_BOTTOM_FIELD_FIRST}}}) {
        write_pictures(Writer(path(), prores + option), maker, 3);
        EXPECT_EQ(fields_of(path()), told);
    }
}

}  // namespace
}  // namespace qmio::test
