// What verbs do with the names of files that they write: nothing half ever stands under one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/command_line.h"

namespace qmio::test {
namespace {

using testing::HasSubstr;

constexpr const char* kBefore = "what was there before";

class WrittenName : public testing::Test {
  protected:
    std::string put(const std::string& name) const {
        write_bytes(folder_ / name, Bytes(kBefore, kBefore + std::string(kBefore).size()));
        return utf8(folder_ / name);
    }

    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_.path()))
            names.push_back(utf8(entry.path().filename()));
        return names;
    }

    void expect_untouched(const std::string& name) const {
        EXPECT_EQ(content_of(folder_ / name), kBefore) << name;
        EXPECT_THAT(files(), testing::ElementsAre(name));
    }

    TempDir folder_;
};

// Every verb that writes a file, to this one.
std::vector<Arguments> writing_verbs(const std::string& out) {
    const std::string film = made("two_audio_tracks.mp4");
    return {{"convert", film, out, "fmt=matroska,vcodec=mjpeg"},
            {"remux", film, out, "--options", "fmt=matroska"},
            {"make", out, "fmt=matroska,vcodec=mjpeg", "--frames", "3"},
            {"audio", film, "--out", out},
            {"wave", film, "--out", out},
            {"sheet", film, "--out", out, "--count", "2"}};
}

TEST_F(WrittenName, OfAFileThatIsThereIsKeptUnlessForced) {
    const std::string out = put("there.bin");
    for (Arguments arguments : writing_verbs(out)) {
        const Outcome outcome = run_qmio(arguments);
        EXPECT_EQ(outcome.exit_code, 1) << arguments[0];
        EXPECT_THAT(outcome.error_text, HasSubstr(out + ": is there already")) << arguments[0];
        expect_untouched("there.bin");
    }
    for (Arguments arguments : writing_verbs(out)) {
        put("there.bin");
        arguments.emplace_back("--force");
        EXPECT_EQ(run_qmio(arguments).exit_code, 0) << arguments[0];
        EXPECT_NE(content_of(folder_ / "there.bin"), kBefore) << arguments[0];
        EXPECT_THAT(files(), testing::ElementsAre("there.bin")) << arguments[0];
    }
}

TEST_F(WrittenName, OfPicturesThatAreThereIsKeptUnlessForced) {
    put("frame-000003.png");
    const Arguments arguments{"frames", made("plain.mp4"), "--at", "2,3", "--out", utf8(folder_.path())};
    EXPECT_THAT(run_qmio(arguments).error_text, HasSubstr("frame-000003.png: is there already"));
    expect_untouched("frame-000003.png");
    Arguments forced = arguments;
    forced.emplace_back("--force");
    EXPECT_EQ(run_qmio(forced).exit_code, 0);
    EXPECT_EQ(files().size(), 2U);
}

TEST_F(WrittenName, OfNumberedPicturesIsKeptUnlessForced) {
    put("a004.png");
    const Arguments arguments{"make", utf8(folder_ / "a%03d.png"), "vcodec=png,size=64x64", "--frames", "5"};
    EXPECT_THAT(run_qmio(arguments).error_text, HasSubstr("a004.png: is there already"));
    expect_untouched("a004.png");
    Arguments forced = arguments;
    forced.emplace_back("--force");
    EXPECT_EQ(run_qmio(forced).exit_code, 0);
    EXPECT_EQ(files().size(), 5U);
}

