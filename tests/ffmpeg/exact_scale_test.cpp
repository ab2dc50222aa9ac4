// Conversions into memory of exactly a picture's size, between pages that cannot be touched.
#include "ffmpeg/exact_scale.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "ffmpeg/pixel_format.h"
#include "ffmpeg/scaler.h"
#include "support/guarded_memory.h"

namespace {

using namespace qmio::ffmpeg;
using qmio::test::GuardedMemory;
using Bytes = std::vector<uint8_t>;

constexpr std::size_t kLargest = std::size_t{1920} * 64 * 16;

struct Job {
    AVPixelFormat source;
    AVPixelFormat target;
    int source_width, source_height;
    int width, height;
    int flags;
};

std::ostream& operator<<(std::ostream& out, const Job& job) {
    return out << av_get_pix_fmt_name(job.source) << ' ' << job.source_width << 'x' << job.source_height << " to "
               << av_get_pix_fmt_name(job.target) << ' ' << job.width << 'x' << job.height << ", flags " << job.flags;
}

Job same_size(AVPixelFormat source, AVPixelFormat target, int width, int height, int flags = SWS_FAST_BILINEAR) {
    return {source, target, width, height, width, height, flags};
}

std::size_t size_of(AVPixelFormat format, int width, int height) {
    return static_cast<std::size_t>(av_image_get_buffer_size(format, width, height, 1));
}
std::size_t target_size(const Job& job) {
    return size_of(job.target, job.width, job.height);
}

Bytes random_bytes(std::size_t size) {
    static std::mt19937 random(20);
    Bytes bytes(size);
    for (uint8_t& byte : bytes)
        byte = static_cast<uint8_t>(random() & 0x3F);  // no float among them is a NaN
    return bytes;
}

Bytes source_pixels(const Job& job) {
    return random_bytes(size_of(job.source, job.source_width, job.source_height));
}

// Where in its memory a picture lies.
enum class Place { start, end };

struct Result {
    int rows;
    Bytes pixels;
};

// Converts between exact buffers that touch a guard page. What the target held before is `fill`.
Result converted(const Job& job, const Bytes& pixels, Place place, uint8_t fill) {
    static const GuardedMemory from(kLargest), to(kLargest);
    const std::size_t size = target_size(job);
    uint8_t* source = place == Place::start ? from.at_start() : from.at_end(pixels.size());
    uint8_t* target = place == Place::start ? to.at_start() : to.at_end(size);
    const std::size_t room = std::min<std::size_t>(to.capacity() - size, 4096);
    uint8_t* spare = place == Place::start ? target + size : target - room;
    std::memset(spare, 0x77, room);
    std::memset(target, fill, size);
    std::copy(pixels.begin(), pixels.end(), source);
    FramePtr scratch;
    const int rows = scale_exactly(picture_in_block(source, job.source, job.source_width, job.source_height, 1),
                                   picture_in_block(target, job.target, job.width, job.height, 1), job.flags, scratch);
    const auto untouched = [](uint8_t byte) { return byte == 0x77; };
    EXPECT_TRUE(std::all_of(spare, spare + room, untouched)) << job;
    EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), source)) << job;
    return {rows, Bytes(target, target + size)};
}

// What libswscale itself gives on memory with room on all sides.
Result reference(const Job& job, const Bytes& pixels, uint8_t fill) {
    const Picture packed = picture_in_block(pixels.data(), job.source, job.source_width, job.source_height, 1);
    const FramePtr source = extended_copy(packed, job.source_width, job.source_height);
    const FramePtr target(av_frame_alloc());
    target->format = job.target;
    target->width = job.width + 128;
    target->height = job.height + 8;
    EXPECT_EQ(av_frame_get_buffer(target.get(), 64), 0);
    for (const AVBufferRef* buffer : target->buf)
        if (buffer != nullptr)
            std::memset(buffer->data, fill, buffer->size);
    const ScalerPtr scaler(sws_getContext(job.source_width, job.source_height, job.source, job.width, job.height,
                                          job.target, job.flags, nullptr, nullptr, nullptr));
    if (scaler == nullptr)
        return {0, {}};
    const int rows =
        sws_scale(scaler.get(), source->data, source->linesize, 0, job.source_height, target->data, target->linesize);
    Bytes result(target_size(job));
    av_image_copy_to_buffer(result.data(), static_cast<int>(result.size()), target->data, target->linesize, job.target,
                            job.width, job.height, 1);
    return {std::max(rows, 0), result};
}

