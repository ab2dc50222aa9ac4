// The filter text of a file dialog, byte for byte against the lists of extensions that hosts know.
#include <gtest/gtest.h>
#include <qmio.h>

#include <array>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace {

using List = std::vector<std::string>;

const List kPictures = {"bmp", "ffv1-img", "gif", "jpeg", "jpg", "ljpg",     "pam",      "pbm",
                        "pgm", "pgmyuv",   "png", "ppm",  "ptx", "mpg1-img", "mpg2-img", "mpg4-img",
                        "sgi", "tga",      "tif", "tiff", "vii", "vic",      "vis",      "y"};
const List kVideos = {"264", "3g2", "3gp", "4xm", "asf",  "avi",    "avs",  "crc", "cgi", "cif", "dif",  "dv",   "dvd",
                      "dxa", "ea",  "ffm", "flv", "flic", "fli",    "flc",  "flx", "gif", "gxf", "h261", "h263", "h264",
                      "m1v", "m2v", "m4v", "mg2", "mjpg", "mjpeg",  "mkv",  "mm",  "mov", "mp4", "mpg",  "mpeg", "mtv",
                      "mxf", "nsv", "nuv", "nut", "psp",  "psxstr", "qcif", "rgb", "rm",  "ra",  "roq",  "smk",  "sol",
                      "swf", "ts",  "thp", "txd", "vc1",  "vcd",    "vim",  "vmd", "vob", "wma", "wmv",  "y4m",  "yuv"};
const List kSounds = {"ac3", "aac",  "aif", "aiff", "afc", "aifc", "amr", "au",  "flac",  "mka", "mmf",
                      "mp2", "mp2a", "mp3", "m4a",  "ogg", "al",   "ul",  "sw",  "sb",    "uw",  "ub",
                      "voc", "wav",  "apc", "c93",  "302", "mpc",  "shn", "tta", "wsaud", "wv"};

constexpr std::string_view kClosing("All Files (*.*)\0*.*\0\0", 21);

std::string patterns(const List& extensions) {
    std::string text;
    for (const std::string& extension : extensions)
        text += "*." + extension + ";";
    return text;
}

std::string block(const std::string& title, const std::string& patterns) {
    return title + '\0' + patterns + '\0';
}

const std::string kSupported = block("All Image/AV Files", patterns(kPictures) + patterns(kVideos) + patterns(kSounds));
const std::string kPictureBlock = block("Picture Files", patterns(kPictures));
const std::string kVideoBlock = block("Video Files", patterns(kVideos));
const std::string kSoundBlock = block("Audio Files", patterns(kSounds));

std::string with_closing(const std::string& blocks) {
    return blocks + std::string(kClosing);
}

// What the library writes into a buffer of the size that it asks for, between two guards.
std::string filter(const char* kind) {
    constexpr char guard = 0x5A;
    const int size = qmio_get_ext(nullptr, kind);
    EXPECT_GT(size, 0);
    std::vector<char> buffer(static_cast<std::size_t>(size) + 2, guard);
    EXPECT_EQ(qmio_get_ext(buffer.data() + 1, kind), size);
    EXPECT_EQ(buffer.front(), guard);
    EXPECT_EQ(buffer.back(), guard);
    return {buffer.begin() + 1, buffer.end() - 1};
}

TEST(DialogFilter, ListsHaveTheRowsThatHostsKnow) {
    EXPECT_EQ(kPictures.size(), 24U);
    EXPECT_EQ(kVideos.size(), 65U);
    EXPECT_EQ(kSounds.size(), 32U);
}

TEST(DialogFilter, EveryKindIsByteForByteItsBlocks) {
    const std::map<std::string, std::string> kinds = {
        {"sup", kSupported},
        {"supported", kSupported},
        {"pic", kPictureBlock},
        {"picture", kPictureBlock},
        {"img", kPictureBlock},
        {"image", kPictureBlock},
        {"vid", kVideoBlock},
        {"video", kVideoBlock},
        {"aud", kSoundBlock},
        {"audio", kSoundBlock},
        {"all", kSupported + kPictureBlock + kVideoBlock + kSoundBlock},
    };
    for (const auto& [kind, blocks] : kinds)
        EXPECT_EQ(filter(kind.c_str()), with_closing(blocks)) << kind;
}

TEST(DialogFilter, KindsAreReadInAnyCase) {
    EXPECT_EQ(filter("SUPPORTED"), with_closing(kSupported));
    EXPECT_EQ(filter("Img"), with_closing(kPictureBlock));
    EXPECT_EQ(filter("viD"), with_closing(kVideoBlock));
    EXPECT_EQ(filter("AUDIO"), with_closing(kSoundBlock));
}

TEST(DialogFilter, UnknownKindsGiveAllFilesAlone) {
    for (const char* kind : {"", "none", "videos", "al", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(qmio_get_ext(nullptr, kind), 21);
        EXPECT_EQ(filter(kind), std::string("All Files (*.*)\0*.*\0\0", 21));
    }
}

TEST(DialogFilter, SizeOfAllIsThatOfItsFourBlocks) {
    std::size_t size = 21;
    const auto count = [&size](const std::string& title, const List& extensions) {
        for (const std::string& extension : extensions)
            size += extension.size() + 3;
        size += title.size();
    };
    count("", kPictures);
    count("", kVideos);
    count("All Image/AV Files", kSounds);
    count("Picture Files", kPictures);
    count("Video Files", kVideos);
    count("Audio Files", kSounds);
    size += std::size_t{4} * 2;
    EXPECT_EQ(qmio_get_ext(nullptr, "all"), static_cast<int>(size));
}

// A dialog reads pairs until an empty text.
TEST(DialogFilter, AHostReadsPairsUntilAnEmptyText) {
    const std::string text = filter("all");
    std::vector<std::string> texts;
    for (const char* place = text.data(); *place != '\0'; place += texts.back().size() + 1)
        texts.emplace_back(place);
    ASSERT_EQ(texts.size(), 10U);
    EXPECT_EQ(texts[0], "All Image/AV Files");
    EXPECT_EQ(texts[2], "Picture Files");
    EXPECT_EQ(texts[4], "Video Files");
    EXPECT_EQ(texts[6], "Audio Files");
    EXPECT_EQ(texts[8], "All Files (*.*)");
    EXPECT_EQ(texts[3].substr(0, 16), "*.bmp;*.ffv1-img");
    EXPECT_EQ(texts[5].substr(texts[5].size() - 6), "*.yuv;");
    EXPECT_EQ(texts[9], "*.*");
}

}  // namespace
