// Packet records in a host's hands: kept, decoded later, told apart, timed.
#include <array>
#include <cstring>
#include <limits>

#include "packet/records_fixture.h"
#include "support/made_pictures.h"
#include "support/sound_host.h"

namespace qmio::test {
namespace {

// ---- one record ----

TEST_F(Records, AreZerosWhenNewAndAfterTheirRelease) {
    const Record record = new_record();
    ASSERT_TRUE(record);
    EXPECT_TRUE(is_zeros(*record));
    read();
    EXPECT_EQ(qmio_pkt_get(handle(), record.get()), record.get());
    EXPECT_FALSE(is_zeros(*record));
    EXPECT_EQ(qmio_pkt_release(record.get()), 0);
    EXPECT_TRUE(is_zeros(*record));
    EXPECT_EQ(qmio_pkt_release(record.get()), 0);
}

TEST_F(Records, OfAHandleAreZerosBeforeTheFirstPacketAndAfterItsRelease) {
    const Record record = new_record();
    for (int times = 0; times < 2; ++times) {
        EXPECT_EQ(qmio_pkt_get(handle(), record.get()), record.get());
        EXPECT_TRUE(is_zeros(*record));
        EXPECT_EQ(qmio_pkt_restore(handle(), record.get()), 1);
        EXPECT_TRUE(is_zeros(*record));
        qmio_time_param times_of_packet{};
        EXPECT_EQ(qmio_get_time_param(handle(), "packet", &times_of_packet), 1);
        EXPECT_EQ(times_of_packet.pts, 0);
        EXPECT_EQ(times_of_packet.dts, 0);
        read();
        EXPECT_EQ(qmio_pkt_get(handle(), record.get()), record.get());
        EXPECT_FALSE(is_zeros(*record));
        EXPECT_EQ(qmio_release_frame(handle()), 0);
    }
}

TEST_F(Records, ThatAreNullAreNothingToTheHandle) {
    EXPECT_EQ(qmio_pkt_get(handle(), nullptr), nullptr);
    EXPECT_EQ(qmio_pkt_dup(handle(), nullptr), nullptr);
    EXPECT_EQ(qmio_pkt_put(handle(), nullptr), 0);
    EXPECT_EQ(qmio_pkt_save(handle(), nullptr), 0);
    EXPECT_EQ(qmio_pkt_restore(handle(), nullptr), 0);
    EXPECT_EQ(qmio_pkt_type(handle(), nullptr), QMIO_PACKET_OTHER);
    EXPECT_EQ(qmio_pkt_ts(handle(), nullptr, 1), 0);
    EXPECT_EQ(qmio_pkt_time(handle(), nullptr, nullptr), 0);
}

TEST_F(Records, WithoutBytesAreCopiedClonedAndDecodedAsNothing) {
    const Record empty = new_record();
    const Record copy = new_record();
    EXPECT_EQ(qmio_pkt_clone(empty.get()), 1);
    EXPECT_EQ(qmio_pkt_copy(copy.get(), empty.get()), copy.get());
    EXPECT_EQ(copy->data, nullptr);
    EXPECT_EQ(qmio_pkt_put(handle(), empty.get()), 1);
    EXPECT_LT(player_.decode_packet().result, 2);
    EXPECT_EQ(qmio_pkt_save(handle(), empty.get()), 1);
    EXPECT_EQ(qmio_pkt_restore(handle(), copy.get()), 1);
}

// The size says that there are bytes: that is no end of the input, which would make the decoder give its last pictures.
TEST_F(Records, WithASizeButNoBytesAreDamaged) {
    Player delayed(media_path("bframes_open_gop.mp4"), L"threads=1");
    const Record record = new_record();
    Bytes pixels(static_cast<std::size_t>(delayed.width() * delayed.height() * 4));
    ASSERT_GT(delayed.read().result, 1);
    ASSERT_EQ(qmio_get_frame(delayed.handle()), QMIO_PACKET_VIDEO);
    qmio_pkt_get(delayed.handle(), record.get());
    record->data = nullptr;
    for (int times = 0; times < 3; ++times)
        EXPECT_EQ(qmio_video_pkt(delayed.handle(), pixels.data(), record.get()), QMIO_DECODER_ERROR);
    EXPECT_GT(qmio_video_frame(delayed.handle(), pixels.data()), 1);
    EXPECT_GT(delayed.read().result, 1);
}

TEST_F(Records, TellWhatTheContainerHolds) {
    const Record record = new_record();
    for (std::size_t number = 0; number < 10; ++number) {
        read();
        qmio_pkt_get(handle(), record.get());
        EXPECT_TRUE(bytes_of(*record) == bytes_of(*plain_.at(number)));
        pkt_time_info info;
        std::memset(&info, 0x55, sizeof info);
        EXPECT_EQ(qmio_pkt_time(handle(), record.get(), &info), plain_[number]->size);
        EXPECT_EQ(info.pts, plain_[number]->pts);
        EXPECT_EQ(info.dts, plain_[number]->dts);
        EXPECT_EQ(info.duration, plain_[number]->duration);
        EXPECT_EQ(info.start_time, 0);
        EXPECT_EQ(info.frame_rate_num, 25 * info.frame_rate_den);
        EXPECT_EQ(info.time_base_den, 25 * info.time_base_num);
        EXPECT_EQ(info.reserved[0] | info.reserved[1] | info.reserved[2], 0);
    }
}

TEST_F(Records, OfACancelledHandleAreNotDuplicated) {
    const Record record = new_record();
    read();
    qmio_cancel(handle());
    EXPECT_EQ(qmio_pkt_dup(handle(), record.get()), nullptr);
    EXPECT_EQ(qmio_pkt_get(handle(), record.get()), record.get());
    EXPECT_EQ(qmio_pkt_time(handle(), record.get(), nullptr), plain_[0]->size);
    EXPECT_EQ(qmio_pkt_ts(handle(), record.get(), 3), 0);
}

// ---- kinds and times ----

TEST(RecordsOfSeveralStreams, TellTheirKind) {
    const Media media = open_media(media_path("two_audio_tracks.mp4"));
    ASSERT_TRUE(media);
    const Record record = new_record();
    std::array<int, 3> kinds{};
    for (int kind = qmio_get_frame(media.get()); kind >= 0; kind = qmio_get_frame(media.get())) {
        qmio_pkt_get(media.get(), record.get());
        ++kinds[static_cast<std::size_t>(qmio_pkt_type(media.get(), record.get()))];
        EXPECT_EQ(qmio_pkt_type(media.get(), record.get()),
                  record->stream_index == 0 ? QMIO_PACKET_VIDEO : QMIO_PACKET_AUDIO);
    }
    EXPECT_GT(kinds[QMIO_PACKET_VIDEO], 0);
    EXPECT_GT(kinds[QMIO_PACKET_AUDIO], 0);
    for (const int stream : {-1, 3, 17, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        record->stream_index = stream;
        EXPECT_EQ(qmio_pkt_type(media.get(), record.get()), QMIO_PACKET_OTHER) << stream;
        EXPECT_EQ(qmio_pkt_time(media.get(), record.get(), nullptr), record->size);
    }
}

TEST(RecordsOfSeveralStreams, TellTheTimesOfTheirStream) {
    const Media media = open_media(media_path("two_audio_tracks.mp4"));
    const Record record = new_record();
    pkt_time_info info{};
    while (qmio_get_frame(media.get()) != QMIO_PACKET_AUDIO) {
    }
    qmio_pkt_get(media.get(), record.get());
    const int size = qmio_pkt_time(media.get(), record.get(), &info);
    EXPECT_GT(size, 0);
    EXPECT_EQ(info.frame_rate_num, 0);
    EXPECT_GT(info.time_base_den, 0);
    // Without a handle, and for a stream that is not there, only what is in the record itself.
    for (MediaHandle* handle : {static_cast<MediaHandle*>(nullptr), media.get()}) {
        record->stream_index = 99;
        std::memset(&info, 0x55, sizeof info);
        EXPECT_EQ(qmio_pkt_time(handle, record.get(), &info), size);
        EXPECT_EQ(info.pts, record->pts);
        EXPECT_EQ(info.duration, record->duration);
        EXPECT_EQ(info.start_time, 0);
        EXPECT_EQ(info.time_base_num | info.time_base_den | info.frame_rate_num | info.frame_rate_den, 0);
    }
}

TEST_F(Records, AreStampedWithTheTimeOfAFrame) {
    const Record record = new_record();
    for (const int64_t frame : {int64_t{0}, int64_t{1}, int64_t{41}, int64_t{-3}, int64_t{1} << 33}) {
        EXPECT_EQ(qmio_pkt_ts(handle(), record.get(), frame), 1);
        EXPECT_EQ(record->pts, frame);  // one unit of an AVI is one frame
        EXPECT_EQ(record->dts, frame);
    }
    Player ntsc(media_path("rate_30000_1001.mp4"));
    if (ntsc.is_open()) {
        pkt_time_info info{};
        ASSERT_EQ(qmio_pkt_ts(ntsc.handle(), record.get(), 30000), 1);
        record->stream_index = 0;
        qmio_pkt_time(ntsc.handle(), record.get(), &info);
        EXPECT_EQ(info.pts * info.time_base_num, int64_t{1001} * info.time_base_den);
    }
    const Media sound = open_media(media_path("tone.wav"));
    EXPECT_EQ(qmio_pkt_ts(sound.get(), record.get(), 3), 0);
}

// ---- sound ----

class SoundRecords : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(media_);
        qmio_set_track(media_.get(), 0);
        // As it is stored, so that no conversion remembers what came before.
        ASSERT_EQ(qmio_set_dst_audio(media_.get(), qmio_track_chans(media_.get(), 0),
                                     static_cast<int>(file_param(media_, "sample_rate")), 16),
                  1);
    }