// libswscale divides by zero there.
bool kills_libswscale(const Job& job) {
    const int chroma = AV_CEIL_RSHIFT(job.width, av_pix_fmt_desc_get(job.target)->log2_chroma_w);
    return (job.flags & SWS_FAST_BILINEAR) != 0 && (job.width <= 8 || chroma <= 2);
}

// libswscale's own copy with alpha has random bytes at the right edge.
bool is_random_in_libswscale(const Job& job) {
    return with_alpha(job.source) != AV_PIX_FMT_NONE && has_alpha(job.target) && job.source_width % 2 != 0;
}

void expect_exact(const Job& job) {
    const Bytes pixels = source_pixels(job);
    const Result at_end = converted(job, pixels, Place::end, 0x55);
    const Result at_start = converted(job, pixels, Place::start, 0xAA);
    ASSERT_EQ(at_end.rows, at_start.rows) << job;
    if (at_end.rows == 0)
        return;
    EXPECT_TRUE(at_end.pixels == at_start.pixels) << "not every pixel is written: " << job;
    // libswscale's plain copies are incomplete, which tests of their own show.
    if (kills_libswscale(job) || is_random_in_libswscale(job) || job.source == job.target)
        return;
    const Result truth = reference(job, pixels, 0x55);
    const Result other_truth = reference(job, pixels, 0xAA);
    EXPECT_EQ(at_end.rows, truth.rows) << job;
    for (std::size_t byte = 0; byte < truth.pixels.size(); ++byte) {
        if (truth.pixels[byte] != other_truth.pixels[byte])
            continue;  // left unwritten by libswscale
        ASSERT_EQ(at_end.pixels[byte], truth.pixels[byte]) << "byte " << byte << ": " << job;
    }
}

std::vector<AVPixelFormat> formats(int (*supported)(AVPixelFormat)) {
    std::vector<AVPixelFormat> all;
    const AVPixFmtDescriptor* descriptor = nullptr;
    while ((descriptor = av_pix_fmt_desc_next(descriptor)) != nullptr) {
        const AVPixelFormat format = av_pix_fmt_desc_get_id(descriptor);
        if ((descriptor->flags & AV_PIX_FMT_FLAG_HWACCEL) == 0 && supported(format) != 0)
            all.push_back(format);
    }
    return all;
}

// Silent: libswscale complains about every YUVJ format.
class ExactScale : public testing::Test {
  protected:
    ExactScale() { av_log_set_level(AV_LOG_QUIET); }
};

constexpr int kAlgorithms[] = {SWS_FAST_BILINEAR, SWS_BILINEAR, SWS_BICUBIC, SWS_POINT};

TEST_F(ExactScale, EveryInputFormatStaysInsideBothPictures) {
    std::mt19937 random(7);
    const auto targets = formats(sws_isSupportedOutput);
    for (const AVPixelFormat source : formats(sws_isSupportedInput))
        for (int round = 0; round < 12; ++round) {
            const int flags = kAlgorithms[random() % 4];
            const AVPixelFormat target = round == 0   ? AV_PIX_FMT_BGRA
                                         : round == 1 ? AV_PIX_FMT_YUV420P
                                                      : targets[random() % targets.size()];
            Job job = same_size(source, target, static_cast<int>(1 + random() % 70), static_cast<int>(1 + random() % 9),
                                flags);
            if (round % 3 == 2) {
                job.source_width = static_cast<int>(1 + random() % 200);
                job.source_height = static_cast<int>(1 + random() % 9);
            }
            expect_exact(job);
        }
}

TEST_F(ExactScale, RowsOfWholeVectorsStayInsideBothPictures) {
    std::mt19937 random(8);
    const auto targets = formats(sws_isSupportedOutput);
    for (const AVPixelFormat source : formats(sws_isSupportedInput))
        for (int round = 0; round < 8; ++round)
            expect_exact(same_size(source, targets[random() % targets.size()], 256, 4, kAlgorithms[round % 4]));
}

