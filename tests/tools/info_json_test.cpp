// qmio info --json against ffprobe and against its description.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "support/json.h"
#include "support/made_file.h"
#include "support/probe.h"
#include "tools/command_line.h"

namespace qmio::test {
namespace {

using testing::HasSubstr;

JsonLeaves json_of(const std::filesystem::path& path) {
    const Outcome outcome = run_qmio({"info", "--json", utf8(path)});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
    return read_json(outcome.output);
}

// What ffprobe tells, in the words of our own; empty when it tells nothing.
std::string told(const Probe& probe, const std::string& key) {
    const std::string answer = probe[key];
    return answer == "N/A" || answer == "unknown" || answer == "unspecified" || answer == "[0][0][0][0]" ? "" : answer;
}

std::string microseconds(const std::string& seconds) {
    return seconds.empty() ? "" : std::to_string(std::llround(std::stod(seconds) * 1e6));
}

// A file of its own beside ffprobe's word on it.
class Compared {
  public:
    explicit Compared(const std::filesystem::path& path)
        : leaves_(json_of(path)), probe_(path, Probe::Depth::headers) {}

    void compare() const {
        expect("container.format", probe_["format.format_name"]);
        expect("container.format_long", probe_["format.format_long_name"]);
        compare_times("container.", "format.");
        if (leaves_.count("video.stream") > 0)
            compare_video("stream." + leaf("video.stream") + ".");
        else
            expect("video", "");
        for (int track = 0; leaves_.count("tracks." + std::to_string(track) + ".stream") > 0; ++track)
            compare_track("tracks." + std::to_string(track) + ".");
    }

  private:
    std::string leaf(const std::string& path) const {
        const auto found = leaves_.find(path);
        return found != leaves_.end() ? found->second.value_or("") : "missing";
    }
    void expect(const std::string& path, const std::string& answer) const { EXPECT_EQ(leaf(path), answer) << path; }

    void compare_same(const std::string& to, const std::string& from, std::initializer_list<const char*> keys) const {
        for (const std::string key : keys)
            expect(to + key, told(probe_, from + key));
    }
    void compare_times(const std::string& to, const std::string& from) const {
        expect_time(to + "duration_us", microseconds(told(probe_, from + "duration")));
        expect_time(to + "start_us", microseconds(told(probe_, from + "start_time")));
        compare_same(to, from, {"bit_rate"});
    }
    // ffprobe cuts where the library rounds.
    void expect_time(const std::string& path, const std::string& time) const {
        if (time.empty())
            expect(path, "");
        else
            EXPECT_NEAR(std::stod("0" + leaf(path).substr(leaf(path)[0] == '-')), std::abs(std::stod(time)), 1.5)
                << path;
    }
    void compare_codec(const std::string& to, const std::string& from) const {
        expect(to + "codec", told(probe_, from + "codec_name"));
        expect(to + "codec_long", told(probe_, from + "codec_long_name"));
        expect(to + "codec_tag", told(probe_, from + "codec_tag_string"));
        compare_same(to, from, {"profile", "bits_per_raw_sample"});
        expect(to + "language", probe_[from + "tags.language"]);
        expect(to + "title", probe_[from + "tags.title"]);
        compare_times(to, from);
    }
    void compare_video(const std::string& from) const {
        compare_codec("video.", from);
        compare_same("video.", from,
                     {"pix_fmt", "field_order", "color_primaries", "color_transfer", "color_space", "color_range",
                      "chroma_location"});
        // A size of 0 is one that is not known.
        for (const std::string key : {"width", "height"})
            expect("video." + key, probe_[from + key] == "0" ? "" : probe_[from + key]);
        const std::string aspect = told(probe_, from + "sample_aspect_ratio");
        const bool known = !aspect.empty() && aspect[0] != '0';
        EXPECT_EQ(known ? leaf("video.pixel_aspect.0") + ":" + leaf("video.pixel_aspect.1") : "", known ? aspect : "");
    }
    void compare_track(const std::string& to) const {
        const std::string from = "stream." + leaf(to + "stream") + ".";
        compare_codec(to, from);
        compare_same(to, from, {"sample_rate", "channels", "channel_layout", "sample_fmt"});
    }

