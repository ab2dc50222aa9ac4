// A source that gives nothing for as long as it likes: a pipe whose writer holds it open.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <qmio.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <future>
#include <thread>

#include "core/process/settings.h"
#include "support/media.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

// The front of a file in a pipe, then nothing.
class BlockedSource : public testing::Test {
  protected:
    void SetUp() override {
        std::signal(SIGPIPE, SIG_IGN);
        ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
        std::future<void> writer = std::async(std::launch::async, [this] { write_front(); });
        media_ = open_on_one_thread(path_);
        writer.get();
        ASSERT_NE(media_, nullptr);
    }
    void TearDown() override {
        if (pipe_ >= 0)
            ::close(pipe_);
    }

    void write_front() {
        const Bytes bytes = read_bytes(media_path("h264.mkv"));
        const std::size_t front = std::min<std::size_t>(bytes.size() / 2, 60'000);  // less than a pipe holds
        pipe_ = ::open(path_.c_str(), O_WRONLY);
        EXPECT_EQ(::write(pipe_, bytes.data(), front), static_cast<ssize_t>(front));
    }

    // Until the thread has read everything and, as far as can be told, waits for more.
    void let_it_wait() const {
        for (int left = 1; left > 0; std::this_thread::sleep_for(std::chrono::milliseconds(100)))
            ASSERT_EQ(::ioctl(pipe_, FIONREAD, &left), 0);
    }

    // True once nobody reads the pipe any more: the source was closed. The first byte ends the wait of its reader.
    bool is_given_up() const {
        const char byte = 0;
        while (::write(pipe_, &byte, 1) == 1)
            continue;
        return errno == EPIPE;
    }

    const TempDir folder_;
    const std::filesystem::path path_ = folder_ / "pipe.mkv";
    int pipe_ = -1;
    Media media_;
};

// Reading a pipe is not interrupted by anything. The thread frees what it uses when it comes back.
TEST_F(BlockedSource, IsClosedAllTheSame) {
    qmio_fifo_ts(media_.get(), 0, -1, 0, -1, 1);
    let_it_wait();
    media_.reset();
    EXPECT_TRUE(is_given_up());
}

TEST_F(BlockedSource, CancellingWakesTheHostThatWaitsForIt) {
    qmio_fifo_ts(media_.get(), 0, -1, 0, -1, 1);
    std::future<int> host = std::async(std::launch::async, [this] { return qmio_get_frame(media_.get()); });
    qmio_cancel(media_.get());
    EXPECT_EQ(host.get(), -1);
    EXPECT_EQ(qmio_get_frame(media_.get()), -1);
    media_.reset();
    EXPECT_TRUE(is_given_up());
}

TEST_F(BlockedSource, TellsItsEndOnceThoughItIsEndedTwice) {
    // For good: the thread that is left behind looks at it when it likes.
    const_cast<Settings&>(settings()).trace[static_cast<std::size_t>(TraceSwitch::fifo)] = 1;
    testing::internal::CaptureStderr();
    qmio_fifo_ts(media_.get(), 0, -1, 0, -1, 1);
    let_it_wait();
    qmio_cancel(media_.get());
    media_.reset();
    const std::string text = testing::internal::GetCapturedStderr();
    const std::size_t first = text.find("*** avfifo_delete");
    EXPECT_NE(first, text.npos);
    EXPECT_EQ(text.find("*** avfifo_delete", first + 1), text.npos) << text;
    EXPECT_TRUE(is_given_up());
}

TEST_F(BlockedSource, IsNotReadByASecondThreadAsWell) {
    qmio_fifo_ts(media_.get(), 0, -1, 0, -1, 1);
    let_it_wait();
    qmio_fifo_ts(media_.get(), 0, -1, 0, -1, 1);
    EXPECT_EQ(qmio_get_frame(media_.get()), -1);
    media_.reset();
    EXPECT_TRUE(is_given_up());
}

TEST_F(BlockedSource, GivesWhatItHasAtItsEnd) {
    qmio_fifo_ts(media_.get(), 0, -1, 0, -1, 1);
    ::close(pipe_);
    pipe_ = -1;
    int packets = 0;
    while (qmio_get_frame(media_.get()) >= 0)
        ++packets;
    EXPECT_GT(packets, 5);
}

}  // namespace
}  // namespace qmio::test
