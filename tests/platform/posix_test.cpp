// What only systems with fork, links and /dev/shm have.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/file.h"
#include "platform/module_path_in.h"
#include "platform/named_mutex.h"
#include "platform/posix/shared_directory.h"
#include "platform/shared_mapping.h"
#include "platform/system.h"
#include "platform/text.h"
#include "support/process.h"
#include "support/shared_counts.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::platform;
using qmio::test::host_program;
using qmio::test::module_path_in;
using qmio::test::Process;
using qmio::test::SharedCounts;
using qmio::test::TempDir;
using qmio::test::unique_name;

std::filesystem::path shared_folder() {
    return "/dev/shm/qmio-" + std::to_string(::geteuid());
}

TEST(ForkWithoutExec, DoesNotHandDownTheMutex) {
    const std::string name = "heir-" + unique_name();
    Process victim(host_program("forking_mutex_holder"), {name, "heir"});
    ASSERT_EQ(victim.read_line(), "locked");
    victim.kill();
    const auto mutex = NamedMutex::open(name);
    ASSERT_TRUE(mutex);
    mutex->lock();
    mutex->unlock();
}

// All the descriptors that the process may have.
class NoDescriptorsLeft {
  public:
    NoDescriptorsLeft() {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        rlimit few = before_;
        few.rlim_cur = std::min<rlim_t>(few.rlim_cur, 200);
        ::setrlimit(RLIMIT_NOFILE, &few);
        for (int next = ::dup(0); next >= 0; next = ::dup(0))
            taken_.push_back(next);
    }
    NoDescriptorsLeft(const NoDescriptorsLeft&) = delete;
    NoDescriptorsLeft& operator=(const NoDescriptorsLeft&) = delete;
    ~NoDescriptorsLeft() {
        for (const int descriptor : taken_)
            ::close(descriptor);
        ::setrlimit(RLIMIT_NOFILE, &before_);
    }

  private:
    rlimit before_{};
    std::vector<int> taken_;
};

TEST(ScarceDescriptors, DoNotLetTwoProcessesIntoAMutex) {
    const std::string name = "scarce-" + unique_name();
    const auto mapping = SharedMapping::create("counts-" + name, 4096);
    const auto mutex = NamedMutex::open(name);
    ASSERT_TRUE(mapping && mutex);
    auto& counts = *static_cast<SharedCounts*>(mapping->data());
    { const std::lock_guard looked_up(*mutex); }  // sanitizers need a descriptor for a type that they see first
    Process other(host_program("mutex_holder"), {name});
    other.write_line("count counts-" + name + " 1000");
    ASSERT_EQ(other.read_line(), "counting");
    {
        const NoDescriptorsLeft none;
        for (int round = 0; round < 1000; ++round) {
            const std::lock_guard inside(*mutex);
            visit(counts, -1);
        }
    }
    EXPECT_EQ(other.read_line(), "counted");
    EXPECT_EQ(counts.visits, 2000);
    EXPECT_EQ(counts.meetings, 0);
}

// A handler that does nothing but interrupt what waits in the system.
class InterruptingSignal {
  public:
    InterruptingSignal() {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        ::sigaction(SIGUSR1, &action, &before_);
    }
    InterruptingSignal(const InterruptingSignal&) = delete;
    InterruptingSignal& operator=(const InterruptingSignal&) = delete;
    ~InterruptingSignal() { ::sigaction(SIGUSR1, &before_, nullptr); }

    static void send_some(std::thread& thread) {
        for (int i = 0; i < 20; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            ::pthread_kill(thread.native_handle(), SIGUSR1);
        }
    }

  private:
    struct sigaction before_ {};
};

class InterruptedThread : public testing::Test {
  protected:
    std::string made_pipe() const {
        ::mkfifo((folder_ / "pipe").c_str(), 0600);
        return (folder_ / "pipe").string();
    }

    const TempDir folder_;
    const InterruptingSignal signal_;
};

TEST_F(InterruptedThread, IsNotLetIntoAMutexThatAnotherProcessHas) {
    const std::string name = "interrupted-" + unique_name();
    Process other(host_program("mutex_holder"), {name});
    other.write_line("lock");
    ASSERT_EQ(other.read_line(), "locked");
    const auto mutex = NamedMutex::open(name);
    ASSERT_TRUE(mutex);
    std::atomic<bool> is_inside = false;
    std::thread waiting([&] {
        const std::lock_guard inside(*mutex);
        is_inside = true;
    });
    InterruptingSignal::send_some(waiting);
    EXPECT_FALSE(is_inside);
    other.write_line("unlock");
    waiting.join();
    EXPECT_TRUE(is_inside);
}

