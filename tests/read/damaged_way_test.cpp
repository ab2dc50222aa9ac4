// Sought pictures of films with damaged packets: each is the one that reading in order on one thread gives, whatever
// was sought before and however many threads decode, and the way to it stays short. Frames are sought in an order drawn
// by a seed that is printed (QMIO_TEST_SEED sets it). Left out is damage that the decoder itself does not see: pictures
// that others refer to may then have become such that no sound one does, and they are left out on the way, and parts that
// were not decoded are what memory held.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "core/handle/media_handle.h"
#include "ffmpeg/frame_flags.h"
#include "support/made_pictures.h"
#include "support/media.h"
#include "support/seed.h"
#include "support/temp_dir.h"
#include "support/trace_lines.h"
#include "threaded_films.h"

namespace qmio::test {
namespace {

constexpr unsigned kSeed = 20261122;
constexpr int kPictures = 200;
constexpr int kSeeks = 40;
constexpr int kSampleSize = 3;
constexpr int kFlips = 6;      // in a packet
constexpr int kManyHits = 30;  // in a GOP: enough to be noticed

struct NumberedPicture {
    int frame;
    uint64_t hash;
};

struct FilmPacket {
    int64_t position;
    int size;
    bool key;
};

// Where the bytes of a packet lie in a file whose container has nothing of its own between them; of MPEG-TS: somewhere
// in the piece that fills the transport packet.
std::size_t byte_of(const FilmPacket& packet, double share, bool transport) {
    constexpr int kTransportPacket = 188, kPayload = 160, kHeader = 24;
    const int offset = static_cast<int>(packet.size * share);
    if (!transport)
        return static_cast<std::size_t>(packet.position + offset);
    return static_cast<std::size_t>(packet.position + int64_t{offset / kPayload} * kTransportPacket + kHeader +
                                    offset % kPayload);
}

std::vector<FilmPacket> packets_of(const std::filesystem::path& path) {
    const Media media = open_on_one_thread(path);
    std::vector<FilmPacket> packets;
    while (media != nullptr && qmio_get_frame(media.get()) >= 0) {
        const AVPacket& packet = *media->reading.packet;
        packets.push_back({packet.pos, packet.size, (packet.flags & AV_PKT_FLAG_KEY) != 0});
        qmio_release_frame(media.get());
    }
    return packets;
}

int get_filled_buffer(AVCodecContext* codec, AVFrame* frame, int flags) {
    const int result = avcodec_default_get_buffer2(codec, frame, flags);
    for (const AVBufferRef* const buffer : frame->buf)
        if (result >= 0 && buffer != nullptr)
            std::memset(buffer->data, 0x5A, buffer->size);
    return result;
}

using GetBuffer = decltype(AVCodecContext::get_buffer2);

// `seen` becomes true when the decoder tells of damage.
std::vector<NumberedPicture> read_in_order(const std::filesystem::path& path, GetBuffer get_buffer, bool& seen) {
    Player player(path, L"threads=1");
    player.handle()->video.codec->get_buffer2 = get_buffer;
    std::vector<NumberedPicture> pictures;
    const auto keep = [&](const Picture& picture) {
        Reading& reading = player.handle()->reading;
        seen = seen || picture.result < 0 || reading.concealment.take() || ffmpeg::is_damaged(*reading.pFrame);
        if (picture.result > 1)
            pictures.push_back({player.handle()->video.have_frame, picture.hash});
        return picture.result != 0;
    };
    while (keep(player.read())) {
    }
    while (keep(player.drain())) {
    }
    return pictures;
}

class DamagedWay : public testing::Test {
  protected:
    void make(const Film& film, int pictures = kPictures) {
        SCOPED_TRACE(testing::Message() << film);
        path_ = folder_ / ("film." + film.muxer);
        {
            const Writer writer(path_, options_of(film));
            ASSERT_TRUE(writer.is_open());
            write_pictures(writer, PictureMaker(film.format, film.width, film.height), pictures);
        }
        transport_ = film.muxer == "mpegts";
        learns_from_pictures_ = film.encoder == "mpeg4" || film.encoder == "libxvid";
        packets_ = packets_of(path_);
        ASSERT_GT(packets_.size(), static_cast<std::size_t>(pictures) / 2);
    }

    // Decoders of pictures that refer to no others leave what they cannot decode as it was in memory.
    bool is_intra_only() const {
        return std::all_of(packets_.begin(), packets_.end(), [](const FilmPacket& packet) { return packet.key; });
    }

    // Flips bytes in some packets of the GOP that the packet is in; the number of its last packet.
    int damage_gop_of(std::size_t packet, int hits = 3) {
        while (packet > 0 && !packets_[packet].key)
            --packet;
        std::size_t end = packet + 1;
        while (end < packets_.size() && !packets_[end].key)
            ++end;
        Bytes bytes = read_bytes(path_);
        for (int hit = 0; hit < hits; ++hit)
            damage(bytes, packets_[packet + static_cast<std::size_t>(dice_.up_to(static_cast<int>(end - packet))) - 1]);
        write_bytes(path_, bytes);
        return static_cast<int>(end) - 1;
    }