TEST_F(ExactScale, EveryWidthOfTheCommonConversionsIsExact) {
    for (int width = 1; width <= 70; ++width)
        for (const AVPixelFormat source : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_NV12, AV_PIX_FMT_BGRA, AV_PIX_FMT_RGB24})
            for (const AVPixelFormat target :
                 {AV_PIX_FMT_BGRA, AV_PIX_FMT_ARGB, AV_PIX_FMT_BGR24, AV_PIX_FMT_YUV420P, AV_PIX_FMT_RGB444LE})
                for (const int height : {2, 3})
                    expect_exact(same_size(source, target, width, height));
}

TEST_F(ExactScale, VideoWidthsAreExact) {
    for (const int width : {200, 340, 426, 854, 1279, 1920})
        for (const AVPixelFormat target : {AV_PIX_FMT_BGRA, AV_PIX_FMT_RGB24, AV_PIX_FMT_UYVY422, AV_PIX_FMT_YUV420P})
            for (const int source_width : {width, 640})
                expect_exact({AV_PIX_FMT_YUV420P, target, source_width, 16, width, 16, SWS_FAST_BILINEAR});
}

TEST_F(ExactScale, BuffersNeedNoAlignment) {
    const Job job = same_size(AV_PIX_FMT_NV21, AV_PIX_FMT_YUV420P, 128, 8);
    const Bytes pixels = source_pixels(job);
    const Bytes truth = reference(job, pixels, 0).pixels;
    for (const std::size_t offset : {1U, 4U, 8U}) {
        Bytes memory(target_size(job) + 16 + offset);
        uint8_t* target = memory.data() + offset;
        FramePtr scratch;
        EXPECT_EQ(scale_exactly(picture_in_block(pixels.data(), job.source, 128, 8, 1),
                                picture_in_block(target, job.target, 128, 8, 1), job.flags, scratch),
                  8);
        EXPECT_TRUE(std::equal(truth.begin(), truth.end(), target)) << offset;
    }
}

TEST_F(ExactScale, PackedColoursOfAnOddHeightFillTheLastRowOfChroma) {
    // One colour: U and V are 80 and 200 everywhere.
    Bytes pixels;
    for (int pair = 0; pair < 8 * 5; ++pair)
        pixels.insert(pixels.end(), {16, 80, 16, 200});
    const Result result = converted(same_size(AV_PIX_FMT_YUYV422, AV_PIX_FMT_YUV420P, 16, 5), pixels, Place::end, 0x55);
    ASSERT_EQ(result.rows, 5);
    EXPECT_TRUE(std::all_of(result.pixels.begin() + 80, result.pixels.begin() + 104, [](int u) { return u == 80; }));
    EXPECT_TRUE(std::all_of(result.pixels.begin() + 104, result.pixels.end(), [](int v) { return v == 200; }));
}

TEST_F(ExactScale, TheRightEdgeOfAnOddWidthKeepsItsColour) {
    const Job job = same_size(AV_PIX_FMT_BGRA, AV_PIX_FMT_YUV420P, 51, 2, SWS_BICUBIC);
    const Result result = converted(job, Bytes(std::size_t{51} * 2 * 4, 0xFF), Place::end, 0);
    ASSERT_EQ(result.rows, 2);
    EXPECT_EQ(Bytes(result.pixels.begin() + 102, result.pixels.end()), Bytes(52, 128));  // white has no colour
}

// libswscale makes the alpha up in a copy of its own, and averages the last column with whatever lies behind that.
TEST_F(ExactScale, TheRightEdgeKeepsItsColourWhereAlphaIsMadeUp) {
    Bytes red;
    for (int pixel = 0; pixel < 51 * 2; ++pixel)
        red.insert(red.end(), {0, 0, 255, 0});
    const FramePtr source = extended_copy(picture_in_block(red.data(), AV_PIX_FMT_BGR0, 51, 2, 1), 51, 2);
    ASSERT_GE(picture_in_frame(*source).readable_behind, 64);
    Bytes target(size_of(AV_PIX_FMT_YUVA420P, 51, 2));
    FramePtr scratch;
    ASSERT_EQ(scale_exactly(picture_in_frame(*source), picture_in_block(target.data(), AV_PIX_FMT_YUVA420P, 51, 2, 1),
                            SWS_BICUBIC, scratch),
              2);
    const uint8_t *u = &target[102], *v = u + 26;
    EXPECT_EQ(Bytes(u, u + 26), Bytes(26, u[0]));
    EXPECT_EQ(Bytes(v, v + 26), Bytes(26, v[0]));
    EXPECT_EQ(Bytes(v + 26, v + 26 + 102), Bytes(102, 0xFF));
}

