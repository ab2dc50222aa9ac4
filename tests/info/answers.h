// What tests of a source's parameters share: answers by key, and a file with a video and two tracks of sound.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <sstream>
#include <string>

#include "support/media.h"
#include "support/plain_file.h"

namespace qmio::test {

using Texts = std::map<std::string, std::string>;
using Numbers = std::map<std::string, int64_t>;

inline void expect_texts(const Media& media, const Texts& expected) {
    for (const auto& [key, text] : expected)
        EXPECT_STREQ(qmio_get_file_info(media.get(), key.c_str()), text.c_str()) << key;
}

inline void expect_file_params(const Media& media, const Numbers& expected) {
    for (const auto& [key, number] : expected)
        EXPECT_EQ(file_param(media, key.c_str()), number) << key;
}

inline void expect_stream_params(const Media& media, int track, const Numbers& expected) {
    for (const auto& [key, number] : expected)
        EXPECT_EQ(qmio_get_stream_param(media.get(), key.c_str(), track), number) << key << " of track " << track;
}

template <class Object>
const Object* object(const Media& media, const char* key) {
    return reinterpret_cast<const Object*>(static_cast<intptr_t>(file_param(media, key)));
}

// FFmpeg's own records behind the handle, for a test to change.
inline AVStream& video_stream(const Media& media) {
    return *const_cast<AVStream*>(object<AVStream>(media, "xvstream"));
}
inline AVCodecContext& video_codec(const Media& media) {
    return *const_cast<AVCodecContext*>(object<AVCodecContext>(media, "xvcodec"));
}

inline int64_t address(const void* object) {
    return static_cast<int64_t>(reinterpret_cast<intptr_t>(object));
}

inline int64_t stream_param(const Media& media, const char* key, int track = 0) {
    return qmio_get_stream_param(media.get(), key, track);
}

inline bool same(const qmio_time_param& record, const qmio_time_param& other) {
    return std::memcmp(&record, &other, sizeof record) == 0;
}

[[maybe_unused]] std::string text_of(const qmio_time_param& record) {
    std::ostringstream text;
    text << "pts " << record.pts << " dts " << record.dts << " start " << record.start << " duration "
         << record.duration << " base " << record.time_base_num << "/" << record.time_base_den << " rate "
         << record.frame_rate_num << "/" << record.frame_rate_den << " container " << record.container_start << "+"
         << record.container_duration << " frames " << record.frame_count << "\n";
    return text.str();
}

class VideoAndTwoTracks : public testing::Test {
  protected:
    void SetUp() override {
        path_ = media_path("two_audio_tracks.mp4");
        media_ = open_media(path_);
        ASSERT_NE(media_, nullptr);
    }
    std::filesystem::path path_;
    Media media_;
};

}  // namespace qmio::test
