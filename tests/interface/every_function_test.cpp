// Every function of the interface, resolved in the built library by its name as a host without an import library does,
// and called with nothing to work on: what it answers then is documented.
#include <gtest/gtest.h>
#include <qmio.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "support/dynamic_library.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

using Library = DynamicLibrary;

struct Call {
    const char* name;
    void (*run)(const Library& library);
};

// A function of the library under its own name and type.
#define QMIO_FUNCTION(name) (*library.function<decltype(name)>(#name))

// What a function returns for nothing.
#define QMIO_ANSWERS(expected, name, ...)                                                                           \
    Call {                                                                                                          \
#name, [](const Library&                                                                                    \
                      library) { EXPECT_TRUE(QMIO_FUNCTION(name)(__VA_ARGS__) == (expected)) << "not " #expected; } \
    }

// A function that returns nothing.
#define QMIO_RETURNS(name, ...)                                                 \
    Call {                                                                      \
#name, [](const Library& library) { QMIO_FUNCTION(name)(__VA_ARGS__); } \
    }

// clang-format off
const std::vector<Call> kCalls = {
    // Memory, errors, small queries.
    QMIO_ANSWERS(nullptr, qmio_alloc, -1),
    QMIO_ANSWERS(nullptr, qmio_calloc, -1),
    QMIO_ANSWERS(nullptr, qmio_realloc, nullptr, -1),
    QMIO_RETURNS(qmio_free, nullptr),
    QMIO_ANSWERS(0, qmio_get_error, nullptr),
    QMIO_ANSWERS(-1, qmio_get_vstream, nullptr),
    QMIO_ANSWERS(-1, qmio_get_astream, nullptr),
    QMIO_ANSWERS(0, qmio_get_dur, nullptr),
    QMIO_ANSWERS(0, qmio_print, nullptr, nullptr),
    // Opening.
    QMIO_ANSWERS(nullptr, qmio_open_a, nullptr),
    QMIO_ANSWERS(nullptr, qmio_open_ex_a, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_open_w, nullptr),
    QMIO_ANSWERS(nullptr, qmio_open_ex_w, nullptr, nullptr),
    // Reading video.
    QMIO_ANSWERS(0, qmio_read_frame, nullptr, nullptr),
    QMIO_ANSWERS(0, imio_read_frame, nullptr, nullptr),
    QMIO_ANSWERS(-1, qmio_get_buf, nullptr, nullptr),
    QMIO_ANSWERS(-1, imio_get_buf, nullptr, nullptr),
    QMIO_ANSWERS(-1, qmio_get_frame, nullptr),
    QMIO_ANSWERS(0, qmio_release_frame, nullptr),
    QMIO_ANSWERS(QMIO_NOTHING_TO_DECODE, qmio_video_pkt, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(QMIO_NOTHING_TO_DECODE, qmio_video_frame, nullptr, nullptr),
    QMIO_ANSWERS(QMIO_NOTHING_TO_DECODE, imio_video_pkt, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(QMIO_NOTHING_TO_DECODE, imio_video_frame, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_is_valid_frame, nullptr, 1),
    // Seeking.
    QMIO_ANSWERS(0, qmio_seek_frame, nullptr, 5),
    QMIO_ANSWERS(0, qmio_seek_frame_ex, nullptr, 5),
    QMIO_ANSWERS(0, qmio_seek_frame_ex_old, nullptr, 5),
    QMIO_ANSWERS(0, qmio_seek_ts, nullptr, 5, 1),
    QMIO_ANSWERS(0, qmio_set_dst_fmt, nullptr, 30),
    // Audio.
    QMIO_ANSWERS(0, qmio_set_track, nullptr, 3),
    QMIO_ANSWERS(0, qmio_map_audio, nullptr, 0, 0),
    QMIO_ANSWERS(0, qmio_user_chans, nullptr),
    QMIO_ANSWERS(0, qmio_track_chans, nullptr, 0),
    QMIO_ANSWERS(0, qmio_stream_chans, nullptr, 0),
    QMIO_ANSWERS(0, qmio_ffch2trch, nullptr, 1),
    QMIO_ANSWERS(0, qmio_trch2ffch, nullptr, 1),
    QMIO_ANSWERS(-1, qmio_stream2ffch, nullptr, 1),
    QMIO_ANSWERS(-1, qmio_ffch2stream, nullptr, 1),
    QMIO_ANSWERS(0x0000FFFF, qmio_stream2trch, nullptr, 1),
    QMIO_ANSWERS(-1, qmio_trch2stream, nullptr, 1),
    QMIO_ANSWERS(0, qmio_audio_remap, nullptr, nullptr, nullptr, 1, 0),
    QMIO_ANSWERS(0, qmio_remap_audio, nullptr, nullptr, nullptr, 1, 0),
    QMIO_ANSWERS(0, qmio_set_dst_audio, nullptr, 2, 48000, 16),
    QMIO_ANSWERS(0, qmio_audio_frame, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_audio_pkt, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_resample_track, nullptr, 0, nullptr, nullptr, 16),
    QMIO_ANSWERS(0, qmio_sample_size, nullptr),
    // Packets.
    {"qmio_pkt_alloc", [](const Library& library) {
         AVPacket* const packet = QMIO_FUNCTION(qmio_pkt_alloc)();
         EXPECT_NE(packet, nullptr);
         EXPECT_EQ(QMIO_FUNCTION(qmio_pkt_release)(packet), 0);
         EXPECT_EQ(QMIO_FUNCTION(qmio_pkt_free)(packet), 0);
     }},
    QMIO_ANSWERS(0, qmio_pkt_free, nullptr),
    QMIO_ANSWERS(0, qmio_pkt_release, nullptr),
    QMIO_ANSWERS(0, qmio_pkt_clone, nullptr),
    QMIO_ANSWERS(nullptr, qmio_pkt_copy, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_pkt_get, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_pkt_dup, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_pkt_put, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_pkt_save, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_pkt_restore, nullptr, nullptr),
    QMIO_ANSWERS(QMIO_PACKET_OTHER, qmio_pkt_type, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_pkt_time, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_pkt_ts, nullptr, nullptr, 5),
    // Writing.
    QMIO_ANSWERS(nullptr, qmio_create_a, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_create_ex_a, nullptr, nullptr, 0),
    QMIO_ANSWERS(nullptr, qmio_create_w, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_create_ex_w, nullptr, nullptr, 0),
    QMIO_ANSWERS(nullptr, imio_encode_frame, nullptr, nullptr),
    QMIO_ANSWERS(0, imio_write_frame, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_encode_frame, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_write_frame, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_put_frame, nullptr, nullptr),
    QMIO_ANSWERS(QMIO_TRACK_NO_HANDLE, qmio_write_track, nullptr, 0, nullptr, 0),
    QMIO_ANSWERS(QMIO_TRACK_NO_HANDLE, qmio_write_audio, nullptr, nullptr, 0),
    // Closing.
    QMIO_ANSWERS(0, qmio_close, nullptr),
    QMIO_ANSWERS(0, qmio_flush, nullptr),
    QMIO_ANSWERS(0, qmio_cancel, nullptr),
    // Pictures.
    QMIO_ANSWERS(0, imio_cvt, nullptr, nullptr),
    QMIO_ANSWERS(0, imio_scale, nullptr, nullptr),
    QMIO_ANSWERS(0, imio_scale_ex, nullptr, nullptr, 0),
    QMIO_ANSWERS(0, qmio_cvt, nullptr, 30, nullptr, 30, 4, 4),
    QMIO_ANSWERS(0, qmio_scale, nullptr, 30, 4, 4, nullptr, 30, 4, 4),
    QMIO_ANSWERS(0, qmio_scale_ex, nullptr, 30, 4, 4, nullptr, 30, 4, 4, 0),
    QMIO_ANSWERS(0, qmio_scale_slice, nullptr, 30, 4, 4, nullptr, 30, 4, 4),
    {"qmio_surf_slice", [](const Library& library) {
         uint8_t pixel = 0;
         qmio_planes planes{};
         planes.data[0] = &pixel;
         planes.linesize[0] = 4;
         QMIO_FUNCTION(qmio_surf_slice)(-1, &planes, &planes, 3);
         EXPECT_EQ(planes.data[0], &pixel) << "an unknown format leaves the planes as they are";
     }},
    QMIO_ANSWERS(0, qmio_is_sliceable, -1),
    QMIO_ANSWERS(0, qmio_probe_cvt, 5000, 5000),
    {"qmio_image_fill_arrays", [](const Library& library) {
         uint8_t* data[4] = {};
         int line_sizes[4] = {};
         EXPECT_EQ(QMIO_FUNCTION(qmio_image_fill_arrays)(data, line_sizes, nullptr, 30, 5, 3, 1), 60);
         EXPECT_LT(QMIO_FUNCTION(qmio_image_fill_arrays)(data, line_sizes, nullptr, -1, 5, 3, 1), 0);
     }},
    QMIO_ANSWERS(nullptr, qmio_sws_getContext, 4, 4, -1, 4, 4, -1, 1, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_sws_scale, nullptr, nullptr, nullptr, 0, 4, nullptr, nullptr),
    QMIO_RETURNS(qmio_sws_freeContext, nullptr),
    QMIO_ANSWERS(nullptr, qmio_get_frm_data, nullptr, 0),
    QMIO_ANSWERS(0, qmio_get_frm_linesize, nullptr, 0),
    QMIO_ANSWERS(-1, qmio_get_frm_format, nullptr),
    QMIO_ANSWERS(-1, qmio_fmtid, nullptr),
    // Catalogue.
    {"qmio_first_codec", [](const Library& library) { EXPECT_NE(QMIO_FUNCTION(qmio_first_codec)(), nullptr); }},
    QMIO_ANSWERS(nullptr, qmio_next_codec, nullptr),
    {"qmio_first_format", [](const Library& library) { EXPECT_NE(QMIO_FUNCTION(qmio_first_format)(), nullptr); }},
    QMIO_ANSWERS(nullptr, qmio_next_format, nullptr),
    QMIO_ANSWERS(0, qmio_is_codec, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_is_format, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_get_codec_info, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_get_format_info, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_get_format_prop, nullptr, nullptr),
    QMIO_ANSWERS(std::string(), qmio_get_pix_info, 30, nullptr),
    QMIO_ANSWERS(-1, qmio_get_id, nullptr, nullptr),
    {"qmio_get_bufsize", [](const Library& library) { EXPECT_LT(QMIO_FUNCTION(qmio_get_bufsize)(-1, 4, 4), 0); }},
    QMIO_ANSWERS(21, qmio_get_ext, nullptr, nullptr),
    // Parameters.
    QMIO_ANSWERS(nullptr, qmio_get_file_info, nullptr, nullptr),
    QMIO_ANSWERS(-1, qmio_get_file_param, nullptr, nullptr),
    QMIO_ANSWERS(-1, qmio_get_stream_param, nullptr, nullptr, 0),
    QMIO_ANSWERS(0, qmio_get_time_param, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_set_time_param, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(-1, qmio_get_smpte, nullptr, 5),
};
// clang-format on

// Those that this release does not have yet.
const std::vector<std::string> kToCome = {"qmio_copy_frame", "qmio_fifo_frame", "qmio_fifo_ts", "qmio_mux_a",
                                          "qmio_mux_w"};

std::vector<std::string> names_of_the_interface() {
    std::vector<std::string> names;
    std::ifstream list(path_of(QMIO_EXPORTS));
    for (std::string line; std::getline(list, line);) {
        line.erase(std::remove(line.begin(), line.end(), '\r'), line.end());
        const bool is_name = !line.empty() && line[0] != '#';
        if (is_name && std::find(kToCome.begin(), kToCome.end(), line) == kToCome.end())
            names.push_back(line);
    }
    std::sort(names.begin(), names.end());
    return names;
}

TEST(EveryFunction, AnswersForNothingAsDocumented) {
    const Library library(path_of(QMIO_LIBRARY));
    ASSERT_TRUE(library.loaded()) << library.error();
    for (const Call& call : kCalls) {
        SCOPED_TRACE(call.name);
        ASSERT_NE(library.symbol(call.name), nullptr);
        call.run(library);
    }
}

TEST(EveryFunction, IsAmongThoseThatAreCalled) {
    std::vector<std::string> called;
    called.reserve(kCalls.size());
    for (const Call& call : kCalls)
        called.emplace_back(call.name);
    std::sort(called.begin(), called.end());
    EXPECT_EQ(called, names_of_the_interface());
}

TEST(EveryFunction, IntegersAreFoundByTheirNames) {
    const Library library(path_of(QMIO_LIBRARY));
    ASSERT_TRUE(library.loaded()) << library.error();
    const char* const names[] = {"NONE",  "RGB32", "GRAY8", "YUYV422", "YUV420P", "BGR24",
                                 "RGB24", "RGBA",  "BGRA",  "UYVY422", "ARGB",    "YUV422P10LE",
                                 "NB",    "0RGB",  "ABGR",  "0BGR",    "RGB0",    "BGR0"};
    const auto fmtid = library.function<decltype(qmio_fmtid)>("qmio_fmtid");
    for (const std::string name : names) {
        const std::string full = "AV_PIX_FMT_" + name;
        const auto* number = static_cast<const int32_t*>(library.symbol(full.c_str()));
        ASSERT_NE(number, nullptr) << full;
        EXPECT_EQ(*number, fmtid(full.c_str())) << full;
    }
    EXPECT_EQ(std::size(names), 18U);
}

}  // namespace
}  // namespace qmio::test
