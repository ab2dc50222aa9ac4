// The options "rotate" and "matrix": pictures upright, and with the colours that the file tells.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "support/made_file.h"
#include "support/media.h"
#include "support/probe.h"
#include "support/process.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

constexpr const char* kUpright = "rotate=1,threads=1";

// How a film is to be shown: the four numbers of its display matrix, and what becomes of columns and rows.
struct Shown {
    const char* name;
    std::array<int, 4> matrix;
    bool transposed;
    bool mirrors_columns;
    bool mirrors_rows;
};

constexpr Shown kWays[] = {
    {"AsItIs", {1, 0, 0, 1}, false, false, false},     {"Clockwise", {0, 1, -1, 0}, true, true, false},
    {"UpsideDown", {-1, 0, 0, -1}, false, true, true}, {"CounterClockwise", {0, -1, 1, 0}, true, false, true},
    {"Mirrored", {-1, 0, 0, 1}, false, true, false},   {"Reflected", {1, 0, 0, -1}, false, false, true},
    {"Transposed", {0, 1, 1, 0}, true, false, false},  {"Transversed", {0, -1, -1, 0}, true, true, true},
};

void PrintTo(const Shown& shown, std::ostream* out) {
    *out << shown.name;
}

// Writes the matrix into the header of the only track; it lies 44 bytes behind the beginning of the header's name.
void set_matrix(const std::filesystem::path& file, const Shown& shown) {
    Bytes bytes = read_bytes(file);
    const std::string name = "tkhd";
    const auto header = std::search(bytes.begin(), bytes.end(), name.begin(), name.end());
    ASSERT_NE(header, bytes.end());
    constexpr std::ptrdiff_t kPlaces[] = {44, 48, 56, 60};
    for (std::size_t entry = 0; entry < 4; ++entry) {
        const auto number = static_cast<uint32_t>(shown.matrix[entry] * 65536);
        for (int byte = 0; byte < 4; ++byte)
            header[kPlaces[entry] + byte] = static_cast<uint8_t>(number >> (24 - 8 * byte));
    }
    write_bytes(file, bytes);
}

// A film of a few pictures, no two pixels of which are alike by design, in a format and size.
struct Form {
    const char* pixels;
    int width;
    int height;
};

// Planes behind one another: slopes and an edge, in each another one.
Bytes planes_of(const Form& form, int number) {
    const bool rows_share = std::string(form.pixels) == "yuv420p";
    Bytes planes;
    for (int plane = 0; plane < 3; ++plane) {
        const int width = plane == 0 ? form.width : (form.width + 1) / 2;
        const int height = plane == 0 || !rows_share ? form.height : (form.height + 1) / 2;
        for (int row = 0; row < height; ++row)
            for (int column = 0; column < width; ++column)
                planes.push_back(static_cast<uint8_t>(40 + 120 * column / width + 50 * row / height + 5 * number +
                                                      (column * (plane + 1) > row ? 20 : 0)));
    }
    return planes;
}

void make_film(const std::filesystem::path& path, const Form& form) {
    const std::string encoder = std::string(form.pixels) == "yuv422p" ? "ffv1" : "mpeg4";
    const Media film =
        create_file(path, "fmt=mov,vcodec=" + encoder + ",strict=-2,r=25,g=2,size=" + std::to_string(form.width) + "x" +
                              std::to_string(form.height) + ",pix=" + form.pixels + ",q:v=2");
    ASSERT_NE(film, nullptr);
    for (int number = 0; number < 4; ++number)
        ASSERT_GE(qmio_write_frame(film.get(), planes_of(form, number).data()), 0);
}

// One picture by qmio_read_frame, rows of four bytes per pixel.
Bytes first_pixels(const Media& media) {
    return next_picture(media).pixels;
}

Bytes turned(const Bytes& pixels, int width, int height, const Shown& shown) {
    const int new_width = shown.transposed ? height : width;
    const int new_height = shown.transposed ? width : height;
    Bytes result(pixels.size());
    for (int row = 0; row < new_height; ++row)
        for (int column = 0; column < new_width; ++column) {
            const int x = shown.mirrors_columns ? new_width - 1 - column : column;
            const int y = shown.mirrors_rows ? new_height - 1 - row : row;
            const std::size_t from = static_cast<std::size_t>(shown.transposed ? x * width + y : y * width + x);
            std::memcpy(&result[static_cast<std::size_t>(row * new_width + column) * 4], &pixels[from * 4], 4);
        }
    return result;
}

class Upright : public testing::TestWithParam<Shown> {
  protected:
    std::filesystem::path film(const Form& form) {
        std::filesystem::path path = folder_ / "film.mov";
        make_film(path, form);
        set_matrix(path, GetParam());
        return path;
    }

