// Every conversion that libswscale knows, at every small width and some of video: a sample in every run, drawn by a
// seed that is printed (QMIO_TEST_SEED sets it), all of them with QMIO_SWEEP=all (a quarter of an hour of a processor),
// those of one source format with its name, as QMIO_SWEEP=yuv420p. Left out: formats of hardware, which have no pixels
// in memory; flags beyond the four usual scalers, which change filters and not the ways through libswscale.
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "ffmpeg/conversions.h"
#include "support/seed.h"

namespace {

using namespace qmio::test;

constexpr unsigned kSeed = 20250611;
constexpr int kSampleSize = 4000;
constexpr int kVideoWidths[] = {161, 641, 1281};
constexpr int kSmallWidths = 70;
constexpr int kHeights[] = {1, 2, 3, 4, 5, 7, 8, 9, 16};
constexpr int kFlags[] = {SWS_FAST_BILINEAR, SWS_BILINEAR, SWS_BICUBIC, SWS_POINT};
constexpr int kAlignments[] = {1, 1, 16, 64};
constexpr Place kDecoded[] = {Place::frame, Place::bottom_up_frame, Place::before_padding};

std::vector<int> all_widths() {
    std::vector<int> widths(std::begin(kVideoWidths), std::end(kVideoWidths));
    for (int width = 1; width <= kSmallWidths; ++width)
        widths.push_back(width);
    return widths;
}

std::string what_to_sweep() {
    const char* text = std::getenv("QMIO_SWEEP");
    return text != nullptr ? text : "";
}

// Everything but formats and width is drawn; a quarter of them scale.
Conversion drawn(AVPixelFormat source, AVPixelFormat target, int width, Dice& dice) {
    Conversion conversion = same_size(source, target, width, dice.one_of(kHeights), dice.one_of(kFlags));
    conversion.alignment = dice.one_of(kAlignments);
    conversion.decoded = dice.one_of(kDecoded);
    if (dice.up_to(4) == 1) {
        conversion.source_width = dice.up_to(200);
        conversion.source_height = dice.up_to(20);
    }
    return conversion;
}

// Silent, as libswscale complains about what it does not do well.
class ConversionSweep : public testing::Test {
  protected:
    ConversionSweep() {
        av_log_set_callback([](void*, int, const char*, va_list) {});
    }
    ~ConversionSweep() override {
        std::cout << converted_ << " conversions, " << faulty_ << " of them with a fault" << std::endl;
        for (const auto& [pair, first] : first_faults_)
            ADD_FAILURE() << first;
    }

    // A fault of each pair of formats is enough to look into.
    void convert(const Conversion& conversion) {
        ++converted_;
        const std::string fault = fault_of(conversion, random_pixels(conversion, dice_.number()));
        if (fault.empty())
            return;
        ++faulty_;
        std::ostringstream text;
        text << conversion << ": " << fault;
        first_faults_.try_emplace({conversion.source, conversion.target}, text.str());
    }

    void convert_at_every_width(AVPixelFormat source, AVPixelFormat target) {
        for (const int width : widths_) {
            convert(same_size(source, target, width, 2));
            convert(same_size(source, target, width, 3));
            convert(drawn(source, target, width, dice_));
        }
    }

    Dice dice_{printed_seed(kSeed)};
    const std::vector<int> widths_ = all_widths();
    const std::vector<AVPixelFormat> sources_ = software_formats(sws_isSupportedInput);
    const std::vector<AVPixelFormat> targets_ = software_formats(sws_isSupportedOutput);

  private:
    int64_t converted_ = 0;
    int64_t faulty_ = 0;
    std::map<std::pair<AVPixelFormat, AVPixelFormat>, std::string> first_faults_;
};

TEST_F(ConversionSweep, ASampleOfAllConversionsIsExact) {
    for (int number = 0; number < kSampleSize; ++number)
        convert(drawn(dice_.one_of(sources_), dice_.one_of(targets_), dice_.one_of(widths_), dice_));
}

// These do not take libswscale's usual way, and its own ways for them write columns by groups.
TEST_F(ConversionSweep, WhatWritesColumnsByGroupsIsExactAtEveryWidth) {
    for (const AVPixelFormat source : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVA420P, AV_PIX_FMT_YUV422P})
        for (const AVPixelFormat target :
             {AV_PIX_FMT_BGRA, AV_PIX_FMT_ARGB, AV_PIX_FMT_RGB24, AV_PIX_FMT_RGB565LE, AV_PIX_FMT_BGR565LE,
              AV_PIX_FMT_RGB444LE, AV_PIX_FMT_RGB48LE, AV_PIX_FMT_RGB8, AV_PIX_FMT_RGB4, AV_PIX_FMT_BGR4,
              AV_PIX_FMT_RGB4_BYTE, AV_PIX_FMT_MONOBLACK, AV_PIX_FMT_XYZ12LE, AV_PIX_FMT_YUYV422, AV_PIX_FMT_UYVY422,
              AV_PIX_FMT_P010LE, AV_PIX_FMT_P016LE})
            convert_at_every_width(source, target);
    for (const AVPixelFormat source : {AV_PIX_FMT_YUV420P10LE, AV_PIX_FMT_YUV420P12LE, AV_PIX_FMT_YUV420P14LE,
                                       AV_PIX_FMT_YUV420P16LE, AV_PIX_FMT_YUVA420P10LE, AV_PIX_FMT_YUVA420P16LE})
        for (const AVPixelFormat target : {AV_PIX_FMT_P010LE, AV_PIX_FMT_P016LE})
            convert_at_every_width(source, target);
}

TEST_F(ConversionSweep, AllConversionsAreExactAtEveryWidth) {
    const std::string what = what_to_sweep();
    if (what.empty())
        GTEST_SKIP() << "takes long: QMIO_SWEEP=all, or the name of a source format";
    for (const AVPixelFormat source : sources_)
        if (what == "all" || what == av_get_pix_fmt_name(source))
            for (const AVPixelFormat target : targets_)
                convert_at_every_width(source, target);
}

}  // namespace