    void damage(Bytes& bytes, const FilmPacket& packet) {
        for (int flip = 0; flip < kFlips; ++flip) {
            const std::size_t at = byte_of(packet, 0.2 + 0.007 * dice_.up_to(100), transport_);
            if (at < bytes.size())
                bytes[at] ^= static_cast<uint8_t>(1U << (dice_.up_to(8) - 1));
        }
    }

    // The picture of the frame, or the first in order that is not before it: two where a damaged time of MPEG-TS has put
    // one far behind its neighbours.
    static bool is_right(const std::vector<NumberedPicture>& pictures, const Picture& picture, int frame) {
        const auto is_it = [=](const NumberedPicture& one) { return one.frame == frame; };
        const auto is_not_before = [=](const NumberedPicture& one) { return one.frame >= frame; };
        const auto exact = std::find_if(pictures.begin(), pictures.end(), is_it);
        const auto first = std::find_if(pictures.begin(), pictures.end(), is_not_before);
        return first == pictures.end() || picture.hash == first->hash ||
               (exact != pictures.end() && picture.hash == exact->hash);
    }

    // False where the picture of the frame tells what its memory held before.
    bool is_decoded_whole(int frame) const {
        const auto is_it = [=](const NumberedPicture& one) { return one.frame == frame; };
        const auto one = std::find_if(pictures_.begin(), pictures_.end(), is_it);
        const auto other = std::find_if(with_other_memory_.begin(), with_other_memory_.end(), is_it);
        return one == pictures_.end() || other == with_other_memory_.end() || one->hash == other->hash;
    }

    // Empty where the frame is right, else what there was instead.
    std::string wrong(Player& player, int frame) const {
        const Picture picture = player.read_at(frame);
        const bool may_miss_damage = learns_from_pictures_ && !player.handle()->reading.damage.noticed;
        if (may_miss_damage || is_right(pictures_, picture, frame) || !is_decoded_whole(frame))
            return "";
        const auto same = [&](const NumberedPicture& one) { return one.hash == picture.hash; };
        const auto found = std::find_if(pictures_.begin(), pictures_.end(), same);
        const std::string given = found != pictures_.end() ? std::to_string(found->frame) : "none of them";
        return std::to_string(frame) + " gave " + given + "; ";
    }

    void expect_frames(const Film& film, int damages) {
        SCOPED_TRACE(testing::Message() << film);
        for (int damage = 0; damage < damages && is_there(film) && !HasFatalFailure(); ++damage) {
            make(film);
            if (is_intra_only())
                return;
            damage_gop_of(static_cast<std::size_t>(dice_.up_to(static_cast<int>(packets_.size()))) - 1);
            bool seen = false;
            pictures_ = read_in_order(path_, avcodec_default_get_buffer2, seen);
            with_other_memory_ = read_in_order(path_, get_filled_buffer, seen);
            if (!seen)
                continue;
            ++seen_;
            for (const wchar_t* options : {L"threads=4", L"threads=1"}) {
                EXPECT_EQ(wrong_of(kSeeks, options, 1), "") << options;
                EXPECT_EQ(wrong_of(1, options, kSeeks), "") << options;
            }
        }
    }

    std::string wrong_of(int handles, const wchar_t* options, int seeks) {
        std::string all;
        for (int handle = 0; handle < handles; ++handle) {
            Player player(path_, options);
            for (int seek = 0; seek < seeks; ++seek)
                all += wrong(player, dice_.up_to(kPictures) - 1);
        }
        return all;
    }