    TempDir folder_;
};

TEST_P(Upright, HasTheSizeAndThePixelsThatAreMeant) {
    const Shown& shown = GetParam();
    const std::filesystem::path path = film({"yuv420p", 64, 48});
    const Media plain = open_media(path.string(), "threads=1");
    const Media upright = open_media(path.string(), kUpright);
    EXPECT_EQ(file_param(upright, "width"), shown.transposed ? 48 : 64);
    EXPECT_EQ(file_param(upright, "height"), shown.transposed ? 64 : 48);
    EXPECT_EQ(file_param(plain, "width"), 64);
    for (int number = 0; number < 3; ++number)
        ASSERT_EQ(first_pixels(upright), turned(first_pixels(plain), 64, 48, shown)) << "picture " << number;
}

TEST_P(Upright, IsDeliveredAlikeInEveryWay) {
    const std::filesystem::path path = film({"yuv420p", 64, 48});
    const Media reader = open_media(path.string(), kUpright);
    const Bytes expected = first_pixels(reader);
    Bytes buffer = picture_buffer(reader);
    EXPECT_GT(qmio_get_buf(reader.get(), buffer.data()), 0);
    EXPECT_EQ(buffer, expected);

    const Media packets = open_media(path.string(), kUpright);
    std::fill(buffer.begin(), buffer.end(), uint8_t{1});
    while (qmio_get_frame(packets.get()) == QMIO_PACKET_VIDEO && qmio_video_frame(packets.get(), buffer.data()) < 1)
        qmio_release_frame(packets.get());
    EXPECT_EQ(buffer, expected);

    const int width = static_cast<int>(file_param(reader, "width"));
    const int height = static_cast<int>(file_param(reader, "height"));
    const int line = (width * 4 + 63) / 64 * 64;
    Bytes block(static_cast<std::size_t>(line) * static_cast<std::size_t>(height));
    imio_picture record{};
    record.data = block.data();
    record.width = width;
    record.height = height;
    record.line_size = line;
    record.alignment = 64;
    ASSERT_EQ(imio_get_buf(reader.get(), &record), height);
    for (int row = 0; row < height; ++row)
        ASSERT_EQ(
            std::memcmp(&block[static_cast<std::size_t>(row * line)],
                        &expected[static_cast<std::size_t>(row * width * 4)], static_cast<std::size_t>(width) * 4),
            0)
            << "row " << row;
}

TEST_P(Upright, IsReachedByNumber) {
    const std::filesystem::path path = film({"yuv420p", 64, 48});
    Player plain(path);
    Player upright(path, L"rotate=1");
    for (const int frame : {3, 1, 2, 0}) {
        plain.read_at(frame);
        upright.read_at(frame);
        EXPECT_EQ(upright.pixels(), turned(plain.pixels(), 64, 48, GetParam())) << "frame " << frame;
    }
}

// What the ffmpeg program makes of it, plane by plane, also where chroma has half a sample at the edge.
TEST_P(Upright, IsWhatTheFfmpegProgramShows) {
    if (!Probe::is_there())
        GTEST_SKIP() << "there is no ffmpeg program";
    for (const Form& form : {Form{"yuv420p", 64, 48}, Form{"yuv420p", 71, 37}, Form{"yuv420p", 37, 70}}) {
        const std::filesystem::path path = film(form);
        const std::filesystem::path shown = folder_ / "shown.yuv";
        ASSERT_EQ(
            run("ffmpeg", {"-v", "error", "-y", "-i", utf8(path), "-frames:v", "1", "-pix_fmt", "yuv420p", utf8(shown)})
                .exit_code,
            0);
        const Media upright = open_media(path.string(), kUpright);
        const Bytes expected = read_bytes(shown);
        Bytes block(expected.size());
        imio_picture record{};
        record.data = block.data();
        record.width = static_cast<int>(file_param(upright, "width"));
        record.height = static_cast<int>(file_param(upright, "height"));
        record.alignment = 1;
        qmio_set_dst_fmt(upright.get(), qmio_fmtid("AV_PIX_FMT_YUV420P"));
        ASSERT_GT(imio_read_frame(upright.get(), &record), 0);
        EXPECT_EQ(block, expected) << form.width << " x " << form.height;
    }
}

// Two pixels of a row share their colour, which two of a column cannot in the same format.
TEST_P(Upright, KeepsColoursThatRowsAloneShare) {
    const std::filesystem::path path = film({"yuv422p", 64, 48});
    const Media plain = open_media(path.string(), "threads=1");
    const Media upright = open_media(path.string(), kUpright);
    const Bytes expected = turned(first_pixels(plain), 64, 48, GetParam());
    const Bytes pixels = first_pixels(upright);
    ASSERT_EQ(pixels.size(), expected.size());
    int64_t difference = 0;
    for (std::size_t byte = 0; byte < pixels.size(); ++byte)
        difference += std::abs(pixels[byte] - expected[byte]);
    EXPECT_LT(difference, static_cast<int64_t>(pixels.size()) * 2);
}

