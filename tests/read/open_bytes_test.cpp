// Containers in a block of memory and behind the host's own calls: read and sought they are what the file is; what goes
// wrong in the host's calls gives documented results.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "support/documented_results.h"
#include "support/host_bytes.h"
#include "support/media.h"
#include "support/trace_lines.h"
#include "support/what_is_read.h"

namespace qmio::test {
namespace {

constexpr const char* kFilm = "small_h264_aac.mp4";

HostBytes host_of(const std::string& name) {
    HostBytes host;
    host.bytes = read_bytes(media_path(name));
    return host;
}

Media open_block(const Bytes& bytes, const std::string& options = "") {
    return Media(qmio_open_mem(bytes.data(), static_cast<int64_t>(bytes.size()), options.c_str()));
}

WhatIsRead film_as_a_file() {
    return what_is_read(open_on_one_thread(media_path(kFilm)));
}

TEST(Bytes, OfAFilmAreReadAndSoughtAsTheFileIs) {
    HostBytes host = host_of(kFilm);
    const WhatIsRead file = film_as_a_file();
    EXPECT_GT(file.pictures.size(), 10U);
    EXPECT_GT(file.sound.size(), 1000U);
    EXPECT_TRUE(what_is_read(open_block(host.bytes, "threads=1")) == file);
    EXPECT_TRUE(what_is_read(host.open("threads=1")) == file);
}

TEST(Bytes, ComeInAnyPortions) {
    const WhatIsRead file = film_as_a_file();
    for (const int most : {1, 7, 1000}) {
        HostBytes host = host_of(kFilm);
        host.most_at_once = most;
        EXPECT_TRUE(what_is_read(host.open("threads=1")) == file) << most;
    }
}

TEST(Bytes, MayLetTheLibraryAskAgain) {
    HostBytes host = host_of(kFilm);
    host.again_every = 1;
    host.most_at_once = 20000;
    EXPECT_TRUE(what_is_read(host.open("threads=1")) == film_as_a_file());
}

TEST(Bytes, NeedNotTellTheirSize) {
    HostBytes host = host_of(kFilm);
    host.tells_size = false;
    EXPECT_TRUE(what_is_read(host.open("threads=1")) == film_as_a_file());
}

TEST(Bytes, ThatGoOneWayAreReadToTheirEnd) {
    for (const char* name : {"small_mpeg4_pcm.avi", "h264.ts", "small_vp8.webm", "fragmented.mp4"}) {
        HostBytes host = host_of(name);
        const Media media = host.open_without_seeking("threads=1");
        ASSERT_TRUE(media) << name;
        const Media file = open_on_one_thread(media_path(name));
        EXPECT_EQ(pictures_in_order(media), pictures_in_order(file)) << name;
    }
}

TEST(Bytes, AreOfTheFormatThatTheOptionsName) {
    const Bytes sound(48000);
    EXPECT_FALSE(open_block(sound));
    const Media media = open_block(sound, "fmt=s16le,sample_rate=24000");
    ASSERT_TRUE(media);
    EXPECT_EQ(file_param(media, "sample_rate"), 24000);
    EXPECT_EQ(std::string(qmio_get_file_info(media.get(), "fmt")), "s16le");
    EXPECT_FALSE(open_block(sound, "fmt=nonsense"));
    EXPECT_FALSE(open_block(read_bytes(media_path("still.png")), "fmt=image2")) << "it opens files itself";
}

// Flags without a sign replace all that there are, those among them that FFmpeg keeps for itself.
TEST(Bytes, TakeFlagsOfFfmpegsThatReplaceAll) {
    const Bytes film = read_bytes(media_path(kFilm));
    EXPECT_TRUE(open_block(film, "fflags=genpts"));
    EXPECT_TRUE(open_block(film, "fflags=0"));
    EXPECT_FALSE(open_block(film, "fflags=3-1genpts"));
    EXPECT_FALSE(open_block(film, "fflags=genpts,probesize=many"));
}

TEST(Bytes, ThatAreNoneAreRefused) {
    const uint8_t byte = 0;
    HostBytes host = host_of(kFilm);
    EXPECT_EQ(qmio_open_mem(nullptr, 10, nullptr), nullptr);
    EXPECT_EQ(qmio_open_mem(&byte, -1, nullptr), nullptr);
    EXPECT_EQ(qmio_open_mem(&byte, INT64_MAX, nullptr), nullptr);
    EXPECT_EQ(qmio_open_mem(&byte, 0, nullptr), nullptr);
    EXPECT_EQ(qmio_open_mem(&byte, 1, nullptr), nullptr);
    EXPECT_EQ(qmio_open_io(nullptr, HostBytes::seek, &host, nullptr), nullptr);
    host.bytes.clear();
    EXPECT_FALSE(host.open());
    EXPECT_FALSE(host.open_without_seeking());
}

// ---- what goes wrong ----

void expect_documented_results(const Media& media) {
    if (media == nullptr)
        return;
    Bytes buffer(picture_buffer(media));
    for (int picture = 0; picture < 12; ++picture)
        EXPECT_PRED1(is_reading_result, qmio_read_frame(media.get(), buffer.data()));
    for (const int frame : {20, 3}) {
        EXPECT_PRED2(is_seeking_result, frame, qmio_seek_frame(media.get(), frame));
        EXPECT_PRED1(is_reading_result, qmio_read_frame(media.get(), buffer.data()));
    }
}

int readings_of_film() {
    HostBytes host = host_of(kFilm);
    host.most_at_once = 3000;
    expect_documented_results(host.open("threads=1"));
    return host.reads;
}

TEST(HostCalls, ThatFailAnywhereGiveDocumentedResults) {
    const int readings = readings_of_film();
    ASSERT_GT(readings, 10);
    for (int failing = 0; failing < readings; failing += 1 + readings / 40) {
        HostBytes host = host_of(kFilm);
        host.most_at_once = 3000;
        host.failing_read = failing;
        expect_documented_results(host.open("threads=1"));
    }
    for (int failing = 0; failing < 12; ++failing) {
        HostBytes host = host_of(kFilm);
        host.failing_seek = failing;
        expect_documented_results(host.open("threads=1"));
    }
}

TEST(HostCalls, ThatEndEarlyEndReading) {
    const Bytes whole = read_bytes(media_path(kFilm));
    for (std::size_t kept = 0; kept < whole.size(); kept += 1 + whole.size() / 40) {
        HostBytes host;
        host.bytes.assign(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(kept));
        expect_documented_results(host.open("threads=1"));
        expect_documented_results(open_block(host.bytes, "threads=1"));
    }
}

TEST(HostCalls, ThatTellNonsenseGiveDocumentedResults) {
    struct Liar {
        static int read(void*, void*, int size) { return size + 1; }
        static int64_t seek(void*, int64_t, int) { return INT64_MAX; }
    };
    EXPECT_FALSE(Media(qmio_open_io(Liar::read, Liar::seek, nullptr, nullptr)));
    HostBytes host = host_of(kFilm);
    expect_documented_results(Media(qmio_open_io(HostBytes::read, Liar::seek, &host, nullptr)));
}

// They may not; but then they do not bring the process down either.
TEST(HostCalls, ThatThrowEndReading) {
    struct Thrower {
        static int read(void*, void*, int) { throw 1; }
    };
    EXPECT_FALSE(Media(qmio_open_io(Thrower::read, nullptr, nullptr, nullptr)));
}

// A host that has nothing yet is left alone by a cancel from another thread.
TEST(HostCalls, ThatWaitAreLeftByACancel) {
    struct Waiting : HostBytes {
        std::atomic<bool> waits{false};
        std::atomic<int> asked{0};
        static int read(void* opaque, void* buf, int size) {
            auto& host = *static_cast<Waiting*>(opaque);
            if (!host.waits)
                return HostBytes::read(&host, buf, size);
            ++host.asked;
            return QMIO_BYTES_AGAIN;
        }
    };
    Waiting host;
    host.bytes = read_bytes(media_path("h264.ts"));
    const Media media(qmio_open_io(Waiting::read, nullptr, &host, "threads=1,probesize=32"));
    ASSERT_TRUE(media);
    host.waits = true;
    std::atomic<bool> ended{false};
    std::thread reader([&] {
        while (qmio_get_frame(media.get()) >= 0) {
        }
        ended = true;
    });
    while (host.asked < 3 && !ended)
        std::this_thread::yield();
    EXPECT_FALSE(ended);
    qmio_cancel(media.get());
    reader.join();
}

TEST(HostCalls, AreNotCalledAfterACancel) {
    HostBytes host = host_of(kFilm);
    const Media media = host.open("threads=1");
    ASSERT_TRUE(media);
    qmio_cancel(media.get());
    const int reads = host.reads;
    EXPECT_EQ(qmio_get_frame(media.get()), -1);
    EXPECT_EQ(host.reads, reads);
}

// ---- what the bytes name ----

bool holds_nothing(const Media& media) {
    return media == nullptr || file_param(media, "nvideo") + file_param(media, "naudio") == 0;
}

TEST(Bytes, WithAPlaylistOpenNothingElse) {
    const std::string target = media_path(kFilm).generic_string();
    const std::string playlists[] = {
        "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + target + "\n#EXT-X-ENDLIST\n",
        "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\nfile://" + target + "\n#EXT-X-ENDLIST\n",
        "ffconcat version 1.0\nfile '" + target + "'\n",
        "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\nm=video 9 RTP/AVP 96\na=rtpmap:96 H264/90000\n",
    };
    for (const std::string& playlist : playlists) {
        HostBytes host;
        host.bytes.assign(playlist.begin(), playlist.end());
        for (const char* options : {"", "safe=0", "protocol_whitelist=file", "fmt=hls,allowed_extensions=ALL",
                                    "fmt=concat,safe=0", "fmt=sdp", "fmt=hls,protocol_whitelist=file"}) {
            EXPECT_TRUE(holds_nothing(open_block(host.bytes, options))) << playlist << options;
            host.position = 0;
            EXPECT_TRUE(holds_nothing(host.open(options))) << playlist << options;
        }
    }
}

TEST(Bytes, TellInTheTraceWhatTheyWereRefused) {
    const TraceLines lines(TraceSwitch::open);
    const std::string playlist = "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\nfile:///elsewhere.ts\n#EXT-X-ENDLIST\n";
    EXPECT_FALSE(open_block({playlist.begin(), playlist.end()}, "fmt=hls"));
    const std::vector<std::string> all = lines.read();
    EXPECT_TRUE(std::any_of(all.begin(), all.end(), [](const std::string& line) {
        return line.find("refused [") != line.npos && line.find("elsewhere.ts") != line.npos;
    }));
}

}  // namespace
}  // namespace qmio::test