    JsonLeaves leaves_;
    Probe probe_;
};

TEST(InfoAsJson, OfEveryRealFileIsAsFfprobeTells) {
    if (!Probe::is_there())
        GTEST_SKIP() << "there is no ffprobe program";
    if (real_files().empty())
        GTEST_SKIP() << "the folder of real media is not there";
    for (const RealFile& file : real_files()) {
        SCOPED_TRACE(file.name);
        if (open_media(real_media(file.name)) != nullptr)
            Compared(real_media(file.name)).compare();
    }
}

TEST(InfoAsJson, OfMadeFilesIsAsFfprobeTells) {
    if (!Probe::is_there())
        GTEST_SKIP() << "there is no ffprobe program";
    for (const char* name : {"two_audio_tracks.mp4", "tone.wav", "still.png", "h264_tff.mp4", "raw.h264", "h264.ts",
                             "alpha_ffv1.mkv", "two_tracks_pcm_mp2.mkv"}) {
        SCOPED_TRACE(name);
        Compared(media_path(name)).compare();
    }
}

TEST(InfoAsJson, OfAFileThatTellsAllIsWhatWasWritten) {
    const TempDir folder;
    const auto file = folder / "told.mov";
    ASSERT_TRUE(make_file(file,
                          video_options("mov", "libx264",
                                        "r=30000/1001,timecode=01:00:00;02,acodec=aac,ac=2,ar=48000,afmt=fltp,"
                                        "metadata=\"title=A \\\"quoted\\\" \\\\ title\""),
                          30));
    JsonLeaves json = json_of(file);
    EXPECT_EQ(json["file"], utf8(file));
    EXPECT_EQ(json["schema"], "1");
    EXPECT_EQ(json["video.timecode"], "01:00:00;02");
    EXPECT_EQ(json["container.timecode"], "01:00:00;02");
    EXPECT_EQ(json["video.frame_rate.0"].value_or("") + "/" + json["video.frame_rate.1"].value_or(""), "30000/1001");
    EXPECT_EQ(json["video.frames"], "30");
    EXPECT_EQ(json["video.frames_origin"], "told");
    EXPECT_EQ(json["video.rotation"], "0");
    EXPECT_EQ(json["container.tags.title"].value_or("").substr(0, 1), "A");
}

TEST(InfoAsJson, TracksTellTheirSpeakers) {
    JsonLeaves json = json_of(media_path("two_audio_tracks.mp4"));
    for (const std::string track : {"tracks.0.", "tracks.1."}) {
        EXPECT_EQ(json[track + "channel_layout"], "mono");
        EXPECT_EQ(json[track + "channel_mask"], "4");
        EXPECT_EQ(json[track + "channels"], "1");
    }
}

TEST(InfoAsJson, UnknownIsNullAndNothingIsMissing) {
    JsonLeaves raw = json_of(media_path("raw.h264"));
    for (const char* path : {"container.duration_us", "container.bit_rate", "container.timecode", "video.frames",
                             "video.frames_origin", "video.duration_us", "video.title"}) {
        ASSERT_EQ(raw.count(path), 1U) << path;
        EXPECT_FALSE(raw[path]) << path;
    }
    EXPECT_EQ(raw["tracks"], "[]");
    JsonLeaves tone = json_of(media_path("tone.wav"));
    ASSERT_EQ(tone.count("video"), 1U);
    EXPECT_FALSE(tone["video"]);
}

// The last word of a path, without the numbers of lists and the keys of tags.
std::set<std::string> names_in(const JsonLeaves& leaves) {
    std::set<std::string> names;
    for (const auto& [path, value] : leaves) {
        std::string kept =
            path.substr(0, path.find(".tags") != std::string::npos ? path.find(".tags") + 5 : path.size());
        while (!kept.empty() && std::isdigit(static_cast<unsigned char>(kept.back())) != 0)
            kept.erase(kept.rfind('.') == std::string::npos ? 0 : kept.rfind('.'));
        names.insert(kept.substr(kept.rfind('.') + 1));
    }
    return names;
}

TEST(InfoAsJson, EveryNameIsDescribed) {
    const std::string description = content_of(path_of(QMIO_INFO_JSON));
    const std::set<std::string> names = names_in(json_of(media_path("two_audio_tracks.mp4")));
    EXPECT_GE(names.size(), 40U);
    for (const std::string& name : names)
        EXPECT_THAT(description, HasSubstr("`" + name + "`"));
}

TEST(InfoAsJson, ShowsNoAddresses) {
    EXPECT_EQ(run_qmio({"info", "--json", made("two_audio_tracks.mp4")}).output,
              run_qmio({"info", "--json", made("two_audio_tracks.mp4")}).output)
        << "the same file twice";
}

}  // namespace
}  // namespace qmio::test
