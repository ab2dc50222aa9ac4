#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/command_line.h"

namespace qmio::test {
namespace {

using testing::HasSubstr;

void expect_failure(const Arguments& arguments, const std::string& message) {
    const Outcome outcome = run_qmio(arguments);
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_THAT(outcome.error_text, HasSubstr("qmio: " + message));
    EXPECT_EQ(outcome.output, "");
}

void expect_wrong_usage(const Arguments& arguments) {
    const Outcome outcome = run_qmio(arguments);
    EXPECT_EQ(outcome.exit_code, 2);
    EXPECT_NE(outcome.error_text, "");
}

void write_text(const std::filesystem::path& path, const std::string& text) {
    write_bytes(path, Bytes(text.begin(), text.end()));
}

TEST(CommandLineFailure, AMissingFileIsNamed) {
    const TempDir folder;
    const std::string name = utf8(folder / "absent.mp4");
    expect_failure({"info", name}, "cannot open " + name + ": No such file or directory");
}

TEST(CommandLineFailure, AFileThatIsNoMediaFileIsNamed) {
    const TempDir folder;
    const std::string name = utf8(folder / "letter.mp4");
    write_text(folder / "letter.mp4", std::string(4096, 'x'));
    expect_failure({"info", name}, "cannot open " + name + ": Invalid data");
}

TEST(CommandLineFailure, AnEmptyFileIsNamed) {
    const TempDir folder;
    const std::string name = utf8(folder / "empty.mp4");
    write_text(folder / "empty.mp4", "");
    expect_failure({"info", name}, "cannot open " + name + ": ");
}

TEST(CommandLineFailure, AFolderIsNamed) {
    const TempDir folder;
    const std::string name = utf8(folder.path());
    expect_failure({"info", name}, "cannot open " + name + ": ");
}

TEST(CommandLineFailure, MemoryCannotBeNamed) {
    expect_failure({"info", "Mem:10"}, "Mem:10: memory cannot be named on a command line");
}

TEST(CommandLineFailure, ADamagedFileIsNamed) {
    const TempDir folder;
    const Bytes whole = read_bytes(media_path("plain.mp4"));
    write_bytes(folder / "cut.mp4",
                Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(whole.size() / 2)));
    const std::string name = utf8(folder / "cut.mp4");
    expect_failure({"sheet", name, "--out", utf8(folder / "sheet.png")}, "cannot open " + name + ": Invalid data");
}

TEST(CommandLineFailure, SoundAloneHasNoFrames) {
    const TempDir folder;
    const std::string name = made("tone.wav");
    expect_failure({"frames", name, "--at", "0", "--out", utf8(folder.path())}, name + ": has no video stream");
    expect_failure({"sheet", name, "--out", utf8(folder / "sheet.png")}, name + ": has no video stream");
    EXPECT_FALSE(std::filesystem::exists(folder / "sheet.png"));
}

TEST(CommandLineFailure, AFolderThatCannotBeMadeIsNamed) {
    const TempDir folder;
    write_text(folder / "file", "in the way");
    const std::string name = utf8(folder / "file" / "deeper");
    expect_failure({"frames", made("still.png"), "--at", "0", "--out", name}, name + ": the folder cannot be made: ");
}

TEST(CommandLineFailure, AFileThatCannotBeWrittenIsNamed) {
    const TempDir folder;
    const std::string name = utf8(folder / "absent" / "sheet.png");
    expect_failure({"sheet", made("still.png"), "--out", name}, "cannot make " + name + ": No such file");
}

TEST(CommandLineUsage, WrongUsageEndsWithTwo) {
    expect_wrong_usage({});
    expect_wrong_usage({"paint"});
    expect_wrong_usage({"info"});
    expect_wrong_usage({"frames", made("plain.mp4")});
    expect_wrong_usage({"frames", made("plain.mp4"), "--at", "-1"});
    expect_wrong_usage({"frames", made("plain.mp4"), "--at", "seven"});
    expect_wrong_usage({"sheet", made("plain.mp4")});
    expect_wrong_usage({"sheet", made("plain.mp4"), "--out", "unused.png", "--columns", "0"});
    expect_wrong_usage({"sheet", made("plain.mp4"), "--out", "unused.png", "--count", "0"});
}

TEST(CommandLineUsage, WhatIsWrongIsSaidInALine) {
    EXPECT_EQ(run_qmio({}).error_text, "qmio: a verb is missing, such as: qmio info FILE\nSee: qmio --help\n");
    EXPECT_EQ(run_qmio({"paint", "x"}).error_text, "qmio: there is no verb 'paint'\nSee: qmio --help\n");
    EXPECT_EQ(run_qmio({"info"}).error_text, "qmio: FILE is required\nSee: qmio info --help\n");
    for (const char* list : {"-1", "seven", "1,", "1,,2", "1 2", "4294967296", ""}) {
        const Outcome outcome = run_qmio({"frames", "--at", list, made("plain.mp4")});
        EXPECT_EQ(outcome.exit_code, 2) << list;
        EXPECT_THAT(outcome.error_text, HasSubstr("'" + std::string(list) + "' is no list of frame numbers")) << list;
        EXPECT_THAT(outcome.error_text, HasSubstr("See: qmio frames --help"));
    }
}

TEST(CommandLineUsage, HelpIsNoFailure) {
    const Outcome outcome = run_qmio({"--help"});
    EXPECT_EQ(outcome.exit_code, 0);
    for (const char* verb : {"info", "frames", "sheet"})
        EXPECT_THAT(outcome.output, HasSubstr(verb));
}

TEST(CommandLineUsage, NoProgressIsShownWhereNobodyWatches) {
    const TempDir folder;
    const Outcome outcome = run_qmio({"sheet", made("plain.mp4"), "--out", utf8(folder / "sheet.png")});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error_text, "");
}

TEST(ExampleHosts, ReadFramesCountsEveryFrame) {
    const Outcome outcome = run(host_program("read_frames"), {made("plain.mp4")});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_THAT(outcome.output, HasSubstr("150 frames of 320 x 192"));
    EXPECT_EQ(run(host_program("read_frames"), {made("tone.wav")}).exit_code, 1);
    EXPECT_EQ(run(host_program("read_frames")).exit_code, 1);
}

TEST(ExampleHosts, SeekFramesTellsFramesFromPlacesWithoutOne) {
    const Outcome outcome = run(host_program("seek_frames"), {made("plain.mp4"), "149", "0", "150"});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_THAT(outcome.output,
                testing::ContainsRegex("frame 149: red .*\nframe 0: red .*\nframe 150: not in the file"));
}

TEST(ExampleHosts, SeekFramesShowsAStillPictureAsOftenAsItIsAskedFor) {
    const Outcome outcome = run(host_program("seek_frames"), {made("still.png"), "0", "5", "0"});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_THAT(outcome.output,
                testing::ContainsRegex("frame 0: red .*\r?\nframe 5: not in the file\r?\nframe 0: red "));
}

}  // namespace
}  // namespace qmio::test