TEST_F(InterruptedThread, ReadsOn) {
    const Descriptor writing(::open(made_pipe().c_str(), O_RDWR | O_CLOEXEC));
    const auto file = ReadFile::open(made_pipe(), kCodePageUtf8);
    ASSERT_TRUE(writing && file);
    int count = -1;
    std::thread reading([&] {
        std::array<uint8_t, 8> buffer{};
        count = file->read(buffer.data(), static_cast<int>(buffer.size()));
    });
    InterruptingSignal::send_some(reading);
    ASSERT_EQ(::write(writing.get(), "late", 4), 4);
    reading.join();
    EXPECT_EQ(count, 4);
    EXPECT_EQ(file->size(), -1) << "which a pipe has not";
}

TEST_F(InterruptedThread, WritesItsLineOnceThereIsRoom) {
    const Descriptor reading(::open(made_pipe().c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    const auto file = AppendFile::open(made_pipe());
    ASSERT_TRUE(reading && file);
    const std::string much(4096, '.');
    while (::write(reading.get(), much.data(), much.size()) > 0) {
    }
    std::thread writing([&] { file->write("the line"); });
    InterruptingSignal::send_some(writing);
    std::string read;
    std::array<char, 4096> buffer{};
    for (bool is_over = false; !is_over;) {
        const ssize_t count = ::read(reading.get(), buffer.data(), buffer.size());
        is_over = count <= 0 && !writing.joinable();
        read.append(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
        if (count <= 0 && writing.joinable())
            writing.join();
    }
    EXPECT_EQ(read.substr(read.find_first_not_of('.')), "the line");
}

TEST(ReadFileOnPosix, TellsWhyItCannotBeOpened) {
    const TempDir folder;
    int error = 0;
    EXPECT_FALSE(ReadFile::open((folder / "missing").string(), kCodePageUtf8, &error));
    EXPECT_EQ(error, ENOENT);
    EXPECT_FALSE(ReadFile::open(folder.path().string(), kCodePageUtf8, &error));
    EXPECT_EQ(error, EISDIR);
}

TEST(ForkWithoutExec, DoesNotHandDownTheMapping) {
    const std::string name = "mapped-heir-" + unique_name();
    Process victim(host_program("forking_mutex_holder"), {name, "heir_of_mapping"});
    ASSERT_EQ(victim.read_line(), "orphaned");
    EXPECT_FALSE(SharedMapping::open(name)) << "nobody but the child of a dead process had it";
    EXPECT_TRUE(SharedMapping::create(name, 8192));
}

TEST(ForkWithoutExec, ChildIsNotInsideWithItsParent) {
    const std::string name = "share-" + unique_name();
    const auto mapping = SharedMapping::create(name, 4096);
    ASSERT_TRUE(mapping);
    const auto& counts = *static_cast<const SharedCounts*>(mapping->data());
    Process parent(host_program("forking_mutex_holder"), {name, "share", name});
    ASSERT_EQ(parent.read_line(), "child wants in");
    parent.write_line("go on");
    EXPECT_EQ(parent.wait(), 0);
    EXPECT_EQ(counts.visits, 4000);
    EXPECT_EQ(counts.meetings, 0);
}

std::filesystem::path shared_file(const std::string& kind, const std::string& name) {
    return shared_folder() / shared_file_name(kind, name);
}

TEST(SharedFolder, HoldsNothingOfObjectsThatWereClosed) {
    const std::string name = "closed-" + unique_name();
    auto mutex = NamedMutex::open(name);
    auto mapping = SharedMapping::create(name, 4096);
    EXPECT_TRUE(std::filesystem::exists(shared_file("mutex", name)));
    EXPECT_TRUE(std::filesystem::exists(shared_file("mapping", name)));
    mutex.reset();
    mapping.reset();
    EXPECT_FALSE(std::filesystem::exists(shared_file("mutex", name)));
    EXPECT_FALSE(std::filesystem::exists(shared_file("mapping", name)));
}

TEST(SharedFolder, KeepsTheMutexOfAnotherProcess) {
    const std::string name = "kept-" + unique_name();
    auto mutex = NamedMutex::open(name);
    Process other(host_program("mutex_holder"), {name});
    other.write_line("lock");
    EXPECT_EQ(other.read_line(), "locked");
    mutex.reset();
    EXPECT_TRUE(std::filesystem::exists(shared_file("mutex", name)));
}

TEST(SharedFolder, HoldsNothingOfAProcessThatEndedWithTheMutexOpen) {
    const std::string name = "ended-" + unique_name();
    Process other(host_program("mutex_holder"), {name});
    other.write_line("lock");
    EXPECT_EQ(other.read_line(), "locked");
    EXPECT_TRUE(std::filesystem::exists(shared_file("mutex", name)));
    other.write_line("unlock");
    other.write_line("exit");
    EXPECT_EQ(other.read_line(), "unlocked");
    EXPECT_EQ(other.wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(shared_file("mutex", name)));
}

TEST(SharedFolder, KeepsTheMutexWhenAnotherProcessEndsWithItOpen) {
    const std::string name = "outlived-" + unique_name();
    const auto mutex = NamedMutex::open(name);
    Process other(host_program("mutex_holder"), {name});
    other.write_line("lock");
    EXPECT_EQ(other.read_line(), "locked");
    other.write_line("exit");
    EXPECT_EQ(other.wait(), 0);
    EXPECT_TRUE(std::filesystem::exists(shared_file("mutex", name)));
    mutex->lock();
    mutex->unlock();
}

TEST(SharedFolder, ALockFileThatSomebodyRemovedIsMadeAgain) {
    const std::string name = "removed-" + unique_name();
    const auto mutex = NamedMutex::open(name);
    const auto mapping = SharedMapping::create(name, 4096);
    ASSERT_TRUE(mutex && mapping);
    auto& counts = *static_cast<SharedCounts*>(mapping->data());
    std::filesystem::remove(shared_file("mutex", name));
    Process other(host_program("mutex_holder"), {name});
    other.write_line("count " + name + " 1000");
    EXPECT_EQ(other.read_line(), "counting");
    for (int i = 0; i < 1000; ++i) {
        const std::lock_guard guard(*mutex);
        visit(counts, -1);
    }
    EXPECT_EQ(other.read_line(), "counted");
    EXPECT_EQ(counts.visits, 2000);
    EXPECT_EQ(counts.meetings, 0);
}

// A leftover must never be used or cut short: somebody may be about to attach to it, or still have it mapped.
TEST(SharedFolder, WhatAKilledProcessLeftIsReplacedByAnotherFile) {
    const std::string name = "leftover-" + unique_name();
    Process victim(host_program("mapping_user"), {name});
    victim.write_line("create 4096");
    EXPECT_EQ(victim.read_line(), "ok");
    const auto leftover = shared_file("mapping", name);
    std::filesystem::create_hard_link(leftover, leftover.string() + ".kept");
    victim.kill();
    victim.wait();
    const auto fresh = SharedMapping::create(name, 4096);
    EXPECT_FALSE(std::filesystem::equivalent(leftover, leftover.string() + ".kept"));
    EXPECT_EQ(std::filesystem::file_size(leftover.string() + ".kept"), 4096u);
    std::filesystem::remove(leftover.string() + ".kept");
}

TEST(SharedFolder, IsPrivate) {
    const auto mutex = NamedMutex::open("private-" + unique_name());
    ASSERT_TRUE(mutex);
    struct stat status {};
    ASSERT_EQ(::stat(shared_folder().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
    EXPECT_EQ(status.st_uid, ::geteuid());
}

std::filesystem::path library_file() {
    return host_program("libmodule_path_library.so");
}

TEST(ModulePathOnPosix, HasAtMost512Bytes) {
    const TempDir folder;
    auto deep = std::filesystem::canonical(folder.path());
    for (int i = 0; i < 6; ++i)
        deep /= std::string(100, 'd');
    std::filesystem::create_directories(deep);
    std::filesystem::copy_file(library_file(), deep / "libsome.so");
    EXPECT_EQ(module_path_in(deep / "libsome.so"), deep.string().substr(0, 512));
}

TEST(ModulePathOnPosix, IsTheSameHoweverTheFolderWasSpelled) {
    const TempDir folder;
    const auto real = std::filesystem::canonical(folder.path()) / "real";
    std::filesystem::create_directory(real);
    std::filesystem::copy_file(library_file(), real / "libsome.so.3.2.2");
    std::filesystem::create_symlink("libsome.so.3.2.2", real / "libsome.so.3");
    std::filesystem::create_directory_symlink(real, folder / "link");
    EXPECT_EQ(module_path_in(folder / "link" / ".." / "link" / "libsome.so.3"), (real / "libsome.so.3").string());
}

TEST(LocalTimeOnPosix, FollowsTheTimeZone) {
    const std::string zone = environment("TZ");
    ::setenv("TZ", "FAR-13:30", 1);
    ::tzset();
    const std::time_t before = std::time(nullptr);
    const LocalTime now = local_time();
    const std::time_t after = std::time(nullptr);
    zone.empty() ? ::unsetenv("TZ") : ::setenv("TZ", zone.c_str(), 1);
    ::tzset();
    const int minute_of_day = now.hour * 60 + now.minute;
    const auto far = [](std::time_t utc) { return static_cast<int>((utc / 60 + 13 * 60 + 30) % (24 * 60)); };
    EXPECT_TRUE(minute_of_day == far(before) || minute_of_day == far(after));
}

}  // namespace
