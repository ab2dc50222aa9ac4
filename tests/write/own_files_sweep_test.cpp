// Every muxer of FFmpeg that opens its files itself: it is refused, and the host told why, or all that it wrote can be
// read back. Nothing is left out, but those that send to a network (rtsp, sap) get the name of a file alone, which they
// refuse: with an address there is nothing to read back.
#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "support/muxer_films.h"
#include "support/open_media.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

constexpr int kPictures = 75;  // three times 25
constexpr const char* kOrder = "?PSPSPS";

struct Contents {
    int files = 0;
    int unreadable = 0;
    int pictures = 0;
    int64_t sound_bytes = 0;

    bool operator==(const Contents&) const = default;
};

void PrintTo(const Contents& contents, std::ostream* out) {
    *out << contents.files << " files, " << contents.unreadable << " of them unreadable, " << contents.pictures
         << " pictures, " << contents.sound_bytes << " bytes of sound";
}

// By these demuxers alone: one of playlists waits for what a film without an end might get.
Container open_part(const std::filesystem::path& path) {
    AVDictionary* options = nullptr;
    av_dict_set(&options, "format_whitelist", "nut,image2,jpeg_pipe", 0);
    AVFormatContext* container = nullptr;
    const int result = avformat_open_input(&container, utf8(path).c_str(), nullptr, &options);
    av_dict_free(&options);
    return Container(result < 0 ? nullptr : container);
}

void add(const std::filesystem::path& path, Contents& contents) {
    ++contents.files;
    const Container container = open_part(path);
    const Packet packet(av_packet_alloc());
    contents.unreadable += container == nullptr ? 1 : 0;
    while (container != nullptr && av_read_frame(container.get(), packet.get()) >= 0) {
        const AVMediaType kind = container->streams[packet->stream_index]->codecpar->codec_type;
        contents.pictures += kind == AVMEDIA_TYPE_VIDEO ? 1 : 0;
        contents.sound_bytes += kind == AVMEDIA_TYPE_AUDIO ? packet->size : 0;
        av_packet_unref(packet.get());
    }
}

// Of all files together.
Contents contents_of(const std::filesystem::path& folder) {
    Contents contents;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        add(entry.path(), contents);
    return contents;
}

struct Film {
    const char* name;
    const char* options;
    Contents contents;
};

// A second of sound is 48,000 samples of 4 bytes.
constexpr Film kSegments = {"film%03d.nut",
                            ",vcodec=mpeg4,pix=yuv420p,size=64x48,r=25,threads:v=1,acodec=pcm_s16le,ar=48000,ac=2,"
                            "afmt=s16",
                            {2, 0, kPictures, int64_t{3} * 48000 * 4}};
constexpr Film kImages = {
    "film%03d.jpg", ",vcodec=mjpeg,pix=yuvj420p,size=64x48,r=25,threads:v=1", {kPictures, 0, kPictures, 0}};
constexpr Film kNothing = {"film%03d.nut", kSegments.options, {}};

// A muxer that nobody named here is held to be one of segments.
const Film& film_for(std::string_view muxer) {
    return muxer == "image2" ? kImages : muxer == "null" ? kNothing : kSegments;
}

std::vector<std::string> own_file_muxers() {
    std::vector<std::string> all;
    for (const AVOutputFormat* muxer : file_muxers())
        if ((muxer->flags & AVFMT_NOFILE) != 0)
            all.push_back(name_of(*muxer));
    return all;
}

class OwnFilesMuxer : public testing::TestWithParam<std::string> {
  protected:
    OwnFilesMuxer() { av_log_set_level(AV_LOG_QUIET); }

    std::string answer(const Film& film) {
        return CaseProcess("creating_host")
            .answer("0\t" + utf8(folder_ / film.name) + "\t" + kOrder + "\tfmt=" + GetParam() + film.options);
    }

    TempDir folder_;
};

TEST_P(OwnFilesMuxer, IsRefusedOrWritesWhatCanBeReadBack) {
    const Film& film = film_for(GetParam());
    const std::string answered = answer(film);
    if (answered != "made") {
        EXPECT_TRUE(answered.starts_with("null: cannot make ")) << answered;
        EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
        return;
    }
    EXPECT_EQ(contents_of(folder_.path()), film.contents);
}

// Those that hosts rely on.
TEST(OwnFilesMuxers, OfImagesSegmentsAndNothingAreTaken) {
    const TempDir folder;
    CaseProcess host("creating_host");
    for (const char* muxer : {"image2", "null", "segment", "stream_segment"}) {
        const Film& film = film_for(muxer);
        const std::string path = utf8(folder / (std::string(muxer) + film.name));
        EXPECT_EQ(host.answer("0\t" + path + "\t" + kOrder + "\tfmt=" + muxer + film.options), "made") << muxer;
    }
}

INSTANTIATE_TEST_SUITE_P(Of, OwnFilesMuxer, testing::ValuesIn(own_file_muxers()),
                         [](const auto& muxer) { return muxer.param; });

}  // namespace
}  // namespace qmio::test
