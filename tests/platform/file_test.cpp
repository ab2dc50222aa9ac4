#include "platform/file.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>

#include "platform/text.h"
#include "support/process.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::platform;
using qmio::test::content_of;
using qmio::test::path_of;
using qmio::test::TempDir;
using qmio::test::utf8;

void put(const std::filesystem::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

std::string read_up_to(ReadFile& file, int size) {
    std::string buffer(static_cast<std::size_t>(size), '\0');
    const int count = file.read(reinterpret_cast<uint8_t*>(buffer.data()), size);
    return buffer.substr(0, static_cast<std::size_t>(count));
}

TEST(ReadFile, DeliversTheFileUpToItsEnd) {
    const TempDir folder;
    put(folder / "ten.bin", "012345678\n");
    const auto file = ReadFile::open(utf8(folder / "ten.bin"), kCodePageUtf8);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->size(), 10);
    EXPECT_EQ(read_up_to(*file, 4), "0123");
    EXPECT_EQ(read_up_to(*file, 100), "45678\n");
    EXPECT_EQ(read_up_to(*file, 100), "");
    EXPECT_EQ(read_up_to(*file, 0), "");
}

TEST(ReadFile, SeeksFromStartCurrentPositionAndEnd) {
    const TempDir folder;
    put(folder / "ten.bin", "0123456789");
    const auto file = ReadFile::open(utf8(folder / "ten.bin"), kCodePageUtf8);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->seek(4, 0), 4);
    EXPECT_EQ(read_up_to(*file, 1), "4");
    EXPECT_EQ(file->seek(2, 1), 7);
    EXPECT_EQ(read_up_to(*file, 1), "7");
    EXPECT_EQ(file->seek(-1, 2), 9);
    EXPECT_EQ(read_up_to(*file, 9), "9");
    EXPECT_EQ(file->seek(5'000'000'000, 0), 5'000'000'000);
    EXPECT_EQ(read_up_to(*file, 1), "");
}

TEST(ReadFile, RefusedSeeksLeaveThePosition) {
    const TempDir folder;
    put(folder / "ten.bin", "0123456789");
    const auto file = ReadFile::open(utf8(folder / "ten.bin"), kCodePageUtf8);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->seek(3, 0), 3);
    for (const int whence : {-1, 3, 4, 0x10000})
        EXPECT_EQ(file->seek(0, whence), -1);
    EXPECT_EQ(file->seek(-1, 0), -1);
    EXPECT_EQ(read_up_to(*file, 1), "3");
}

TEST(ReadFile, MissingFilesAndFoldersCannotBeOpened) {
    const TempDir folder;
    EXPECT_FALSE(ReadFile::open(utf8(folder / "missing.bin"), kCodePageUtf8));
    EXPECT_FALSE(ReadFile::open(utf8(folder.path()), kCodePageUtf8));
    EXPECT_FALSE(ReadFile::open("", kCodePageUtf8));
}

TEST(ReadFile, NamesMayBeInAnyLanguage) {
    const TempDir folder;
    for (const std::string name : {"фильм.bin", "映像.bin", "🎬 [100%] #1.bin"}) {
        put(folder / path_of(name), name);
        const auto file = ReadFile::open(utf8(folder / path_of(name)), kCodePageUtf8);
        ASSERT_TRUE(file) << name;
        EXPECT_EQ(read_up_to(*file, 100), name);
    }
}

TEST(ReadFile, NamesAreTakenInTheGivenCodePage) {
    const TempDir folder;
    const std::string name = narrow(widen(utf8(folder / path_of("фильм.bin")), kCodePageUtf8), 1251);
#ifdef _WIN32
    put(folder / path_of("фильм.bin"), "found");
#else
    put(name, "found");  // where names of files are bytes
#endif
    const auto file = ReadFile::open(name, 1251);
    ASSERT_TRUE(file);
    EXPECT_EQ(read_up_to(*file, 100), "found");
}

TEST(AppendFile, EveryWriteGoesToTheEndWhoeverElseWrites) {
    const TempDir folder;
    const std::string path = utf8(folder / path_of("журнал.log"));
    const auto first = AppendFile::open(path);
    const auto second = AppendFile::open(path);
    ASSERT_TRUE(first && second);
    first->write("a\n");
    second->write("b\n");
    first->write("c\n");
    EXPECT_EQ(content_of(path_of(path)), "a\nb\nc\n");
}

TEST(AppendFile, KeepsWhatWasThere) {
    const TempDir folder;
    put(folder / "old.log", "old\n");
    const auto file = AppendFile::open(utf8(folder / "old.log"));
    ASSERT_TRUE(file);
    file->write("new\n");
    EXPECT_EQ(content_of(folder / "old.log"), "old\nnew\n");
}

TEST(AppendFile, CannotBeHadInAMissingFolder) {
    const TempDir folder;
    EXPECT_FALSE(AppendFile::open(utf8(folder / "missing" / "a.log")));
    EXPECT_FALSE(AppendFile::open(utf8(folder.path())));
}

TEST(Console, IsStandardError) {
    ::testing::internal::CaptureStderr();
    write_to_console("one line, Жук\n");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "one line, Жук\n");
}

}  // namespace
