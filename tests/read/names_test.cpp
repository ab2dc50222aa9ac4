// Names as hosts give them: narrow or wide, with characters that mean something elsewhere, and too long.
#include <gtest/gtest.h>

#include <optional>

#include "support/media.h"
#include "support/open_media.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::test;

// The narrow name in the system's ANSI code page; nothing where that page lacks a character of it.
std::optional<std::string> ansi(const std::filesystem::path& path) {
    try {
        const std::string narrow = path.string();
        if (std::filesystem::path(narrow) == path)
            return narrow;
    } catch (const std::exception&) {
    }
    return std::nullopt;
}

class Names : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override { std::filesystem::copy_file(media_path("small_h264_aac.mp4"), path_); }

    TempDir folder_;
    std::filesystem::path path_ = folder_ / path_of(GetParam());
};

INSTANTIATE_TEST_SUITE_P(Written, Names,
                         testing::Values("plain.mp4", "with spaces  in it.mp4", "[brackets] (and) {others}.mp4",
                                         "100%.mp4", "%d %s %03d.mp4", "#hash;semicolon,comma=equals&ampersand.mp4",
                                         "'quotes`.mp4", "no_extension", "many.dots.in.it..mp4", "мультимедиа.mp4",
                                         "映像ファイル.mp4", "🎬🎞.mp4", "ÄÖÜ é ñ.mp4", "memory.mp4", "ufile.mp4"),
                         [](const auto& chosen) { return "Name" + std::to_string(chosen.index); });

TEST_P(Names, OpenWide) {
    EXPECT_TRUE(Media(qmio_open_w(wide_name(path_).c_str())));
    EXPECT_TRUE(Media(qmio_open_ex_w(wide_name(path_).c_str(), L"threads=1")));
}

TEST_P(Names, OpenNarrow) {
    const auto narrow = ansi(path_);
    if (!narrow)
        GTEST_SKIP() << "the ANSI code page of this system cannot write this name";
    EXPECT_TRUE(Media(qmio_open_a(narrow->c_str())));
    EXPECT_TRUE(Media(qmio_open_ex_a(narrow->c_str(), "threads=1")));
}

TEST_P(Names, OpenTheRightFileAmongOthers) {
    std::filesystem::copy_file(media_path("tone.wav"), folder_ / "other.wav");
    EXPECT_EQ(file_param(open_media(path_), "width"), 160);
    EXPECT_EQ(file_param(open_media(folder_ / "other.wav"), "video"), -1);
}

TEST(StillNames, MayHoldWhatMeansSomethingInASequencesName) {
    const TempDir folder;
    for (const std::string extension : {".png", ".jpg"}) {
        for (const char* name : {"100% done", "%", "50%% off", "[1] {2} (3)", "frame-%x-", "кадр 100%"}) {
            const auto path = folder / path_of(name + extension);
            std::filesystem::copy_file(media_path("still" + extension), path);
            EXPECT_EQ(next_picture(open_media(path)).result, 7) << path;
        }
    }
}

// FFmpeg's own way of naming a sequence of pictures works through the library as well.
TEST(StillNames, WithANumberPatternOpenTheSequence) {
    const TempDir folder;
    for (const char* name : {"frame000.png", "frame001.png", "frame002.png"})
        std::filesystem::copy_file(media_path("still.png"), folder / name);
    const Media media = open_media(folder / "frame%03d.png");
    ASSERT_TRUE(media);
    EXPECT_EQ(file_param(media, "frames"), 3);
}

// The path of a file, made exactly `length` bytes long by steps that lead nowhere.
std::string padded(const std::filesystem::path& path, std::size_t length) {
    std::string name = path.parent_path().generic_string();
    const std::string file = "/" + path.filename().string();
    while (name.size() + file.size() + 2 <= length)
        name += "/.";
    if (name.size() + file.size() < length)
        name += "/";
    return name + file;
}

std::wstring widened(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

class LongNames : public testing::Test {
  protected:
    void SetUp() override { std::filesystem::copy_file(media_path("tone.wav"), path_); }

    // Some systems take no path of this length at all; the library cannot open it then.
    bool system_takes(std::size_t length) const {
        std::error_code refused;
        return std::filesystem::exists(padded(path_, length), refused);
    }

    TempDir folder_;
    std::filesystem::path path_ = folder_ / "tone.wav";
};

TEST_F(LongNames, Of1023BytesOpenWide) {
    if (!system_takes(1023))
        GTEST_SKIP() << "this system takes no path of 1023 bytes";
    ASSERT_EQ(padded(path_, 1023).size(), 1023U);
    EXPECT_TRUE(Media(qmio_open_w(widened(padded(path_, 1023)).c_str())));
    EXPECT_TRUE(Media(qmio_open_ex_w(widened(padded(path_, 1023)).c_str(), nullptr)));
}

TEST_F(LongNames, Of1024BytesAreRefused) {
    for (const std::size_t length : {1024U, 1025U, 2048U, 100000U}) {
        const std::wstring name = widened(padded(path_, length));
        EXPECT_EQ(qmio_open_w(name.c_str()), nullptr) << length;
        EXPECT_EQ(qmio_open_ex_w(name.c_str(), L"threads=1"), nullptr) << length;
    }
}

// The limit is in bytes of the name that the library keeps, so letters of more than one byte reach it sooner.
TEST_F(LongNames, AreMeasuredInBytes) {
    const std::wstring letters(400, static_cast<wchar_t>(0x6620));
    const std::wstring name = wide_name(path_.parent_path()) + L"/" + letters + L"/../tone.wav";
    EXPECT_EQ(qmio_open_w(name.c_str()), nullptr);
}

TEST_F(LongNames, Of511UnitsOpenNarrow) {
    if (!system_takes(511))
        GTEST_SKIP() << "this system takes no path of 511 bytes";
    EXPECT_TRUE(Media(qmio_open_a(padded(path_, 511).c_str())));
    EXPECT_TRUE(Media(qmio_open_ex_a(padded(path_, 511).c_str(), nullptr)));
}

TEST_F(LongNames, Of513UnitsAreRefusedNarrow) {
    for (const std::size_t length : {513U, 1023U, 1024U, 100000U}) {
        EXPECT_EQ(qmio_open_a(padded(path_, length).c_str()), nullptr) << length;
        EXPECT_EQ(qmio_open_ex_a(padded(path_, length).c_str(), "threads=1"), nullptr) << length;
    }
}

TEST(BrokenNames, OfInvalidTextFailTheOpen) {
    EXPECT_EQ(qmio_open_a("\xff\xfe\x80 no such file"), nullptr);
    const wchar_t lone_surrogate[] = {static_cast<wchar_t>(0xD800), L'x', 0};
    EXPECT_EQ(qmio_open_w(lone_surrogate), nullptr);
}

}  // namespace
