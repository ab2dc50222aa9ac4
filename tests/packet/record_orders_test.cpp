// Packet records kept, copied and freed in every order that a host may think of.
#include <array>
#include <optional>
#include <random>

#include "packet/records_fixture.h"

namespace qmio::test {
namespace {

TEST_F(Records, GetCloneReleaseDecodeFree) {
    Record record = new_record();
    read();
    read();
    ASSERT_TRUE(qmio_pkt_get(handle(), record.get()));
    EXPECT_EQ(qmio_pkt_clone(record.get()), 1);
    EXPECT_EQ(qmio_release_frame(handle()), 0);
    EXPECT_TRUE(bytes_of(*record) == bytes_of(*plain_[1]));
    EXPECT_EQ(decode(record.get()), 1);
    EXPECT_EQ(qmio_pkt_free(record.release()), 0);
    read();
    EXPECT_EQ(player_.decode_packet().number, 2);
}

TEST_F(Records, OutliveTheHandleThatTheyCameFrom) {
    const Record cloned = new_record();
    const Record duplicate = new_record();
    read();
    qmio_pkt_get(handle(), cloned.get());
    qmio_pkt_clone(cloned.get());
    qmio_pkt_dup(handle(), duplicate.get());
    player_ = Player(path_, L"threads=1");
    EXPECT_TRUE(bytes_of(*cloned) == bytes_of(*plain_[0]));
    EXPECT_TRUE(bytes_of(*duplicate) == bytes_of(*plain_[0]));
    read();
    read();
    EXPECT_EQ(decode(cloned.get()), 0);
    EXPECT_EQ(decode(duplicate.get()), 0);
}

TEST_F(Records, MayBeClonedTwice) {
    const Record record = new_record();
    read();
    qmio_pkt_get(handle(), record.get());
    EXPECT_EQ(qmio_pkt_clone(record.get()), 1);
    const uint8_t* const bytes = record->data;
    EXPECT_EQ(qmio_pkt_clone(record.get()), 1);
    EXPECT_EQ(record->data, bytes);
}

TEST_F(Records, CopiedAndFreedBothAreFreedOnce) {
    Record first = new_record();
    Record second = new_record();
    read();
    qmio_pkt_dup(handle(), first.get());
    EXPECT_EQ(qmio_pkt_copy(second.get(), first.get()), second.get());
    EXPECT_TRUE(bytes_of(*second) == bytes_of(*plain_[0]));
    first.reset();
    EXPECT_EQ(qmio_pkt_clone(second.get()), 1);
    second.reset();
    read();
    EXPECT_EQ(player_.decode_packet().number, 1);
}

TEST_F(Records, MayBeCopiedOntoThemselves) {
    const Record record = new_record();
    read();
    qmio_pkt_dup(handle(), record.get());
    EXPECT_EQ(qmio_pkt_copy(record.get(), record.get()), record.get());
    EXPECT_TRUE(bytes_of(*record) == bytes_of(*plain_[0]));
}

TEST_F(Records, ThatAreWrittenOverGiveUpWhatTheyHeld) {
    const Record record = new_record();
    for (std::size_t number = 0; number < 5; ++number) {
        read();
        qmio_pkt_dup(handle(), record.get());
        qmio_pkt_get(handle(), record.get());
        EXPECT_TRUE(bytes_of(*record) == bytes_of(*plain_[number]));
    }
    qmio_pkt_save(handle(), record.get());
    qmio_pkt_save(handle(), record.get());
    qmio_pkt_restore(handle(), record.get());
    EXPECT_TRUE(bytes_of(*record) == bytes_of(*plain_[4]));
}

TEST_F(Records, PutBackAreWhatTheHandleDecodes) {
    std::array<Record, 4> kept;
    for (Record& record : kept) {
        record = new_record();
        read();
        qmio_pkt_dup(handle(), record.get());
        qmio_release_frame(handle());
    }
    for (const std::size_t number : {2U, 0U, 3U, 3U, 1U}) {
        EXPECT_EQ(qmio_pkt_put(handle(), kept[number].get()), 1);
        EXPECT_EQ(player_.decode_packet().number, static_cast<int>(number));
    }
    qmio_pkt_put(handle(), kept[0].get());
    kept[0].reset();
    EXPECT_EQ(player_.decode_packet().number, 0);
    qmio_pkt_put(handle(), kept[1].get());
    EXPECT_EQ(qmio_release_frame(handle()), 0);
    EXPECT_EQ(decode(kept[1].get()), 1);
}

TEST_F(Records, LaidAsideStayWhileTheHandleReadsOn) {
    Record record = new_record();
    read();
    read();
    qmio_pkt_get(handle(), record.get());
    EXPECT_EQ(qmio_pkt_save(handle(), record.get()), 1);
    record = new_record();
    qmio_release_frame(handle());
    for (int packet = 0; packet < 5; ++packet)
        read();
    EXPECT_EQ(qmio_pkt_restore(handle(), record.get()), 1);
    EXPECT_TRUE(bytes_of(*record) == bytes_of(*plain_[1]));
    EXPECT_EQ(decode(record.get()), 1);
}

// A host that does anything with its records, and a model of what each of them then holds: the number of a packet, or
// nothing.
class Juggler {
  public:
    Juggler(std::filesystem::path path, const std::vector<Packet>& plain) : path_(std::move(path)), plain_(plain) {
        rewind();
        for (Hand& hand : hands_)
            hand.record = new_record();
    }

