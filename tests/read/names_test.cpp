// Names as hosts give them: narrow or wide, with characters that mean something elsewhere, and too long.
#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <ostream>

#include "support/dynamic_library.h"
#include "support/media.h"
#include "support/open_media.h"
#include "support/process.h"
#include "support/temp_dir.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace {

using namespace qmio::test;

// The name as a host writes it in narrow text; nothing where the system's code page lacks a letter of it.
#ifdef _WIN32
std::optional<std::string> narrow_name(const std::filesystem::path& path) {
    char narrow[2 * MAX_PATH] = "";
    wchar_t wide[2 * MAX_PATH] = L"";
    ::WideCharToMultiByte(CP_ACP, 0, path.c_str(), -1, narrow, sizeof narrow, nullptr, nullptr);
    ::MultiByteToWideChar(CP_ACP, 0, narrow, -1, wide, 2 * MAX_PATH);
    return path == wide ? std::optional<std::string>(narrow) : std::nullopt;
}
constexpr bool kNamesAreBytes = false;
constexpr const char* kLacksLetters = "the ANSI code page of this run lacks letters of this name";
#else
std::optional<std::string> narrow_name(const std::filesystem::path& path) {
    return path.string();
}
constexpr bool kNamesAreBytes = true;
constexpr const char* kLacksLetters = "";
#endif

struct Written {
    const char* trait;
    const char* name;
    const char* in_windows_1251 = name;

    friend std::ostream& operator<<(std::ostream& out, const Written& written) { return out << written.name; }
};

constexpr Written kWritten[] = {
    {"Plain", "plain.mp4"},
    {"Spaces", "with spaces  in it.mp4"},
    {"Brackets", "[brackets] (and) {others}.mp4"},
    {"Percent", "100%.mp4"},
    {"PercentCodes", "%d %s %03d.mp4"},
    {"Punctuation", "#hash;semicolon,comma=equals&ampersand.mp4"},
    {"Quotes", "'quotes`.mp4"},
    {"NoExtension", "no_extension"},
    {"ManyDots", "many.dots.in.it..mp4"},
    {"Cyrillic", "мультимедиа [100%] 1.mp4", "\xec\xf3\xeb\xfc\xf2\xe8\xec\xe5\xe4\xe8\xe0 [100%] 1.mp4"},
    {"Japanese", "映像ファイル.mp4", nullptr},
    {"JapaneseBackslashes", "表示 [100%] ソース.mp4", nullptr},  // two letters end in 0x5C in code page 932
    {"Emoji", "🎬🎞.mp4", nullptr},
    {"Latin", "ÄÖÜ é ñ.mp4", nullptr},
    {"LikeAMemoryBlock", "memory.mp4"},
    {"LikeAnEscape", "ufile.mp4"},
};

class Names : public testing::TestWithParam<Written> {
  protected:
    void SetUp() override { std::filesystem::copy_file(media_path("small_h264_aac.mp4"), path_); }

    TempDir folder_;
    std::filesystem::path path_ = folder_ / path_of(GetParam().name);
};

INSTANTIATE_TEST_SUITE_P(Written, Names, testing::ValuesIn(kWritten),
                         [](const auto& chosen) { return std::string(chosen.param.trait); });

TEST_P(Names, OpenWide) {
    EXPECT_TRUE(Media(qmio_open_w(wide_name(path_).c_str())));
    EXPECT_TRUE(Media(qmio_open_ex_w(wide_name(path_).c_str(), L"threads=1")));
}

TEST_P(Names, OpenNarrow) {
    const auto narrow = narrow_name(path_);
    if (!narrow)
        GTEST_SKIP() << kLacksLetters;
    EXPECT_TRUE(Media(qmio_open_a(narrow->c_str())));
    EXPECT_TRUE(Media(qmio_open_ex_a(narrow->c_str(), "threads=1")));
}

TEST_P(Names, OpenInUtf8) {
    EXPECT_TRUE(Media(qmio_open_u8(utf8(path_).c_str(), nullptr)));
    EXPECT_TRUE(Media(qmio_open_u8(utf8(path_).c_str(), "threads=1")));
}

// The letters are in the file as they were given, whatever code page the system has.
TEST_P(Names, InUtf8AreThoseOfNewFilesAndTheirTags) {
    const std::string film = utf8(path_of(GetParam().name)), tag = "metadata=\"title=映像-🎬\"";
    const auto made = folder_ / path_of("new " + film), copy = folder_ / path_of("copy of " + film);
    ASSERT_TRUE(Media(
        qmio_create_u8(utf8(made).c_str(), ("fmt=wav,acodec=pcm_s16le,afmt=s16,ar=8000,ac=1," + tag).c_str(), 0)));
    const Media source = open_media(path_);
    ASSERT_TRUE(Media(qmio_mux_u8(utf8(copy).c_str(), ("fmt=matroska," + tag).c_str(), source.get(), nullptr)));
    for (const auto& path : {made, copy}) {
        const Bytes bytes = read_bytes(path);
        EXPECT_NE(std::string(bytes.begin(), bytes.end()).find("映像-🎬"), std::string::npos) << utf8(path);
    }
}

