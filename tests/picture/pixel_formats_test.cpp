// Pixel-format names and numbers, and the questions about them, as a host asks them.
#include <gtest/gtest.h>

#include <climits>

#include "qmio.h"
#include "support/frozen_pixel_formats.h"

namespace {

TEST(PixelFormatName, HasItsFrozenNumber) {
#define CHECK_NUMBER(number, name) EXPECT_EQ(qmio_fmtid("AV_PIX_FMT_" #name), number) << #name;
    QMIO_FROZEN_PIXEL_FORMATS(CHECK_NUMBER, CHECK_NUMBER, CHECK_NUMBER, CHECK_NUMBER)
#undef CHECK_NUMBER
}

TEST(PixelFormatName, CountsTwoHundredAndFortyFour) {
#define COUNT(number, name) +1
    EXPECT_EQ(0 QMIO_FROZEN_PIXEL_FORMATS(COUNT, COUNT, COUNT, COUNT), 244);
#undef COUNT
}

TEST(PixelFormatName, IsUnknownInAnotherSpelling) {
    EXPECT_EQ(qmio_fmtid("av_pix_fmt_bgra"), -1);
    EXPECT_EQ(qmio_fmtid("AV_PIX_FMT_bgra"), -1);
    EXPECT_EQ(qmio_fmtid("BGRA"), -1);
    EXPECT_EQ(qmio_fmtid("AV_PIX_FMT_BGR"), -1);
    EXPECT_EQ(qmio_fmtid("AV_PIX_FMT_BGRA "), -1);
    EXPECT_EQ(qmio_fmtid(""), -1);
}

TEST(PixelFormatName, OfNoFormatIsLikeAnUnknownOne) {
    EXPECT_EQ(qmio_fmtid("AV_PIX_FMT_NONE"), -1);
}

TEST(PixelFormatData, HoldsTheFrozenNumbers) {
    EXPECT_EQ(AV_PIX_FMT_NONE, -1);
    EXPECT_EQ(AV_PIX_FMT_RGB32, 30);
    EXPECT_EQ(AV_PIX_FMT_GRAY8, 8);
    EXPECT_EQ(AV_PIX_FMT_YUYV422, 1);
    EXPECT_EQ(AV_PIX_FMT_YUV420P, 0);
    EXPECT_EQ(AV_PIX_FMT_BGR24, 3);
    EXPECT_EQ(AV_PIX_FMT_RGB24, 2);
    EXPECT_EQ(AV_PIX_FMT_RGBA, 28);
    EXPECT_EQ(AV_PIX_FMT_BGRA, 30);
    EXPECT_EQ(AV_PIX_FMT_UYVY422, 17);
    EXPECT_EQ(AV_PIX_FMT_ARGB, 27);
    EXPECT_EQ(AV_PIX_FMT_YUV422P10LE, 74);
    EXPECT_EQ(AV_PIX_FMT_NB, 342);
    EXPECT_EQ(AV_PIX_FMT_0RGB, 295);
    EXPECT_EQ(AV_PIX_FMT_ABGR, 29);
    EXPECT_EQ(AV_PIX_FMT_0BGR, 297);
    EXPECT_EQ(AV_PIX_FMT_RGB0, 296);
    EXPECT_EQ(AV_PIX_FMT_BGR0, 298);
}

TEST(ProbeConversion, AsksOnlyForTheTargetWithoutASource) {
    EXPECT_NE(qmio_probe_cvt(AV_PIX_FMT_BGRA, -1), 0);
    EXPECT_EQ(qmio_probe_cvt(qmio_fmtid("AV_PIX_FMT_PAL8"), -1), 0);  // can be read, not written
}

TEST(ProbeConversion, AsksOnlyForTheSourceWithoutATarget) {
    EXPECT_NE(qmio_probe_cvt(-1, qmio_fmtid("AV_PIX_FMT_PAL8")), 0);
    EXPECT_EQ(qmio_probe_cvt(-1, qmio_fmtid("AV_PIX_FMT_RGB4")), 0);  // can be written, not read
}

TEST(ProbeConversion, WithBothAsksForBoth) {
    EXPECT_EQ(qmio_probe_cvt(AV_PIX_FMT_BGRA, AV_PIX_FMT_YUV420P), 1);
    EXPECT_EQ(qmio_probe_cvt(qmio_fmtid("AV_PIX_FMT_PAL8"), AV_PIX_FMT_BGRA), 0);
    EXPECT_EQ(qmio_probe_cvt(AV_PIX_FMT_BGRA, qmio_fmtid("AV_PIX_FMT_RGB4")), 0);
}

TEST(ProbeConversion, OfNothingIsNo) {
    EXPECT_EQ(qmio_probe_cvt(-1, -1), 0);
}

TEST(ProbeConversion, OfUnknownFormatsIsNo) {
    for (const int unknown : {36, 130, 342, -2, INT_MAX, INT_MIN}) {
        EXPECT_EQ(qmio_probe_cvt(unknown, AV_PIX_FMT_BGRA), 0) << unknown;
        EXPECT_EQ(qmio_probe_cvt(AV_PIX_FMT_BGRA, unknown), 0) << unknown;
        EXPECT_EQ(qmio_probe_cvt(unknown, -1), 0) << unknown;
        EXPECT_EQ(qmio_probe_cvt(-1, unknown), 0) << unknown;
    }
}

TEST(Sliceable, PlanarAndPackedFormatsAre) {
    EXPECT_EQ(qmio_is_sliceable(AV_PIX_FMT_YUV420P), 1);
    EXPECT_EQ(qmio_is_sliceable(AV_PIX_FMT_BGRA), 1);
    EXPECT_EQ(qmio_is_sliceable(qmio_fmtid("AV_PIX_FMT_GRAY16LE")), 1);
}

TEST(Sliceable, FormatsWithAPaletteAreNot) {
    for (const char* name : {"AV_PIX_FMT_PAL8", "AV_PIX_FMT_GRAY8", "AV_PIX_FMT_RGB8", "AV_PIX_FMT_BGR8",
                             "AV_PIX_FMT_RGB4_BYTE", "AV_PIX_FMT_BGR4_BYTE"})
        EXPECT_EQ(qmio_is_sliceable(qmio_fmtid(name)), 0) << name;
}

TEST(Sliceable, HardwareSurfacesAreNot) {
    for (const char* name : {"AV_PIX_FMT_VAAPI", "AV_PIX_FMT_VDPAU", "AV_PIX_FMT_CUDA", "AV_PIX_FMT_DXVA2_VLD"})
        EXPECT_EQ(qmio_is_sliceable(qmio_fmtid(name)), 0) << name;
}

TEST(Sliceable, UnknownFormatsAreNot) {
    for (const int unknown : {-1, -2, 36, 130, 342, INT_MAX, INT_MIN})
        EXPECT_EQ(qmio_is_sliceable(unknown), 0) << unknown;
}

}  // namespace