    Record next_packet() const {
        Record record = new_record();
        while (qmio_get_frame(media_.get()) != QMIO_PACKET_AUDIO) {
        }
        qmio_pkt_dup(media_.get(), record.get());
        return record;
    }

    Bytes decode_held() {
        Bytes sound;
        for (int bytes; (bytes = qmio_audio_frame(media_.get(), buffer_.data())) > 0;)
            sound.insert(sound.end(), buffer_.begin(), buffer_.begin() + bytes);
        return sound;
    }

    Media media_ = open_sound(media_path("two_tracks_pcm_mp2.mkv"));
    Bytes buffer_ = Bytes(1 << 22);
};

TEST_F(SoundRecords, PutBackAreUsedUpByDecodingAndStillGivenWhole) {
    const Record first = next_packet();
    const Bytes sound = decode_held();
    EXPECT_GT(sound.size(), 0U);
    const Record second = next_packet();
    EXPECT_EQ(qmio_pkt_put(media_.get(), first.get()), 1);
    EXPECT_TRUE(decode_held() == sound);
    EXPECT_EQ(qmio_audio_frame(media_.get(), buffer_.data()), 0);
    const Record again = new_record();
    EXPECT_EQ(qmio_pkt_get(media_.get(), again.get()), again.get());
    EXPECT_TRUE(bytes_of(*again) == bytes_of(*first));
    EXPECT_EQ(again->size, first->size);
    EXPECT_EQ(qmio_pkt_put(media_.get(), again.get()), 1);
    EXPECT_TRUE(decode_held() == sound);
}

TEST_F(SoundRecords, OfTheHostAdvanceAndStayTheHosts) {
    const Record record = next_packet();
    const Record copy = new_record();
    qmio_pkt_copy(copy.get(), record.get());
    const Bytes sound = decode_held();
    Bytes decoded;
    for (int bytes; (bytes = qmio_audio_pkt(media_.get(), buffer_.data(), record.get())) > 0;)
        decoded.insert(decoded.end(), buffer_.begin(), buffer_.begin() + bytes);
    EXPECT_TRUE(decoded == sound);
    EXPECT_EQ(record->size, 0);
    EXPECT_GT(copy->size, 0);
    // What is used up may still be copied, cloned and put.
    EXPECT_EQ(qmio_pkt_clone(record.get()), 1);
    EXPECT_EQ(qmio_pkt_put(media_.get(), record.get()), 1);
    EXPECT_EQ(qmio_audio_frame(media_.get(), buffer_.data()), 0);
    EXPECT_EQ(qmio_pkt_copy(record.get(), copy.get()), record.get());
    EXPECT_GT(qmio_audio_pkt(media_.get(), buffer_.data(), record.get()), 0);
}

// ---- packets of an encoder ----

TEST(RecordsOfAnEncoder, FollowTheSameRules) {
    const Writer writer(media_path("none").parent_path() / "no folder" / "none.avi",
                        "fmt=null,vcodec=mjpeg,pix_fmt=yuvj420p,size=64x48");
    ASSERT_TRUE(writer.is_open());
    const PictureMaker maker("AV_PIX_FMT_YUVJ420P", 64, 48);
    Record packet(qmio_encode_frame(writer.handle(), maker.picture(3).data()));
    ASSERT_TRUE(packet);
    const Bytes bytes = bytes_of(*packet);
    const Record copy = new_record();
    qmio_pkt_copy(copy.get(), packet.get());
    EXPECT_EQ(qmio_pkt_clone(packet.get()), 1);
    EXPECT_EQ(qmio_pkt_save(writer.handle(), packet.get()), 1);
    packet.reset();
    EXPECT_TRUE(bytes_of(*copy) == bytes);
    const Record restored = new_record();
    EXPECT_EQ(qmio_pkt_restore(writer.handle(), restored.get()), 1);
    EXPECT_TRUE(bytes_of(*restored) == bytes);
    EXPECT_EQ(qmio_put_frame(writer.handle(), restored.get()), 0);
}

}  // namespace
}  // namespace qmio::test