INSTANTIATE_TEST_SUITE_P(Ways, Upright, testing::ValuesIn(kWays),
                         [](const auto& shown) { return std::string(shown.param.name); });

TEST(RotateOption, TurnsTheShapeOfPixels) {
    const TempDir folder;
    make_film(folder / "film.mov", {"yuv420p", 64, 48});
    set_matrix(folder / "film.mov", kWays[1]);
    const Media plain = open_media((folder / "film.mov").string());
    const Media upright = open_media((folder / "film.mov").string(), kUpright);
    const int64_t before = qmio_get_stream_param(plain.get(), "dar", 0);
    if (before > 0) {
        EXPECT_NEAR(static_cast<double>(qmio_get_stream_param(upright.get(), "dar", 0)),
                    1e6 / static_cast<double>(before), 1);
    }
    EXPECT_EQ(qmio_get_stream_param(plain.get(), "sar", 0), qmio_get_stream_param(upright.get(), "sar", 0));
}

TEST(RotateOption, ChangesNothingWhereNothingIsTold) {
    Player plain(media_path("plain.mp4"));
    Player upright(media_path("plain.mp4"), L"rotate=1");
    EXPECT_EQ(plain.read().hash, upright.read().hash);
    EXPECT_TRUE(open_media(media_path("tone.wav").string(), "rotate=1,matrix=file,count=1"));
}

// ---- Colours --------------------------------------------------------------------------------------------------------

// The middle of a picture of one colour that was written as the arguments say.
std::array<int, 3> colour_of(const std::string& options, const std::string& conversion, const Arguments& encoding) {
    const TempDir folder;
    Arguments arguments{
        "-v", "error", "-y", "-f", "lavfi", "-i", "color=0xc04020:size=64x64:rate=5:duration=1,format=rgb24"};
    arguments.insert(arguments.end(), {"-vf", conversion});
    arguments.insert(arguments.end(), encoding.begin(), encoding.end());
    arguments.push_back(utf8(folder / "film.mkv"));
    EXPECT_EQ(run("ffmpeg", arguments).exit_code, 0);
    const Media media = open_media((folder / "film.mkv").string(), options);
    const Bytes pixels = next_picture(media).pixels;
    if (pixels.size() != std::size_t{64} * 64 * 4)
        return {};
    const uint8_t* const middle = &pixels[(std::size_t{32} * 64 + 32) * 4];
    return {middle[2], middle[1], middle[0]};
}

TEST(MatrixOption, GivesTheColoursThatWereWritten) {
    if (!Probe::is_there())
        GTEST_SKIP() << "there is no ffmpeg program";
    for (const char* matrix : {"bt709", "smpte170m", "bt470bg", "fcc", "smpte240m", "bt2020nc"})
        for (const char* range : {"tv", "pc"})
            for (const char* pixels : {"yuv420p", "yuv444p10le"}) {
                const std::string scaler = std::string(matrix) == "bt2020nc" ? "bt2020" : matrix;
                const std::array<int, 3> colour = colour_of(
                    "matrix=file", "scale=out_color_matrix=" + scaler + ":out_range=" + range + ",format=" + pixels,
                    {"-c:v", "ffv1", "-colorspace", matrix, "-color_range", range});
                for (std::size_t component = 0; component < 3; ++component)
                    EXPECT_NEAR(colour[component], (std::array{0xC0, 0x40, 0x20})[component], 2)
                        << matrix << ' ' << range << ' ' << pixels << ", component " << component;
            }
}

TEST(MatrixOption, LeavesColoursOfWhichNothingIsToldAsTheyAre) {
    if (!Probe::is_there())
        GTEST_SKIP() << "there is no ffmpeg program";
    const Arguments untold{"-c:v", "ffv1"};
    const std::string bt709 =
        "scale=out_color_matrix=bt709:out_range=tv,format=yuv420p,setparams=colorspace=unknown:range=unknown";
    EXPECT_EQ(colour_of("matrix=file", bt709, untold), colour_of("", bt709, untold));
    const Arguments told{"-c:v", "ffv1", "-colorspace", "bt709", "-color_range", "tv"};
    EXPECT_EQ(colour_of("matrix=default", bt709, told), colour_of("", bt709, told));
    EXPECT_NE(colour_of("matrix=file", bt709, told), colour_of("", bt709, told));
}

}  // namespace
}  // namespace qmio::test
