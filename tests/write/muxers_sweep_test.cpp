// Every muxer of FFmpeg with films whose pictures and sound come by turns of one and of three seconds: what is read back
// is what it is where packets are asked to be put in order. A sample in every run, drawn by a seed that is printed
// (QMIO_TEST_SEED sets it); all of them with QMIO_SWEEP=all (minutes), one with its name. Left out: muxers that open
// files of their own; those of subtitles; those that join whatever packets they get, which no reader tells apart; what
// takes none of the usual codecs and settings. All that need packets in order are tried in every run but mxf_d10, those
// of SWF where FFmpeg has an encoder of MP3.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <iterator>
#include <span>
#include <string_view>

#include "ffmpeg/muxers.h"
#include "support/muxer_films.h"
#include "support/open_media.h"
#include "support/seed.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

constexpr unsigned kSeed = 20261122;
constexpr int kSampleSize = sample_size(5);
constexpr const char* kOrders[] = {"PPPSSS", "SPSPSP", "PSPSPS", "SSSPPP"};
constexpr std::span<const char* const> kTwoOrders(kOrders, 2);

// The bytes of every stream; which comes first is the reader's affair.
std::vector<Bytes> streams_of(const std::filesystem::path& path) {
    std::vector<Bytes> streams;
    const Container container = open_plainly(path);
    const Packet packet(av_packet_alloc());
    while (container != nullptr && av_read_frame(container.get(), packet.get()) >= 0) {
        streams.resize(std::max(streams.size(), static_cast<std::size_t>(packet->stream_index) + 1));
        Bytes& stream = streams[static_cast<std::size_t>(packet->stream_index)];
        stream.insert(stream.end(), packet->data, packet->data + packet->size);
        av_packet_unref(packet.get());
    }
    std::sort(streams.begin(), streams.end());
    return streams;
}

bool is_swept(const AVOutputFormat& muxer) {
    return (muxer.flags & AVFMT_NOFILE) == 0 &&
           (muxer.video_codec != AV_CODEC_ID_NONE || muxer.audio_codec != AV_CODEC_ID_NONE);
}

class Muxers : public testing::Test {
  protected:
    Muxers() { av_log_set_level(AV_LOG_QUIET); }

    void sweep_one(const AVOutputFormat& muxer) {
        const std::string film = film_for(muxer, path(), host_);
        if (has_two_streams(film) && are_told_apart(film))
            expect_the_same_in_any_order(film);
    }
    bool are_told_apart(const std::string& film) {
        answer(QMIO_CREATE_INTERLEAVED, kOrders[0], film);
        const std::vector<Bytes> streams = streams_of(path());
        return std::count(streams.begin(), streams.end(), Bytes()) + 2 <= static_cast<std::ptrdiff_t>(streams.size());
    }

    void expect_the_same_in_any_order(const std::string& film, std::span<const char* const> orders = kOrders) {
        ++swept_;
        for (const char* order : orders) {
            EXPECT_EQ(answer(QMIO_CREATE_INTERLEAVED, order, film), "made") << film;
            const std::vector<Bytes> expected = streams_of(path());
            EXPECT_EQ(answer(0, order, film), "made") << film << " " << order;
            const std::vector<Bytes> streams = streams_of(path());
            EXPECT_EQ(streams.size(), expected.size()) << film << " " << order;
            EXPECT_TRUE(streams == expected) << film << " " << order;
        }
    }

    std::string answer(unsigned flags, const char* order, const std::string& film) {
        return host_.answer(std::to_string(flags) + "\t" + path() + "\t" + order + "\t" + film);
    }
    std::string path() const { return utf8(folder_ / "film"); }
    void tell() const { std::cout << swept_ << " muxers of films with sound" << std::endl; }

  private:
    TempDir folder_;
    CaseProcess host_{"creating_host"};
    int swept_ = 0;
};

// Those that lose packets, or end the process, where nobody puts packets in order for them: every row of the library's
// table of them but mxf_d10, whose encoder needs most of a minute for a film of these pictures; its muxer is that of mxf.
struct OrderedFilm {
    const char* muxer;
    const char* streams;
};

