#include "qmlib/url.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "support/ftp_server.h"
#include "support/loopback_server.h"
#include "support/temp_dir.h"

namespace qmio::qmlib {
namespace {

struct UrlCloser {
    void operator()(Url* url) const { qmurl_close_a(url); }
};
using UrlPtr = std::unique_ptr<Url, UrlCloser>;

UrlPtr open(const std::string& name, const UrlSettings& settings = {}) {
    return UrlPtr(qmurl_open_a(0, name.c_str(), "rb", settings));
}

std::string read_to_end(Url* url, int at_once) {
    std::string all;
    std::vector<char> buffer(static_cast<size_t>(at_once));
    int count = 0;
    while ((count = qmurl_read_a(url, buffer.data(), at_once)) > 0)
        all.append(buffer.data(), static_cast<size_t>(count));
    EXPECT_EQ(count, 0);
    return all;
}

// Exactly `size` bytes from where the stream stands.
std::string read_exactly(Url* url, size_t size) {
    std::string all(size, '\0');
    size_t got = 0;
    while (got < size) {
        const int count = qmurl_read_a(url, all.data() + got, static_cast<int>(size - got));
        if (count <= 0)
            break;
        got += static_cast<size_t>(count);
    }
    all.resize(got);
    return all;
}

class Ftp : public testing::Test {
  protected:
    void SetUp() override {
        std::mt19937 random(11);
        content_.resize(300'007);  // several buffers, and no whole number of them
        for (char& byte : content_)
            byte = static_cast<char>(random());
        std::ofstream(folder_ / "some file.bin", std::ios::binary) << content_;
        std::ofstream(folder_ / "empty.bin", std::ios::binary);
        server_ = test::FtpServer::start(folder_.path());
        if (server_ == nullptr)
            GTEST_SKIP() << "needs python3 with the package pyftpdlib";
    }

    std::string url(const std::string& query = "") const { return server_->url("some file.bin") + query; }

    // The file names that clients asked for.
    std::vector<std::string> fetched() const {
        std::vector<std::string> names;
        for (const std::string& command : server_->stop())
            if (command.starts_with("RETR "))
                names.push_back(command.substr(5));
        return names;
    }

    test::TempDir folder_;
    std::string content_;
    std::unique_ptr<test::FtpServer> server_;
};

TEST_F(Ftp, FileArrivesByteForByte) {
    for (const int at_once : {1'000'000, 32'768, 1'009}) {
        const UrlPtr stream = open(url());
        ASSERT_NE(stream, nullptr);
        EXPECT_TRUE(read_to_end(stream.get(), at_once) == content_) << at_once;
        char byte = 0;
        EXPECT_EQ(qmurl_read_a(stream.get(), &byte, 1), 0);
    }
}

TEST_F(Ftp, EmptyFileIsAtItsEnd) {
    const UrlPtr stream = open(server_->url("empty.bin"));
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(read_to_end(stream.get(), 100), "");
}

TEST_F(Ftp, QueryIsNotPartOfTheFilesName) {
    const UrlPtr stream = open(url("?passive&timeout=5000000"));
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(read_exactly(stream.get(), 64), content_.substr(0, 64));
    const std::vector<std::string> names = fetched();
    ASSERT_FALSE(names.empty());
    EXPECT_TRUE(names[0].ends_with("some file.bin")) << names[0];
}

TEST_F(Ftp, PrefixMayBeWrittenInCapitals) {
    const UrlPtr stream = open("FtP" + url().substr(3));
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(read_exactly(stream.get(), 64), content_.substr(0, 64));
}

TEST_F(Ftp, PositionIsSetFromStartCurrentAndEnd) {
    const UrlPtr stream = open(url());
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(qmurl_seek_a(stream.get(), 100'000, SEEK_SET), 100'000);
    EXPECT_EQ(read_exactly(stream.get(), 50), content_.substr(100'000, 50));
    EXPECT_EQ(qmurl_seek_a(stream.get(), 50, SEEK_CUR), 100'100);
    EXPECT_EQ(read_exactly(stream.get(), 50), content_.substr(100'100, 50));
    EXPECT_EQ(qmurl_seek_a(stream.get(), -7, SEEK_END), 300'000);
    EXPECT_EQ(read_to_end(stream.get(), 100), content_.substr(300'000));
    EXPECT_EQ(qmurl_seek_a(stream.get(), 0, SEEK_SET), 0);
    EXPECT_TRUE(read_to_end(stream.get(), 100'000) == content_);
}

TEST_F(Ftp, PositionsThatDoNotExistAreRefused) {
    const UrlPtr stream = open(url());
    ASSERT_NE(stream, nullptr);
    EXPECT_LT(qmurl_seek_a(stream.get(), -1, SEEK_SET), 0);
    EXPECT_LT(qmurl_seek_a(stream.get(), -300'008, SEEK_END), 0);
    EXPECT_LT(qmurl_seek_a(stream.get(), 0, 3), 0);
    EXPECT_EQ(read_exactly(stream.get(), 64), content_.substr(0, 64));
}

TEST_F(Ftp, WrongPasswordDoesNotOpen) {
    EXPECT_EQ(open(server_->url("some file.bin", "wrong")), nullptr);
}

TEST_F(Ftp, MissingFileIsAnErrorAndNotAnEnd) {
    const UrlPtr stream = open(server_->url("no such file.bin"));
    char byte = 0;
    EXPECT_TRUE(stream == nullptr || qmurl_read_a(stream.get(), &byte, 1) < 0);
}

TEST_F(Ftp, AbsurdTimeLimitsStillOpen) {
    for (const char* query : {"?timeout=0", "?timeout=-5", "?timeout=99999999999999999999", "?timeout=99999999999",
                              "?timeout=soon", "?timeout", "?rw_timeout=5000000"})
        EXPECT_NE(open(url(query)), nullptr) << query;
}

TEST_F(Ftp, CallerCanRefuseToWaitAnyLonger) {
    int asked = 0;
    UrlSettings settings;
    settings.interrupt.callback = [](void* count) { return ++*static_cast<int*>(count) > 0 ? 1 : 0; };
    settings.interrupt.opaque = &asked;
    EXPECT_EQ(open(url(), settings), nullptr);
    EXPECT_GT(asked, 0);
}

// Everything that FFmpeg logs, and what is written to the console.
class LogText {
  public:
    LogText() : level_(av_log_get_level()) {
        text().clear();
        av_log_set_level(AV_LOG_TRACE);
        av_log_set_callback([](void*, int, const char* format, va_list arguments) {
            char line[4096];
            std::vsnprintf(line, sizeof line, format, arguments);
            text() += line;
        });
    }
    ~LogText() {
        av_log_set_callback(av_log_default_callback);
        av_log_set_level(level_);
    }
    static std::string& text() {
        static std::string all;
        return all;
    }

  private:
    int level_;
};

TEST_F(Ftp, PasswordIsNeverLogged) {
    const LogText log;
    testing::internal::CaptureStderr();
    EXPECT_NE(open(url("?passive")), nullptr);
    EXPECT_EQ(open(server_->url("some file.bin", "other-word")), nullptr);
    const UrlPtr missing = open(server_->url("no such file.bin"));
    char byte = 0;
    qmurl_read_a(missing.get(), &byte, 1);
    const std::string text = LogText::text() + testing::internal::GetCapturedStderr();
    EXPECT_EQ(text.find("s3cret-word"), text.npos) << text;
    EXPECT_EQ(text.find("other-word"), text.npos) << text;
}

std::string silent_url(const test::LoopbackServer& server, const std::string& query = "") {
    return "ftp" + server.url().substr(3) + "/file.bin" + query;
}

TEST(UrlWaiting, SilentServerFailsWhenTheTimeIsUp) {
    const test::LoopbackServer server({});
    UrlSettings settings;
    settings.timeout = 50'000;
    EXPECT_EQ(open(silent_url(server), settings), nullptr);
}

TEST(UrlWaiting, TimeLimitOfTheQueryComesFirst) {
    for (const char* query : {"?passive&timeout=50000", "?rw_timeout=50000", "?timeout=50000&rw_timeout=0"}) {
        const test::LoopbackServer server({});
        UrlSettings settings;
        settings.timeout = 0;  // without the query: for ever
        EXPECT_EQ(open(silent_url(server, query), settings), nullptr) << query;
    }
}

TEST(UrlWaiting, CallerEndsTheWaitForASilentServer) {
    const test::LoopbackServer server({});
    int left = 3;
    UrlSettings settings;
    settings.timeout = 0;
    settings.interrupt.callback = [](void* count) { return --*static_cast<int*>(count) < 0 ? 1 : 0; };
    settings.interrupt.opaque = &left;
    EXPECT_EQ(open(silent_url(server), settings), nullptr);
    EXPECT_LT(left, 0);
}

TEST(Url, WhatIsNoFtpNameDoesNotOpen) {
    const test::TempDir folder;
    std::ofstream(folder / "file.bin") << "bytes";
    EXPECT_EQ(open(test::utf8(folder / "file.bin")), nullptr);
    EXPECT_EQ(open("file:" + test::utf8(folder / "file.bin")), nullptr);
}

TEST(Url, NameWithoutAHostConnectsToNothing) {
    const LogText log;
    for (const char* name : {"", "ftp", "ftp:", "ftp:/", "ftp://", "ftp://?passive", "ftp:?", "ftp:///file",
                             "ftp://anna:word@/file", "ftp://anna:word@:21/file"})
        EXPECT_EQ(open(name), nullptr) << name;
    EXPECT_EQ(LogText::text(), "");
}

TEST(Url, OnlyReadingIsOffered) {
    EXPECT_EQ(qmurl_open_a(0, "ftp://127.0.0.1/file", "wb"), nullptr);
    EXPECT_EQ(qmurl_open_a(0, "ftp://127.0.0.1/file", ""), nullptr);
    EXPECT_EQ(qmurl_open_a(0, "ftp://127.0.0.1/file", nullptr), nullptr);
    EXPECT_EQ(qmurl_open_a(0, nullptr, "rb"), nullptr);
}

TEST(Url, NoStreamIsAnErrorAndNothingToClose) {
    char byte = 0;
    EXPECT_LT(qmurl_read_a(nullptr, &byte, 1), 0);
    EXPECT_LT(qmurl_seek_a(nullptr, 0, SEEK_SET), 0);
    EXPECT_EQ(qmurl_close_a(nullptr), 0);
}

}  // namespace
}  // namespace qmio::qmlib
