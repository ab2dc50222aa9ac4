// What the headers of H.264 that a container keeps say of fields.
#include "ffmpeg/frames_only.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/media.h"

namespace {

using namespace qmio::ffmpeg;

bool frames_only(AVCodecID codec, std::vector<uint8_t> extradata) {
    AVCodecParameters* parameters = avcodec_parameters_alloc();
    parameters->codec_id = codec;
    parameters->extradata = extradata.data();
    parameters->extradata_size = static_cast<int>(extradata.size());
    const bool answer = holds_whole_frames_only(*parameters);
    parameters->extradata = nullptr;
    avcodec_parameters_free(&parameters);
    return answer;
}

bool frames_only(const char* name) {
    AVFormatContext* context = nullptr;
    if (avformat_open_input(&context, qmio::test::media_path(name).string().c_str(), nullptr, nullptr) < 0)
        return false;
    avformat_find_stream_info(context, nullptr);
    const bool answer = holds_whole_frames_only(*context->streams[0]->codecpar);
    avformat_close_input(&context);
    return answer;
}

TEST(FramesOnly, IsSaidByProgressiveFilms) {
    for (const char* name : {"plain.mp4", "bframes_open_gop.mp4", "h264.mkv", "ten_bit.mp4", "full_range_444.mp4",
                             "width_426.mp4", "fragmented.mp4"})
        EXPECT_TRUE(frames_only(name)) << name;
}

TEST(FramesOnly, IsNotSaidByInterlacedFilmsNorWithoutHeaders) {
    for (const char* name : {"h264_tff.mp4", "h264_bff.mp4", "h264.ts", "raw.h264", "hevc_open_gop.mp4"})
        EXPECT_FALSE(frames_only(name)) << name;
}

TEST(FramesOnly, IsNotSaidByWhatIsCutOrDamaged) {
    const std::vector<uint8_t> whole{1, 66, 0, 10, 0xFF, 0xE1, 0, 7, 0x67, 66, 0, 10, 0xF8, 0x41, 0xA2, 1, 0, 0};
    EXPECT_FALSE(frames_only(AV_CODEC_ID_H264, {}));
    EXPECT_FALSE(frames_only(AV_CODEC_ID_H264, {1, 66, 0, 10, 0xFF, 0xE0, 0, 0, 0}));
    for (std::size_t size = 0; size < 15; ++size)
        EXPECT_FALSE(frames_only(AV_CODEC_ID_H264, {whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)}))
            << size;
    EXPECT_FALSE(frames_only(AV_CODEC_ID_HEVC, whole));
    EXPECT_FALSE(frames_only(AV_CODEC_ID_H264, {1, 66, 0, 10, 0xFF, 0xE1, 0, 200, 0x67, 66, 0, 10, 0xFF}));
    EXPECT_FALSE(frames_only(AV_CODEC_ID_H264, {1, 66, 0, 10, 0xFF, 0xE1, 0, 5, 0x67, 66, 0, 10, 0, 0, 0, 0}));
}

}  // namespace
