// Media on an FTP server, opened by FFmpeg itself or, on request, passively through the library's own I/O.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "core/handle/media_handle.h"
#include "support/ftp_server.h"
#include "support/loopback_server.h"
#include "support/media.h"
#include "support/open_media.h"
#include "support/temp_dir.h"
#include "support/trace_lines.h"

namespace {

using namespace qmio::test;

constexpr const char* kPassword = "s3cret-word";

class FtpSource : public testing::Test {
  protected:
    void SetUp() override {
        for (const char* name : {"still.png", "small_h264_aac.mp4", "two_tracks_pcm_mp2.mkv"})
            std::filesystem::copy_file(media_path(name), folder_ / name);
        server_ = FtpServer::start(folder_.path());
        if (server_ == nullptr)
            GTEST_SKIP() << "needs python3 with the package pyftpdlib";
    }

    Media open(const std::string& path) const { return open_media(server_->url(path)); }

    TempDir folder_;
    std::unique_ptr<FtpServer> server_;
};

bool is_passive(const Media& media) {
    return (media->container.format_ctx->flags & AVFMT_FLAG_CUSTOM_IO) != 0;
}

TEST_F(FtpSource, DeliversThePicturesOfTheFile) {
    const Media media = open("two_tracks_pcm_mp2.mkv");
    ASSERT_TRUE(media);
    EXPECT_FALSE(is_passive(media));
    EXPECT_EQ(all_pictures(media, 100), all_pictures(open_media(media_path("two_tracks_pcm_mp2.mkv")), 100));
}

TEST_F(FtpSource, DeliversThePicturesOfTheFilePassively) {
    const Media media = open("two_tracks_pcm_mp2.mkv?passive");
    ASSERT_TRUE(media);
    EXPECT_TRUE(is_passive(media));
    EXPECT_EQ(all_pictures(media, 100), all_pictures(open_media(media_path("two_tracks_pcm_mp2.mkv")), 100));
}

TEST_F(FtpSource, DeliversStillsPassively) {
    const Media media = open("still.png?passive");
    ASSERT_TRUE(media);
    EXPECT_EQ(next_picture(media).pixels, next_picture(open_media(media_path("still.png"))).pixels);
}

TEST_F(FtpSource, IsPassiveWhereverTheKeyStandsAndWhateverItsValue) {
    for (const char* query : {"?passive", "?passive=1", "?passive=0", "?passive=", "?a=b&passive", "?passive&a=b",
                              "?a=b passive=no", "?a=b\tpassive", "?\r\npassive\r\n"}) {
        const Media media = open(std::string("still.png") + query);
        ASSERT_TRUE(media) << query;
        EXPECT_TRUE(is_passive(media)) << query;
    }
}

// The key is compared with its case; a longer key is another key.
TEST_F(FtpSource, IsNotPassiveWithoutTheExactKey) {
    for (const char* query : {"?PASSIVE", "?Passive=1", "?passive1", "?notpassive", "?a=passive", "?"}) {
        const Media media = open(std::string("still.png") + query);
        EXPECT_TRUE(!media || !is_passive(media)) << query;
    }
}

TEST_F(FtpSource, TakesThePrefixInAnyCase) {
    for (const std::string query : {"", "?passive"}) {
        std::string url = server_->url("still.png" + query);
        url.replace(0, 3, "FTP");
        const Media media = open_media(url);
        ASSERT_TRUE(media) << url;
        EXPECT_EQ(is_passive(media), !query.empty());
        url.replace(0, 3, "Ftp");
        const std::wstring wide(url.begin(), url.end());
        EXPECT_TRUE(Media(qmio_open_w(wide.c_str()))) << url;
    }
}

// What arrives passively is a stream, in which FFmpeg looks for other places by reading on. The picture that was asked for
// comes, or none, and never another one.
TEST_F(FtpSource, CannotBeSoughtPassively) {
    const Media media = open("two_tracks_pcm_mp2.mkv?passive");
    ASSERT_TRUE(media);
    EXPECT_EQ(media->container.format_ctx->pb->seekable, 0);
    const std::vector<Bytes> plain = all_pictures(open_media(media_path("two_tracks_pcm_mp2.mkv")), 100);
    EXPECT_TRUE(next_picture(media).pixels == plain.at(0));
    const int stands_at = qmio_seek_frame(media.get(), 40);
    const Delivered next = next_picture(media);
    if (stands_at == 40)
        EXPECT_TRUE(next.result == QMIO_NO_PICTURE || next.pixels == plain.at(40));
    else
        EXPECT_EQ(stands_at, -1);
    EXPECT_EQ(qmio_seek_frame(media.get(), 0) <= 0, true);
}

TEST_F(FtpSource, ThatIsMissingFailsTheOpen) {
    EXPECT_FALSE(open("missing.mkv"));
    EXPECT_FALSE(open("missing.mkv?passive"));
    EXPECT_FALSE(open(""));
    EXPECT_FALSE(open("?passive"));
}

TEST_F(FtpSource, WithAWrongPasswordFailsTheOpen) {
    EXPECT_FALSE(open_media(server_->url("still.png?passive", "wrong")));
    EXPECT_FALSE(open_media(server_->url("still.png", "wrong")));
}

TEST_F(FtpSource, WithoutAServerFailsTheOpen) {
    const std::string url = server_->url("still.png");
    server_->stop();
    // FFmpeg on Windows takes a refused connection for a slow one until its time is up.
    EXPECT_FALSE(open_media(url, "timeout=200000"));
    EXPECT_FALSE(open_media(url + "?passive", "timeout=200000"));
}

TEST_F(FtpSource, IsNotLeftConnectedWhenClosedAndWhenFailed) {
    open("still.png?passive");
    const auto before = open_descriptors();
    if (!before)
        GTEST_SKIP() << "this system does not tell the open descriptors";
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_TRUE(open("still.png?passive"));
        EXPECT_TRUE(open("still.png"));
        EXPECT_FALSE(open("missing.png?passive"));
        EXPECT_FALSE(open("missing.png"));
        qmio_cancel(open("two_tracks_pcm_mp2.mkv?passive").get());
    }
    EXPECT_EQ(open_descriptors(), before);
}