    Dice dice_{printed_seed(kSeed)};
    TempDir folder_;
    std::filesystem::path path_;
    bool transport_ = false;
    // The decoder of MPEG-4 learns from the first pictures that it gets how packets are padded, and until then does not
    // see that one ends too early.
    bool learns_from_pictures_ = false;
    std::vector<FilmPacket> packets_;
    std::vector<NumberedPicture> pictures_;
    std::vector<NumberedPicture> with_other_memory_;
    int seen_ = 0;  // damages that were compared
};

const Film kDamagedFilms[] = {{"libx264", "mp4", "pix_fmt=yuv420p,g=20,bf=2,preset=fast"},
                              {"libx264", "mp4", "pix_fmt=yuv420p,g=100,bf=2,preset=fast"},
                              {"libx264", "mpegts", "pix_fmt=yuv420p,g=20,bf=2,preset=fast"},
                              {"mpeg4", "avi", "pix_fmt=yuv420p,g=20,bf=0,b:v=400k"},
                              {"mpeg4", "mp4", "pix_fmt=yuv420p,g=20,bf=2,b:v=400k"},
                              {"mpeg2video", "mpegts", "pix_fmt=yuv420p,g=15,bf=2,b:v=600k"}};

// Every seek in a handle of its own, and many in one.
TEST_F(DamagedWay, LeadsToThePictureThatReadingInOrderOnOneThreadGives) {
    for (const Film& film : kDamagedFilms)
        expect_frames(film, 1);
    EXPECT_GE(seen_, 3);
}

// How many packets a seek to this frame, and its picture, read.
std::ptrdiff_t packets_read(Player& player, int frame) {
    const TraceLines trace(TraceSwitch::read);
    player.read_at(frame);
    const std::vector<std::string> lines = trace.read();
    return std::count(lines.begin(), lines.end(), "qmio_get_frame: av_read_frame OK");
}

constexpr int kLongFilm = 600;
constexpr int kFewPackets = 180;  // seven GOPs of 20, and what the decoder holds back

TEST_F(DamagedWay, IsShortWhereTheGopsBeforeAreWhole) {
    make(kDamagedFilms[3], kLongFilm);
    const int last = damage_gop_of(505, kManyHits);
    Player player(path_, L"threads=4");
    for (const int frame : {last, last - 3, last - 1, last})
        EXPECT_LE(packets_read(player, frame), kFewPackets) << frame;
    EXPECT_TRUE(player.handle()->reading.damage.noticed);
    EXPECT_TRUE(player.handle()->reading.damage.passed_from_start.empty());
    EXPECT_EQ(player.handle()->video.codec->thread_count, 1);
}

TEST_F(DamagedWay, LeadsOverTheStartOnceForAGopWhereThoseBeforeAreDamagedToo) {
    make(kDamagedFilms[3], kLongFilm);
    for (std::size_t packet = 300; packet < 505; packet += 5)
        damage_gop_of(packet, kManyHits);
    const int last = damage_gop_of(505, kManyHits);
    const int next = damage_gop_of(static_cast<std::size_t>(last) + 1, kManyHits);
    Player player(path_, L"threads=4");
    EXPECT_GT(packets_read(player, last), last);
    for (const int frame : {last, last - 3, last - 1, last})
        EXPECT_LE(packets_read(player, frame), kFewPackets) << frame;
    EXPECT_GT(packets_read(player, next), next) << "another GOP";
    EXPECT_LE(packets_read(player, last), kFewPackets);
    EXPECT_LE(packets_read(player, next - 1), kFewPackets);
}

TEST_F(DamagedWay, KeepsTheOptionsOfTheHost) {
    make(kDamagedFilms[3]);
    const int last = damage_gop_of(105, kManyHits);
    Player player(path_, L"threads=4,skip_loop_filter=all");
    player.read_at(last);
    ASSERT_TRUE(player.handle()->reading.damage.noticed);
    EXPECT_EQ(player.handle()->video.codec->skip_loop_filter, AVDISCARD_ALL);
    EXPECT_EQ(player.handle()->video.codec, player.handle()->container.stream_codec.front().get());
}

// What lacks the pictures it refers to, at a landing in open GOPs, is no damage.
class UndamagedWay : public testing::TestWithParam<const char*> {};

TEST_P(UndamagedWay, CostsNothing) {
    Player player(media_path(GetParam()), L"threads=4");
    ASSERT_TRUE(player.is_open());
    const AVCodecContext* const codec = player.handle()->video.codec;
    Dice dice(printed_seed(kSeed));
    for (int seek = 0; seek < kSeeks; ++seek)
        player.read_at(dice.up_to(player.frame_count()) - 1);
    EXPECT_FALSE(player.handle()->reading.damage.noticed);
    EXPECT_EQ(player.handle()->video.codec, codec);
}

INSTANTIATE_TEST_SUITE_P(Of, UndamagedWay,
                         testing::Values("plain.mp4", "bframes_open_gop.mp4", "h264.ts", "h264_open_gop.ts", "hevc.ts",
                                         "hevc_open_gop.mp4", "mpeg2.ts", "mjpeg.avi", "h264.mkv", "vp9_alt_ref.webm",
                                         "mpeg4_bframes.avi"),
                         [](const auto& parameter) { return test_name(parameter.param); });

TEST_F(DamagedWay, LeadsThereWithASampleOfDecoders) {
    for (int number = 0; number < kSampleSize; ++number)
        expect_frames(dice_.one_of(kFilms), 1);
}

TEST_F(DamagedWay, LeadsThereWithAllDecoders) {
    const char* const what = std::getenv("QMIO_SWEEP");
    if (what == nullptr)
        GTEST_SKIP() << "takes long: QMIO_SWEEP=all, or the name of an encoder";
    const auto is_wanted = [what](const Film& film) { return film.encoder == what || what == std::string("all"); };
    for (const Film& film : kDamagedFilms)
        if (is_wanted(film))
            expect_frames(film, 10);
    for (const Film& film : kFilms)
        if (is_wanted(film))
            expect_frames(film, 3);
    std::cout << seen_ << " damages were seen by their decoders" << std::endl;
}

}  // namespace
}  // namespace qmio::test