TEST_F(WrittenName, WithABarIsRefused) {
    for (const Arguments& arguments : writing_verbs(utf8(folder_.path()) + "/a.mkv|b.mkv")) {
        const Outcome outcome = run_qmio(arguments);
        EXPECT_EQ(outcome.exit_code, 1) << arguments[0];
        EXPECT_THAT(outcome.error_text, HasSubstr("has a '|'")) << arguments[0];
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

TEST_F(WrittenName, IsKeptWhenTheOptionsFail) {
    const std::string out = put("film.mp4");
    for (const char* options : {"vcodec=libx264,profile=nonsense", "fmt=wav,vcodec=mjpeg", "vcodec=nonsense",
                                "fmt=nosuch,vcodec=mjpeg", "vcodec=libx264,size=0x0"}) {
        EXPECT_EQ(run_qmio({"convert", made("plain.mp4"), out, options, "--force"}).exit_code, 1) << options;
        EXPECT_EQ(run_qmio({"make", out, options, "--force"}).exit_code, 1) << options;
        expect_untouched("film.mp4");
    }
}

TEST_F(WrittenName, ThatIsLongOrOfManyScriptsIsGivenToo) {
    for (const std::string& name : {std::string(230, 'x') + ".mkv", std::string("\xD0\xB8 \xE6\x97\xA5.mkv")}) {
        const auto file = folder_ / path_of(name);
        EXPECT_EQ(run_qmio({"make", utf8(file), "vcodec=mjpeg", "--frames", "2"}).exit_code, 0) << name;
        EXPECT_NE(open_media(file), nullptr) << name;
        std::filesystem::remove(file);
        EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
    }
}

#ifdef _WIN32

TEST_F(WrittenName, IsKeptOnAFullDiskAndWhenTheProgramIsStopped) {
    GTEST_SKIP() << "has neither signals nor a limit for files";
}

#else

// Runs a command by the shell, "$0" and "$@" in it, with the folder in $FOLDER.
Outcome run_in_shell(const std::string& script, const Arguments& arguments, const std::filesystem::path& folder) {
    Arguments all{"-c", script, utf8(host_program("qmio"))};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return run("sh", all, {{"FOLDER", utf8(folder)}});
}

// A limit for the size of a file is to a program what a full disk is.
TEST_F(WrittenName, IsKeptOnAFullDisk) {
    const std::string out = put("out.mkv");
    const std::string film = made("two_audio_tracks.mp4");
    const std::vector<Arguments> verbs = {{"convert", film, out, "vcodec=ffv1,acodec=flac"},
                                          {"convert", film, out, "acodec=pcm_s16le"},
                                          {"convert", film, out, "fmt=wav,acodec=pcm_s16le"},
                                          {"convert", film, out, "fmt=mp4,acodec=aac,b:a=320k"},
                                          {"remux", film, out},
                                          {"make", out, "vcodec=ffv1,acodec=flac"},
                                          {"audio", film, "--out", out},
                                          {"wave", film, "--out", out, "--width", "8000"}};
    for (Arguments arguments : verbs) {
        arguments.emplace_back("--force");
        const Outcome outcome = run_in_shell("ulimit -f 8; exec \"$0\" \"$@\"", arguments, folder_.path());
        EXPECT_EQ(outcome.exit_code, 1) << arguments[0] << ' ' << arguments[3] << outcome.error_text;
        EXPECT_THAT(outcome.error_text, HasSubstr("out.mkv")) << arguments[0];
        expect_untouched("out.mkv");
    }
}

// Sends the signal once the file is being written.
constexpr const char* kStopped = R"(
env --default-signal=INT "$0" "$@" 2>/dev/null &
for try in $(seq 400); do
    ls "$FOLDER"/.*.partial-* >/dev/null 2>&1 && break
    sleep 0.05
done
kill -s "$SIGNAL" $!
wait $!)";

class StoppedProgram : public WrittenName, public testing::WithParamInterface<const char*> {};

TEST_P(StoppedProgram, LeavesTheFileAsItWas) {
    const std::string out = put("out.mkv");
    const Outcome outcome =
        run_in_shell(std::string("SIGNAL=") + GetParam() + kStopped,
                     {"make", out, "vcodec=ffv1,acodec=flac", "--frames", "9999999", "--force"}, folder_.path());
    EXPECT_GT(outcome.exit_code, 128);
    EXPECT_EQ(content_of(folder_ / "out.mkv"), kBefore);
    // What is killed cannot clean up.
    EXPECT_EQ(files().size(), std::string(GetParam()) == "KILL" ? 2U : 1U);
}

INSTANTIATE_TEST_SUITE_P(Signals, StoppedProgram, testing::Values("INT", "TERM", "HUP", "KILL"),
                         [](const auto& tested) { return std::string(tested.param); });

TEST_F(WrittenName, MayBeStandardOutputOrADevice) {
    const auto file = folder_ / "out.mkv";
    EXPECT_EQ(run_in_shell("exec \"$0\" \"$@\" > \"$FOLDER/out.mkv\"",
                           {"make", "-", "fmt=matroska,vcodec=mjpeg", "--frames", "3"}, folder_.path())
                  .exit_code,
              0);
    EXPECT_EQ(Player(file).read_rest(10).size(), 3U);
    EXPECT_EQ(run_qmio({"make", "/dev/null", "fmt=matroska,vcodec=mjpeg", "--frames", "3"}).exit_code, 0);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(WrittenName, OfALinkIsThatOfTheFileBehindIt) {
    put("file.mkv");
    std::filesystem::create_symlink("file.mkv", folder_ / "link.mkv");
    EXPECT_EQ(run_qmio({"make", utf8(folder_ / "link.mkv"), "vcodec=mjpeg", "--frames", "3", "--force"}).exit_code, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "link.mkv"));
    EXPECT_EQ(Player(folder_ / "file.mkv").read_rest(10).size(), 3U);
}

#endif

}  // namespace
}  // namespace qmio::test
