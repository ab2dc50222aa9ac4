#include <gtest/gtest.h>

#include "support/numbered_picture.h"
#include "tools/command_line.h"
#include "tools/png_file.h"

namespace qmio::test {
namespace {

int number_in(const PngFile& file) {
    return file.width > 0 ? read_number(file.rgba.data(), file.width, file.height, file.width * 4) : -1;
}

// What the library delivers as the first picture of a file, red first.
Bytes first_picture(const std::string& name) {
    const Media media = open_media(media_path(name));
    qmio_set_dst_fmt(media.get(), AV_PIX_FMT_RGBA);
    return next_picture(media).pixels;
}

std::size_t files_in(const TempDir& folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder.path()), {}));
}

TEST(FramesVerb, EveryFileHoldsTheFrameThatItIsNamedFor) {
    const TempDir folder;
    const Outcome outcome =
        run_qmio({"frames", made("bframes_open_gop.mp4"), "--at", "100,0,17,119", "--out", utf8(folder.path())});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
    EXPECT_EQ(number_in(read_png(folder / "frame-000100.png")), 100);
    EXPECT_EQ(number_in(read_png(folder / "frame-000000.png")), 0);
    EXPECT_EQ(number_in(read_png(folder / "frame-000017.png")), 17);
    EXPECT_EQ(number_in(read_png(folder / "frame-000119.png")), 119);
    EXPECT_EQ(files_in(folder), 4U);
}

TEST(FramesVerb, TheFileMayStandBehindTheNumbers) {
    const TempDir folder;
    const Outcome outcome = run_qmio({"frames", "--at", "0,5", made("plain.mp4"), "--out", utf8(folder.path())});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
    EXPECT_EQ(number_in(read_png(folder / "frame-000005.png")), 5);
    EXPECT_EQ(files_in(folder), 2U);
}

TEST(FramesVerb, FindsFramesByCountingWhereItsOptionsSaySo) {
    const TempDir folder;
    const Arguments arguments{"frames", made("raw.h264"), "--at", "41", "--out", utf8(folder.path())};
    EXPECT_EQ(run_qmio(arguments).exit_code, 1);
    Arguments counting = arguments;
    counting.insert(counting.end(), {"--options", "count=1"});
    EXPECT_EQ(run_qmio(counting).exit_code, 0);
    EXPECT_EQ(number_in(read_png(folder / "frame-000041.png")), 41);
}

TEST(FramesVerb, TheFileHasEveryPixelThatTheLibraryDelivers) {
    const TempDir folder;
    run_qmio({"frames", made("odd_161x121.webm"), "--at", "0", "--out", utf8(folder.path())});
    const PngFile file = read_png(folder / "frame-000000.png");
    EXPECT_EQ(file.width, 161);
    EXPECT_EQ(file.height, 121);
    EXPECT_EQ(file.rgba, first_picture("odd_161x121.webm"));
}

TEST(FramesVerb, TransparentPixelsStayTransparent) {
    const TempDir folder;
    run_qmio({"frames", made("alpha_ffv1.mkv"), "--at", "0", "--out", utf8(folder.path())});
    const PngFile file = read_png(folder / "frame-000000.png");
    ASSERT_GT(file.width, 0);
    EXPECT_NE(file.pixel(0, 0)[3], 255);
    EXPECT_EQ(file.rgba, first_picture("alpha_ffv1.mkv"));
}

TEST(FramesVerb, AStillPictureCanBeAskedForTwice) {
    const TempDir folder;
    const Outcome outcome = run_qmio({"frames", made("still.png"), "--at", "0,0", "--out", utf8(folder.path())});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
    EXPECT_EQ(read_png(folder / "frame-000000.png").rgba, first_picture("still.png"));
}

TEST(FramesVerb, AStillPictureCanBeAskedForAgainAfterAFrameThatItHasNot) {
    const TempDir folder;
    const std::string name = made("still.png");
    const Outcome outcome = run_qmio({"frames", name, "--at", "0,5,0", "--out", utf8(folder.path())});
    EXPECT_NE(outcome.error_text.find(name + ": no picture at frame 5 (it counts 1 frames)"), std::string::npos);
    EXPECT_EQ(read_png(folder / "frame-000000.png").rgba, first_picture("still.png"));
}

TEST(FramesVerb, TheFrameBeforeCanBeAskedForAgain) {
    const TempDir folder;
    const Outcome outcome = run_qmio({"frames", made("plain.mp4"), "--at", "30,30,29", "--out", utf8(folder.path())});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.error_text, "") << "where nothing went wrong nothing is told";
    EXPECT_EQ(number_in(read_png(folder / "frame-000030.png")), 30);
    EXPECT_EQ(number_in(read_png(folder / "frame-000029.png")), 29);
}

TEST(FramesVerb, NamesTheFramesThatTheFileHasNotAndWritesTheOthers) {
    const TempDir folder;
    const Outcome outcome =
        run_qmio({"frames", made("plain.mp4"), "--at", "150,149,4000", "--out", utf8(folder.path())});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_NE(outcome.error_text.find(made("plain.mp4") + ": no picture at frame 150, 4000 (it counts 150 frames)"),
              std::string::npos)
        << outcome.error_text;
    EXPECT_EQ(number_in(read_png(folder / "frame-000149.png")), 149);
    EXPECT_EQ(files_in(folder), 1U);
}

TEST(FramesVerb, MakesTheFoldersThatAreMissing) {
    const TempDir folder;
    const Outcome outcome =
        run_qmio({"frames", made("still.png"), "--at", "0", "--out", utf8(folder / "new" / "deeper")});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
    EXPECT_EQ(read_png(folder / "new" / "deeper" / "frame-000000.png").width, 161);
}

TEST(FramesVerb, NamesOutsideAsciiAreRead) {
    const TempDir folder;
    const std::filesystem::path clip = folder / path_of("кадр 100% [映像] 🎬.mp4");
    std::filesystem::copy_file(media_path("plain.mp4"), clip);
    const std::filesystem::path out = folder / path_of("кадры 映像");
    const Outcome outcome = run_qmio({"frames", utf8(clip), "--at", "7", "--out", utf8(out)});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
    EXPECT_EQ(number_in(read_png(out / "frame-000007.png")), 7);
}

}  // namespace
}  // namespace qmio::test