constexpr OrderedFilm kOrdered[] = {
    {"asf", "vcodec=mpeg4,pix=yuv420p,size=352x288,acodec=mp2,afmt=s16,ar=48000,ac=2"},
    {"asf_stream", "vcodec=mpeg4,pix=yuv420p,size=352x288,acodec=mp2,afmt=s16,ar=48000,ac=2"},
    {"avm2", "vcodec=flv,pix=yuv420p,size=352x288,acodec=libmp3lame,afmt=s16p,ar=44100,ac=2"},
    {"dv", "vcodec=dvvideo,pix=yuv420p,size=720x576,acodec=pcm_s16le,afmt=s16,ar=48000,ac=2"},
    {"flv", "vcodec=flv,pix=yuv420p,size=352x288,acodec=aac,afmt=fltp,ar=48000,ac=2"},
    {"mxf", "vcodec=mpeg2video,pix=yuv420p,size=720x576,acodec=pcm_s16le,afmt=s16,ar=48000,ac=2"},
    {"nut", "vcodec=mpeg4,pix=yuv420p,size=352x288,acodec=aac,afmt=fltp,ar=48000,ac=2"},
    {"rtp_mpegts", "vcodec=mpeg4,pix=yuv420p,size=352x288,acodec=aac,afmt=fltp,ar=48000,ac=2"},
    {"swf", "vcodec=flv,pix=yuv420p,size=352x288,acodec=libmp3lame,afmt=s16p,ar=44100,ac=2"},
};

// SWF takes no sound but MP3, whose encoder is not FFmpeg's own.
bool can_be_encoded(const OrderedFilm& film) {
    return std::strstr(film.streams, "libmp3lame") == nullptr || avcodec_find_encoder_by_name("libmp3lame") != nullptr;
}

TEST_F(Muxers, ThatNeedPacketsInOrderGetThemSo) {
    for (const OrderedFilm& film : kOrdered) {
        if (!can_be_encoded(film))
            continue;
        const std::string options = std::string("fmt=") + film.muxer + ",r=25," + film.streams + ",threads:v=1";
        // No reader knows the chunks of asf_stream: its file is compared as if it were one stream.
        EXPECT_EQ(are_told_apart(options), std::string_view("asf_stream") != film.muxer) << options;
        expect_the_same_in_any_order(options, kTwoOrders);
    }
    tell();
}

TEST_F(Muxers, ThatNeedPacketsInOrderHaveAFilmHere) {
    for (const AVOutputFormat* muxer : file_muxers()) {
        const bool needs = ffmpeg::packet_order(*muxer) != ffmpeg::PacketOrder::any;
        const bool has = std::string_view("mxf_d10") == muxer->name ||
                         std::any_of(std::begin(kOrdered), std::end(kOrdered), [&](const OrderedFilm& film) {
                             return std::string_view(film.muxer) == muxer->name;
                         });
        EXPECT_EQ(has, needs) << muxer->name;
    }
}

TEST_F(Muxers, ASampleOfAllKeepWhatTheyGetInAnyOrder) {
    Dice dice(printed_seed(kSeed));
    std::vector<const AVOutputFormat*> all = file_muxers();
    std::erase_if(all, [](const AVOutputFormat* muxer) { return !is_swept(*muxer); });
    for (int number = 0; number < kSampleSize; ++number)
        sweep_one(*dice.one_of(all));
    tell();
}

TEST_F(Muxers, KeepWhatTheyGetInAnyOrder) {
    const char* const what = std::getenv("QMIO_SWEEP");
    if (what == nullptr)
        GTEST_SKIP() << "takes long: QMIO_SWEEP=all, or the name of a muxer";
    for (const AVOutputFormat* muxer : file_muxers())
        if (is_swept(*muxer) && (std::string("all") == what || name_of(*muxer) == what))
            sweep_one(*muxer);
    tell();
}

}  // namespace
}  // namespace qmio::test