TEST_P(Names, OpenTheRightFileAmongOthers) {
    std::filesystem::copy_file(media_path("tone.wav"), folder_ / "other.wav");
    EXPECT_EQ(file_param(open_media(path_), "width"), 160);
    EXPECT_EQ(file_param(open_media(folder_ / "other.wav"), "video"), -1);
}

// The configured code page is the one that names pass through on their way to the file.
class EncodedNames : public testing::TestWithParam<const char*> {
  protected:
    // A host that has loaded a library with the code page in its configuration.
    EncodedNames() : host_(host_program("config_host")) {
        const auto library = folder_ / library_file_name("qmio");
        std::filesystem::copy_file(path_of(QMIO_LIBRARY), library);
        auto configuration = library;
        std::ofstream(configuration.replace_extension(".cfx"))
            << "<library><log>quiet</log><encoding>" << GetParam() << "</encoding></library>";
        EXPECT_EQ(ask("load", utf8(library)), "loaded");
    }

    std::string ask(const std::string& verb, const std::string& argument) {
        host_.write_line(verb + " " + argument);
        return host_.read_line().value_or("the host has ended");
    }

    // Where the file lies that the library means: on Linux names are bytes of the code page.
    std::filesystem::path path_in_code_page(const Written& written) const {
        return folder_ / (kNamesAreBytes && code_page_has(written) ? std::filesystem::path(in_code_page(written))
                                                                   : path_of(written.name));
    }

    static bool is_windows_1251() { return std::string(GetParam()) == "win1251"; }
    static const char* in_code_page(const Written& written) {
        return is_windows_1251() ? written.in_windows_1251 : written.name;
    }

    bool code_page_has(const Written& written) const {
        return is_windows_1251() ? written.in_windows_1251 != nullptr
                                 : GetParam() == std::string("utf-8") || narrow_name(folder_ / path_of(written.name));
    }

    TempDir folder_;
    Process host_;
};

INSTANTIATE_TEST_SUITE_P(Through, EncodedNames, testing::Values("utf-8", "acp", "win1251"), [](const auto& chosen) {
    std::string name = chosen.param;
    std::erase(name, '-');
    return name;
});

TEST_P(EncodedNames, OpenWhereTheCodePageHasTheirLetters) {
    for (const Written& written : kWritten) {
        const auto path = path_in_code_page(written), name = folder_ / path_of(written.name);
        std::filesystem::copy_file(media_path("small_h264_aac.mp4"), path);
        const char* const expected = code_page_has(written) ? "opened" : "null";
        EXPECT_EQ(ask("open_wide", utf8(name)), expected) << written.name;
        if (const auto narrow = narrow_name(name)) {
            EXPECT_EQ(ask("open", *narrow), expected) << written.name;
        }
        std::filesystem::remove(path);
        EXPECT_EQ(ask("open_wide", utf8(name)), "null") << written.name;
    }
}

TEST_P(EncodedNames, InUtf8OpenWhateverTheCodePage) {
    for (const Written& written : kWritten) {
        const auto path = folder_ / path_of(written.name);
        EXPECT_EQ(ask("create_u8", utf8(path)), "opened") << written.name;
        EXPECT_TRUE(std::filesystem::exists(path)) << written.name;
        EXPECT_EQ(ask("open_u8", utf8(path)), "opened") << written.name;
        std::filesystem::copy_file(media_path("still.png"), path, std::filesystem::copy_options::overwrite_existing);
        EXPECT_EQ(ask("open_u8", "avio:" + utf8(path)), "opened") << written.name;
        std::filesystem::remove(path);
        EXPECT_EQ(ask("open_u8", utf8(path)), "null") << written.name;
        EXPECT_TRUE(ask("why", "").starts_with("cannot open " + utf8(path) + ": No such file")) << written.name;
    }
}

TEST_P(EncodedNames, OfStillsOpenWhereTheCodePageHasTheirLetters) {
    for (const Written& written : kWritten) {
        const auto path = path_in_code_page(written), name = folder_ / path_of(written.name);
        std::filesystem::copy_file(media_path("still.png"), path);
        const char* const expected = code_page_has(written) ? "opened" : "null";
        EXPECT_EQ(ask("open_wide", "avio:" + utf8(name)), expected) << written.name;
        if (const auto narrow = narrow_name(name)) {
            EXPECT_EQ(ask("open", "avio:" + *narrow), expected) << written.name;
        }
    }
}

TEST_P(EncodedNames, AreTheNamesOfNewFiles) {
    for (const Written& written : kWritten) {
        const auto narrow = narrow_name(folder_ / path_of(written.name));
        if (!narrow || !code_page_has(written))
            continue;
        EXPECT_EQ(ask("create", *narrow), "opened") << written.name;
        EXPECT_TRUE(std::filesystem::exists(path_in_code_page(written))) << written.name;
        std::filesystem::remove(path_in_code_page(written));
    }
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
