// Small files that claim to be large ones, under the default limits: an error that says why, soon and without the memory
// that they ask for.
#include <gmock/gmock.h>

#include <array>
#include <ctime>
#include <fstream>
#include <span>

#include "support/media.h"
#include "support/process.h"
#include "support/temp_dir.h"
#include "support/why.h"

namespace qmio::test {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kIsSanitized = true;  // has shadows of all memory
#else
constexpr bool kIsSanitized = false;
#endif

constexpr int64_t kMostKilobytes = 64 << 10;
constexpr double kMostSeconds = 1.0;

void append(Bytes& bytes, std::string_view text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
}

void append_number(Bytes& bytes, uint32_t number) {
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<uint8_t>(number >> shift));
}

uint32_t checksum(std::span<const uint8_t> bytes) {
    uint32_t sum = ~0U;
    for (const uint8_t byte : bytes) {
        sum ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0xEDB88320U : 0);
    }
    return ~sum;
}

void append_chunk(Bytes& png, std::string_view type, const Bytes& data) {
    append_number(png, static_cast<uint32_t>(data.size()));
    const std::size_t begin = png.size();
    append(png, type);
    png.insert(png.end(), data.begin(), data.end());
    append_number(png, checksum(std::span(png).subspan(begin)));
}

Bytes png(uint32_t width, uint32_t height) {
    Bytes file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    Bytes header;
    append_number(header, width);
    append_number(header, height);
    header.insert(header.end(), {8, 2, 0, 0, 0});
    append_chunk(file, "IHDR", header);
    append_chunk(file, "IDAT", {0x78, 0x9C, 0x63, 0x60, 0x60, 0x60, 0x00, 0x00, 0x00, 0x04, 0x00, 0x01});
    append_chunk(file, "IEND", {});
    return file;
}

// An element of Matroska whose size takes four bytes.
Bytes element(std::initializer_list<uint8_t> id, const Bytes& content) {
    Bytes bytes(id);
    append_number(bytes, static_cast<uint32_t>(content.size()) | 0x10000000);
    bytes.insert(bytes.end(), content.begin(), content.end());
    return bytes;
}

void append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

Bytes matroska(int streams) {
    Bytes file = element({0x1A, 0x45, 0xDF, 0xA3}, element({0x42, 0x82}, {'m', 'a', 't', 'r', 'o', 's', 'k', 'a'}));
    Bytes tracks;
    for (int stream = 1; stream <= streams; ++stream) {
        Bytes entry = element({0xD7}, {static_cast<uint8_t>(stream >> 8), static_cast<uint8_t>(stream)});
        append(entry, element({0x73, 0xC5}, {static_cast<uint8_t>(stream >> 8), static_cast<uint8_t>(stream)}));
        append(entry, element({0x83}, {2}));
        append(entry, element({0x86}, {'A', '_', 'A', 'C', '3'}));
        append(tracks, element({0xAE}, entry));
    }
    Bytes segment = element({0x16, 0x54, 0xAE, 0x6B}, tracks);
    append(segment, element({0x1F, 0x43, 0xB6, 0x75}, element({0xE7}, {0})));
    append(file, element({0x18, 0x53, 0x80, 0x67}, segment));
    return file;
}

Bytes giant_atom() {
    Bytes file;
    append_number(file, 16);
    append(file, "ftypisom");
    append_number(file, 0);
    append_number(file, 0x7FFFFFFF);
    append(file, "moov");
    append_number(file, 0x7FFFFFF0);
    append(file, "udta");
    append_number(file, 0x7FFFFF00);
    append(file, "stsz");
    file.resize(file.size() + 8);
    append_number(file, 0x10000000);
    return file;
}

int64_t peak_kilobytes() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmHWM:") {
            int64_t kilobytes = 0;
            status >> kilobytes;
            return kilobytes;
        }
    }
    return 0;
}

class HeaderBomb : public testing::Test {
  protected:
    HeaderBomb() { qmio_close(open_media(media_path("still.png")).release()); }  // what is made once is there

    std::filesystem::path file(const Bytes& bytes) const {
        write_bytes(folder_ / "bomb", bytes);
        return folder_ / "bomb";
    }

    // Opens and reads the file, of which nothing comes; what the log says of it.
    static std::string refusal(const std::filesystem::path& path) {
        std::ofstream("/proc/self/clear_refs") << 5;  // the peak is what it is now
        std::string told;
        qmio_set_log(hear, &told, QMIO_LOG_ERROR);
        const int64_t before = peak_kilobytes();
        const std::clock_t begin = std::clock();
        const Media media = open_media(path);
        std::array<uint8_t, 4> buffer{};
        // Where nothing tells of pictures there is a handle without any; no picture comes in either case.
        EXPECT_LE(file_param(media, "width"), 0);
        if (media == nullptr)
            told += why().text;
        EXPECT_LE(qmio_read_frame(media.get(), buffer.data()), 0);
        qmio_set_log(nullptr, nullptr, 0);
        const double seconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
        if (!kIsSanitized) {
            EXPECT_LT(seconds, kMostSeconds);
            EXPECT_LT(peak_kilobytes() - before, kMostKilobytes);
        }
        return told;
    }

    static void hear(void* told, int, const char* text) { *static_cast<std::string*>(told) += text; }

    const TempDir folder_;
};

TEST_F(HeaderBomb, APictureThatItsBytesCannotHold) {
    const Bytes bytes = png(16000, 16000);
    EXPECT_EQ(bytes.size(), 69U);
    EXPECT_THAT(refusal(file(bytes)), testing::HasSubstr("exceeds specified max pixel count"));
}

TEST_F(HeaderBomb, TooManyStreams) {
    EXPECT_THAT(refusal(file(matroska(1000))), testing::HasSubstr("max_streams parameter (256)"));
}

TEST_F(HeaderBomb, AnAtomLargerThanItsFile) {
    refusal(file(giant_atom()));
}

TEST_F(HeaderBomb, AnHourOfZeroes) {
    const auto path = file({0});
    std::filesystem::resize_file(path, uint64_t{48000} * 4 * 3600);
    EXPECT_THAT(refusal(path), testing::HasSubstr("Invalid data found"));
}

// The densest pictures that there are, nothing but zeroes, and tiny ones.
TEST_F(HeaderBomb, NoWholePictureIsTakenForOne) {
    const std::pair<const char*, const char*> pictures[] = {
        {"4000x4000", "monob"}, {"1x4000", "monob"}, {"4000x1", "monob"},   {"1x1", "monob"},
        {"1x1", "rgba"},        {"9x7", "rgb24"},    {"3000x10", "rgb48be"}};
    for (const auto& [size, format] : pictures) {
        const std::string path = (folder_ / "zeroes.png").string();
        const std::string source = "color=black@0:size=" + std::string(size) + ",format=rgba,format=" + format;
        ASSERT_EQ(run("ffmpeg", {"-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i", source, "-frames:v", "1",
                                 "-compression_level", "9", "-pred", "none", path})
                      .exit_code,
                  0);
        const Media media = open_media(path);
        ASSERT_NE(media, nullptr) << source;
        EXPECT_GT(next_picture(media).result, 0) << source;
    }
}

}  // namespace
}  // namespace qmio::test