    void step(unsigned call, std::size_t one, std::size_t other) {
        AVPacket* const record = hands_[one].record.get();
        int& number = hands_[one].number;
        switch (call) {
            case 0:
                return read();
            case 1:
                qmio_release_frame(player_->handle());
                held_ = kNothing;
                return;
            case 2:
                qmio_pkt_get(player_->handle(), record);
                number = held_;
                return;
            case 3:
                qmio_pkt_dup(player_->handle(), record);
                number = held_;
                return;
            case 4:
                qmio_pkt_clone(record);
                return;
            case 5:
                qmio_pkt_copy(record, hands_[other].record.get());
                number = hands_[other].number;
                return;
            default:
                return step_on(call, record, hands_[one]);
        }
    }

  private:
    static constexpr int kNothing = -1;
    struct Hand {
        Record record;
        int number = kNothing;
    };

    void step_on(unsigned call, AVPacket* record, Hand& hand) {
        switch (call) {
            case 6:
                qmio_pkt_release(record);
                hand.number = kNothing;
                return;
            case 7:
                hand = {new_record(), kNothing};
                return;
            case 8:
                qmio_pkt_put(player_->handle(), record);
                held_ = hand.number;
                return;
            case 9:
                qmio_pkt_save(player_->handle(), record);
                saved_ = hand.number;
                return;
            case 10:
                qmio_pkt_restore(player_->handle(), record);
                hand.number = saved_;
                return;
            case 11:
                EXPECT_TRUE(held_ == kNothing || player_->decode_packet().number == held_);
                return;
            default:
                EXPECT_TRUE(hand.number == kNothing || bytes_of(*record) == plain_bytes(hand.number));
        }
    }

    void rewind() {
        player_.emplace(path_, L"threads=1");
        next_ = 0;
        held_ = saved_ = kNothing;
    }

    void read() {
        if (next_ + 1 == static_cast<int>(plain_.size()))
            rewind();
        ASSERT_EQ(qmio_get_frame(player_->handle()), QMIO_PACKET_VIDEO);
        held_ = next_++;
    }

    Bytes plain_bytes(int number) const { return bytes_of(*plain_[static_cast<std::size_t>(number)]); }

    std::filesystem::path path_;
    const std::vector<Packet>& plain_;
    std::optional<Player> player_;
    std::array<Hand, 5> hands_;
    int held_ = kNothing;   // by the handle
    int saved_ = kNothing;  // laid aside in it
    int next_ = 0;          // to be read
};

TEST_F(Records, OfAnyOrderOfCallsAreFreedOnceAndHoldWhatTheyShould) {
    std::mt19937 random(20240613);
    SCOPED_TRACE("seed 20240613");
    Juggler host(path_, plain_);
    for (int step = 0; step < 3000 && !HasFailure(); ++step) {
        const unsigned call = static_cast<unsigned>(random() % 13);
        const std::size_t one = random() % 5;
        host.step(call, one, random() % 5);
    }
}

}  // namespace
}  // namespace qmio::test
