// qmio remux: copies judged by reading them back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/command_line.h"

namespace qmio::test {
namespace {

using testing::HasSubstr;

class RemuxVerb : public testing::Test {
  protected:
    std::string out(const std::string& name) const { return utf8(folder_ / name); }

    std::string container_of(const std::string& name) const {
        const Media media = open_media(folder_ / name);
        return media != nullptr ? qmio_get_file_info(media.get(), "fmt") : "";
    }

    TempDir folder_;
};

TEST_F(RemuxVerb, CopiesPicturesAndSoundIntoTheContainerOfTheName) {
    const std::string film = made("small_h264_aac.mp4");
    const struct {
        const char* name;
        const char* container;
    } kinds[] = {{"a.mkv", "matroska"}, {"a.ts", "mpegts"}, {"a.avi", "avi"},
                 {"a.mov", "mov"},      {"a.nut", "nut"},   {"a.flv", "flv"}};
    for (const auto& kind : kinds) {
        const Outcome outcome = run_qmio({"remux", film, out(kind.name)});
        EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
        EXPECT_EQ(outcome.output, "");
        EXPECT_THAT(container_of(kind.name), HasSubstr(kind.container));
        Player player(folder_ / kind.name);
        EXPECT_EQ(difference(player.read_rest(1000), made_references("small_h264_aac.mp4")), "") << kind.name;
        EXPECT_EQ(file_param(open_media(folder_ / kind.name), "naudio"), 1);
    }
}

TEST_F(RemuxVerb, TellsTheContainerWhatTheOptionsSay) {
    EXPECT_EQ(
        run_qmio({"remux", made("plain.mp4"), out("film.bin"), "--options", "fmt=mp4,movflags=faststart"}).exit_code,
        0);
    const std::string bytes = content_of(folder_ / "film.bin");
    EXPECT_LT(bytes.find("moov"), bytes.find("mdat"));
    EXPECT_EQ(run_qmio({"remux", made("plain.mp4"), out("film.mov"), "--options", "f=matroska"}).exit_code, 0);
    EXPECT_THAT(container_of("film.mov"), HasSubstr("matroska")) << "they win over the name";
}

TEST_F(RemuxVerb, SaysWhyNothingCanBeCopied) {
    const auto complaint = [&](const Arguments& arguments) {
        const Outcome outcome = run_qmio(arguments);
        EXPECT_EQ(outcome.exit_code, 1);
        return outcome.error_text;
    };
    EXPECT_THAT(complaint({"remux", made("plain.mp4"), out("film")}), HasSubstr("name no container"));
    EXPECT_THAT(complaint({"remux", made("plain.mp4"), out("film.what")}), HasSubstr("name no container"));
    EXPECT_THAT(complaint({"remux", made("plain.mp4"), out("film.mkv"), "--options", "fmt=what"}),
                HasSubstr("is no container"));
    EXPECT_THAT(complaint({"remux", out("missing.mp4"), out("film.mkv")}), HasSubstr("No such file"));
    EXPECT_THAT(complaint({"remux", made("tone.wav"), out("film.mkv")}), HasSubstr("tone.wav"));
    EXPECT_THAT(complaint({"remux", made("plain.mp4"), out("missing/film.mkv")}), HasSubstr("No such file"));
    EXPECT_THAT(complaint({"remux", made("live_vp8.mkv"), out("film.mov")}), HasSubstr("film.mov"));
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path())) << "and leaves no half of a file";
}

TEST_F(RemuxVerb, DoesNotOverwriteWhatItReads) {
    std::filesystem::copy_file(media_path("plain.mp4"), folder_ / "film.mp4");
    const Outcome outcome = run_qmio({"remux", out("film.mp4"), out("film.mp4")});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_THAT(outcome.error_text, HasSubstr("is the file that is read"));
    EXPECT_EQ(content_of(folder_ / "film.mp4"), content_of(media_path("plain.mp4")));
}

#ifndef _WIN32
TEST_F(RemuxVerb, TellsAFullDisk) {
    for (const char* container : {"fmt=mpegts", "fmt=matroska", "fmt=avi"})
        EXPECT_EQ(run_qmio({"remux", made("intra_mpeg2.ts"), "/dev/full", "--options", container}).exit_code, 1)
            << container;
}
#endif

TEST_F(RemuxVerb, TellsWhenPicturesOutOfOrderAreShown) {
    EXPECT_EQ(run_qmio({"remux", made("mpeg4_bframes.avi"), out("film.mp4")}).exit_code, 0);
    Player player(folder_ / "film.mp4");
    const std::vector<Reference> references = made_references("mpeg4_bframes.avi");
    EXPECT_EQ(difference(player.read_rest(1000), references), "");
    for (const int frame : {40, 7, 63})
        EXPECT_EQ(player.read_at(frame).hash, references[static_cast<std::size_t>(frame)].hash) << frame;
}

}  // namespace
}  // namespace qmio::test