// A playlist that a server hands out must not lead the reader to this machine's files.
TEST_F(FtpSource, WithAPlaylistOpensNoLocalFile) {
    const std::string target = media_path("small_h264_aac.mp4").generic_string();
    std::ofstream(folder_ / "list.m3u8") << "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n"
                                         << target << "\n#EXT-X-ENDLIST\n";
    std::ofstream(folder_ / "list.ffconcat") << "ffconcat version 1.0\nfile 'file:" << target << "'\n";
    EXPECT_FALSE(open("list.m3u8?passive"));
    EXPECT_FALSE(open("list.ffconcat?passive"));
}

TEST_F(FtpSource, WithAPlaylistTellsInTheTraceWhatItDidNotOpen) {
    std::ofstream(folder_ / "list.m3u8")
        << "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\nhttp://127.0.0.1:9/elsewhere.ts\n#EXT-X-ENDLIST\n";
    const TraceLines lines(qmio::TraceSwitch::open);
    EXPECT_FALSE(open("list.m3u8?passive"));
    const std::vector<std::string> all = lines.read();
    EXPECT_EQ(std::count(all.begin(), all.end(), "qmio_open_u8: refused [http://127.0.0.1:9/elsewhere.ts]"), 1);
}

// Everything the library can write is switched on, FFmpeg's own messages included.
class TracedFtpSource : public FtpSource {
  protected:
    void SetUp() override {
        FtpSource::SetUp();
        if (IsSkipped())
            return;
        const std::string name = library_.filename().string();
        library_copy_ = library_folder_ / name;
        std::filesystem::copy_file(library_, library_copy_);
        std::ofstream(library_folder_ / (name.substr(0, name.find('.')) + ".cfx"))
            << "<config><log>debug</log><trace><options>1</options><open>1</open><read>1</read><seek>1</seek>"
               "<close>1</close><decoder>1</decoder></trace><log_file>"
            << utf8(log_file_) << "</log_file>" << further_entries() << "</config>";
    }

    virtual const char* further_entries() const { return ""; }

    // What an open wrote to the console and to the log file.
    std::string written_by(const std::string& url, const char* outcome, const std::string& options = "") const {
        const Outcome host = run(host_program("loading_host"), {utf8(library_copy_), url, options});
        EXPECT_EQ(host.exit_code, 0) << host.error_text;
        EXPECT_EQ(host.output.substr(0, 6), outcome) << url;
        EXPECT_NE(host.error_text.find("qmio_open_u8: "), std::string::npos) << "nothing was traced";
        const Bytes log = read_bytes(log_file_);
        EXPECT_FALSE(log.empty());
        return host.error_text + std::string(log.begin(), log.end());
    }

    const std::filesystem::path library_ = path_of(QMIO_LIBRARY);
    TempDir library_folder_;
    std::filesystem::path library_copy_;
    std::filesystem::path log_file_ = library_folder_ / "written.log";
};

TEST_F(TracedFtpSource, NeverShowsThePassword) {
    for (const char* path :
         {"still.png?passive", "still.png", "two_tracks_pcm_mp2.mkv", "two_tracks_pcm_mp2.mkv?passive"})
        EXPECT_EQ(written_by(server_->url(path), "opened").find(kPassword), std::string::npos) << path;
}

TEST_F(TracedFtpSource, NeverShowsThePasswordWhenItFails) {
    for (const char* path : {"missing.png?passive", "missing.png"})
        EXPECT_EQ(written_by(server_->url(path), "failed").find(kPassword), std::string::npos) << path;
    for (const char* path : {"still.png?passive", "still.png"})
        EXPECT_EQ(written_by(server_->url(path, "hush-hush"), "failed").find("hush-hush"), std::string::npos) << path;
}

class TrustedFtpSource : public TracedFtpSource {
    const char* further_entries() const override { return "<nested_open>1</nested_open>"; }
};

TEST_F(TrustedFtpSource, OpensWhatItsPlaylistNames) {
    std::ofstream(folder_ / "list.ffconcat") << "ffconcat version 1.0\nfile 'two_tracks_pcm_mp2.mkv'\n";
    written_by(server_->url("list.ffconcat?passive"), "opened", "safe=0");
}

}  // namespace