TEST_F(ExactScale, SameFormatAndSizeIsACopy) {
    for (const AVPixelFormat format : formats(sws_isSupportedOutput)) {
        if (sws_isSupportedInput(format) == 0)
            continue;
        const Job job = same_size(format, format, 26, 6);
        const Bytes pixels(size_of(format, 26, 6), 0xFF);
        const Result result = converted(job, pixels, Place::end, 0);
        ASSERT_EQ(result.rows, 6) << job;
        EXPECT_EQ(result.pixels, pixels) << job;
    }
}

TEST_F(ExactScale, TwoSamplesWideSurvivesFastBilinear) {
    for (const AVPixelFormat target : formats(sws_isSupportedOutput))
        for (int width = 1; width <= 9; ++width)
            for (const int source_width : {width, 256})
                EXPECT_EQ(converted({AV_PIX_FMT_YUVA444P10BE, target, source_width, 4, width, 4, SWS_FAST_BILINEAR},
                                    random_bytes(size_of(AV_PIX_FMT_YUVA444P10BE, source_width, 4)), Place::end, 0)
                              .rows,
                          4)
                    << av_get_pix_fmt_name(target) << width;
}

TEST_F(ExactScale, AnAlignedTargetIsWrittenInPlace) {
    const Bytes pixels(size_of(AV_PIX_FMT_YUV420P, 1920, 1080));
    Bytes memory(size_of(AV_PIX_FMT_BGRA, 1920, 1080) + 64);
    uint8_t* target = memory.data() + (64 - reinterpret_cast<uintptr_t>(memory.data()) % 64) % 64 + 16;
    memory.resize(memory.capacity());
    FramePtr scratch;
    EXPECT_EQ(scale_exactly(picture_in_block(pixels.data(), AV_PIX_FMT_YUV420P, 1920, 1080, 1),
                            picture_in_block(target, AV_PIX_FMT_BGRA, 1920, 1080, 1), SWS_FAST_BILINEAR, scratch),
              1080);
    EXPECT_EQ(scratch, nullptr);
}

TEST_F(ExactScale, TheScratchPictureIsKept) {
    const Bytes pixels(size_of(AV_PIX_FMT_YUV420P, 854, 8));
    Bytes memory(size_of(AV_PIX_FMT_BGRA, 854, 8));
    const Picture source = picture_in_block(pixels.data(), AV_PIX_FMT_YUV420P, 854, 8, 1);
    const Picture target = picture_in_block(memory.data(), AV_PIX_FMT_BGRA, 854, 8, 1);
    FramePtr scratch;
    ASSERT_EQ(scale_exactly(source, target, SWS_FAST_BILINEAR, scratch), 8);
    ASSERT_NE(scratch, nullptr);
    const uint8_t* kept = scratch->data[0];
    ASSERT_EQ(scale_exactly(source, target, SWS_FAST_BILINEAR, scratch), 8);
    EXPECT_EQ(scratch->data[0], kept);
}

TEST_F(ExactScale, UnusableFlagsGiveNothing) {
    const Job job = same_size(AV_PIX_FMT_BGRA, AV_PIX_FMT_BGRA, 4, 4);
    for (const int flags : {-1, SWS_BILINEAR | SWS_BICUBIC}) {
        Job unusable = job;
        unusable.flags = flags;
        const Result result = converted(unusable, Bytes(64, 1), Place::end, 0x55);
        EXPECT_EQ(result.rows, 0) << flags;
        EXPECT_EQ(result.pixels, Bytes(64, 0x55)) << flags;
    }
}

}  // namespace
