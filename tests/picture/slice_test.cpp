// Bands of pictures: the planes of a picture moved down to a row.
#include <gtest/gtest.h>

#include <cstddef>

#include "qmio.h"
#include "qmlib/sinks.h"
#include "support/temp_dir.h"

namespace {

uint8_t pixels[4][4096];

qmio_planes planes(int count) {
    qmio_planes made{};
    for (int plane = 0; plane < count; ++plane) {
        made.data[plane] = pixels[plane];
        made.linesize[plane] = 100 + plane;
    }
    return made;
}

// Every line size 7, so that those left alone show.
qmio_planes untouched() {
    qmio_planes made{};
    for (int plane = 0; plane < 8; ++plane) {
        made.data[plane] = pixels[0];
        made.linesize[plane] = 7;
    }
    return made;
}

qmio_planes slice(const char* format, const qmio_planes& source, int y) {
    qmio_planes moved = untouched();
    qmio_surf_slice(qmio_fmtid(format), &moved, &source, y);
    return moved;
}

TEST(SurfaceSlice, MovesChromaByHalfTheRowsRoundedUp) {
    const qmio_planes moved = slice("AV_PIX_FMT_YUV420P", planes(3), 5);
    EXPECT_EQ(moved.data[0] - pixels[0], 5 * 100);
    EXPECT_EQ(moved.data[1] - pixels[1], 3 * 101);
    EXPECT_EQ(moved.data[2] - pixels[2], 3 * 102);
    EXPECT_EQ(moved.linesize[0], 100);
    EXPECT_EQ(moved.linesize[1], 101);
    EXPECT_EQ(moved.linesize[2], 102);
}

TEST(SurfaceSlice, MovesChromaByAllRowsWhereItIsNotSubsampled) {
    EXPECT_EQ(slice("AV_PIX_FMT_YUV422P", planes(3), 5).data[1] - pixels[1], 5 * 101);
}

TEST(SurfaceSlice, MovesAlphaByAllRows) {
    const qmio_planes moved = slice("AV_PIX_FMT_YUVA420P", planes(4), 5);
    EXPECT_EQ(moved.data[3] - pixels[3], 5 * 103);
    EXPECT_EQ(moved.linesize[3], 103);
}

TEST(SurfaceSlice, LeavesTheLineSizesOfMissingPlanes) {
    const qmio_planes moved = slice("AV_PIX_FMT_BGRA", planes(1), 5);
    EXPECT_EQ(moved.data[0] - pixels[0], 500);
    for (int plane = 1; plane < 4; ++plane) {
        EXPECT_EQ(moved.data[plane], nullptr);
        EXPECT_EQ(moved.linesize[plane], 7);
    }
}

TEST(SurfaceSlice, TouchesFourPlanesOnly) {
    const qmio_planes moved = slice("AV_PIX_FMT_YUVA420P", planes(4), 5);
    for (int plane = 4; plane < 8; ++plane) {
        EXPECT_EQ(moved.data[plane], pixels[0]);
        EXPECT_EQ(moved.linesize[plane], 7);
    }
}

TEST(SurfaceSlice, MovesUpwardsInPicturesStoredFromTheBottomUp) {
    qmio_planes source = planes(1);
    source.linesize[0] = -100;
    source.data[0] = pixels[0] + 1000;
    EXPECT_EQ(slice("AV_PIX_FMT_BGRA", source, 5).data[0] - pixels[0], 500);
}

TEST(SurfaceSlice, WorksInPlace) {
    qmio_planes both = planes(3);
    qmio_surf_slice(AV_PIX_FMT_YUV420P, &both, &both, 4);
    EXPECT_EQ(both.data[0] - pixels[0], 400);
    EXPECT_EQ(both.data[1] - pixels[1], 202);
}

TEST(SurfaceSlice, ReportsAnUnknownFormatAndLeavesTheTarget) {
    const qmio::test::TempDir folder;
    const auto path = folder / "slice.log";
    qmio::qmlib::set_log_path(qmio::test::utf8(path));
    const qmio_planes source = planes(3);
    qmio_planes target = untouched();
    qmio_surf_slice(342, &target, &source, 5);
    qmio::qmlib::close_log();
    EXPECT_EQ(qmio::test::content_of(path), "qmio_surf_slice: error: cant get pixel descr for fmt 342\n");
    EXPECT_EQ(target.data[0], pixels[0]);
    EXPECT_EQ(target.linesize[0], 7);
}

}  // namespace
