// Texts and numbers about every made and real file against what the ffprobe program tells of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "support/media.h"
#include "support/probe.h"
#include "support/temp_dir.h"
#include "support/text_of.h"

namespace qmio::test {
namespace {

// What ffprobe writes for what is not known.
std::string known(const std::string& answer) {
    const bool nothing = answer == "N/A" || answer == "unknown" || answer == "unspecified" || answer == "[0][0][0][0]";
    return nothing ? "" : answer;
}

using Names = std::map<std::string, std::string>;  // our key to ffprobe's

const Names kCodecTexts = {{"codec", "codec_name"},
                           {"codec_long", "codec_long_name"},
                           {"codec_tag", "codec_tag_string"},
                           {"profile", "profile"}};
const Names kVideoTexts = {{"pix_fmt", "pix_fmt"},
                           {"field_order", "field_order"},
                           {"color_primaries", "color_primaries"},
                           {"color_transfer", "color_transfer"},
                           {"color_space", "color_space"},
                           {"color_range", "color_range"},
                           {"chroma_location", "chroma_location"}};
const Names kSoundTexts = {{"sample_fmt", "sample_fmt"}, {"channel_layout", "channel_layout"}};

// An open source beside what ffprobe told of it.
class Probed {
  public:
    Probed(const Media& media, const std::filesystem::path& path)
        : media_(media), probe_(path, Probe::Depth::headers) {}

    void compare() const {
        for (const auto& [key, name] : Names{{"format", "format_name"}, {"format_long", "format_long_name"}})
            EXPECT_EQ(text_of(media_, QMIO_CONTAINER, key).value_or(""), probe_["format." + name]);
        compare_times(QMIO_CONTAINER, "format.");
        if (file_param(media_, "nvideo") > 0)
            compare_video(stream("video", 0));
        for (int track = 0; track < file_param(media_, "naudio"); ++track)
            compare_track(track, stream("audio", track));
    }

  private:
    std::string stream(const char* key, int track) const {
        return "stream." + std::to_string(qmio_get_stream_param(media_.get(), key, track)) + ".";
    }

    void compare_texts(int track, const std::string& at, const Names& names) const {
        for (const auto& [key, name] : names)
            EXPECT_EQ(text_of(media_, track, key).value_or(""), known(probe_[at + name])) << at << key;
    }

    void compare_tags(int track, const std::string& at) const {
        for (const auto& [name, value] : probe_.values()) {
            const std::string prefix = at + "tags.";
            // Of longer texts and stranger keys ffprobe's lines do not tell all.
            if (name.rfind(prefix, 0) != 0 || name.find('_') != std::string::npos || value.size() > 40)
                continue;
            EXPECT_EQ(text_of(media_, track, "tag:" + name.substr(prefix.size())).value_or("nothing"), value) << name;
        }
    }

    void expect_microseconds(int track, const char* key, const std::string& seconds) const {
        const int64_t told = qmio_get_stream_param(media_.get(), key, track);
        if (known(seconds).empty())
            EXPECT_EQ(told, INT64_MIN) << key << track;
        else
            EXPECT_NEAR(static_cast<double>(told), std::stod(seconds) * 1e6, 1.5) << key << track;
    }

    void compare_times(int track, const std::string& at) const {
        expect_microseconds(track, "duration_us", probe_[at + "duration"]);
        expect_microseconds(track, "start_us", probe_[at + "start_time"]);
        const std::string rate = known(probe_[at + "bit_rate"]);
        EXPECT_EQ(qmio_get_stream_param(media_.get(), "bit_rate", track), rate.empty() ? 0 : std::stoll(rate)) << at;
        const std::string bits = known(probe_[at + "bits_per_raw_sample"]);
        EXPECT_EQ(qmio_get_stream_param(media_.get(), "bits_per_raw_sample", track),
                  bits.empty() ? 0 : std::stoll(bits))
            << at;
        compare_tags(track, at);
    }

    std::string ratio(const char* num, const char* den, char between) const {
        return std::to_string(file_param(media_, num)) + between + std::to_string(file_param(media_, den));
    }

    void compare_video(const std::string& at) const {
        compare_texts(QMIO_VIDEO, at, kCodecTexts);
        compare_texts(QMIO_VIDEO, at, kVideoTexts);
        compare_times(QMIO_VIDEO, at);
        const std::string aspect = known(probe_[at + "sample_aspect_ratio"]);
        EXPECT_EQ(ratio("sar_num", "sar_den", ':'), aspect.empty() ? "0:0" : aspect);
        const std::string rate = ratio("frame_rate_num", "frame_rate_den", '/');
        EXPECT_TRUE(rate == probe_[at + "r_frame_rate"] || rate == probe_[at + "avg_frame_rate"]) << rate;
        // Their degrees turn the other way round.
        const std::string turned = probe_[at + "side_data_list.side_data.0.rotation"];
        EXPECT_EQ(file_param(media_, "rotation"), turned.empty() ? 0 : (360 - std::stoi(turned)) % 360);
        const std::string told = known(probe_[at + "nb_frames"]);
        const bool same = !told.empty() && std::stoll(told) == file_param(media_, "frames");
        EXPECT_EQ(file_param(media_, "frames_origin") == QMIO_FRAMES_TOLD, same) << told;
    }

    void compare_track(int track, const std::string& at) const {
        compare_texts(track, at, kCodecTexts);
        compare_texts(track, at, kSoundTexts);
        compare_times(track, at);
        const int64_t mask = qmio_get_stream_param(media_.get(), "channel_mask", track);
        const std::map<std::string, int64_t> masks = {
            {"mono", 4}, {"stereo", 3}, {"5.1", 0x3F}, {"5.1(side)", 0x60F}, {"7.1", 0x63F}, {"unknown", 0}, {"", 0}};
        if (const auto found = masks.find(probe_[at + "channel_layout"]); found != masks.end()) {
            EXPECT_EQ(mask, found->second) << at;
        }
    }

    const Media& media_;
    Probe probe_;
};

void compare(const std::filesystem::path& path) {
    SCOPED_TRACE(utf8(path.filename()));
    const Media media = open_media(path);
    if (media != nullptr)
        Probed(media, path).compare();
}

std::vector<std::filesystem::path> made_files() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(media_path(".")))
        if (entry.is_regular_file() && entry.path().has_extension() && entry.path().extension() != ".frames" &&
            entry.path().extension() != ".sound")
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

TEST(ProbedFile, MadeOnesAreAsFfprobeTells) {
    if (!Probe::is_there())
        GTEST_SKIP() << "there is no ffprobe program";
    EXPECT_GT(made_files().size(), 40U);
    for (const std::filesystem::path& path : made_files())
        compare(path);
}

TEST(ProbedFile, RealOnesAreAsFfprobeTells) {
    if (!Probe::is_there())
        GTEST_SKIP() << "there is no ffprobe program";
    if (real_files().empty())
        GTEST_SKIP() << "the folder of real media is not there";
    for (const RealFile& file : real_files())
        compare(real_media(file.name));
}

}  // namespace
}  // namespace qmio::test
