// Every function of the interface, resolved in the built library by its name as a host without an import library does,
// and called with nothing to work on: what it answers then is documented. The other tests leave these answers to this
// one.
#include <gtest/gtest.h>
#include <qmio.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "support/dynamic_library.h"
#include "support/parameter_keys.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

using Library = DynamicLibrary;

// What a call gets beside the null: whole, so that nothing but the null can be the reason of the answer.
struct Given {
    explicit Given(const Library& library)
        : packet(library.function<decltype(qmio_pkt_alloc)>("qmio_pkt_alloc")()),
          free_packet(library.function<decltype(qmio_pkt_free)>("qmio_pkt_free")) {
        picture.format = 30;
        picture.data = pixels;
        picture.width = 4;
        picture.height = 4;
        picture.alignment = 1;
        std::memset(text, '?', sizeof text - 1);
    }
    Given(const Given&) = delete;
    Given& operator=(const Given&) = delete;
    ~Given() { free_packet(packet); }

    uint8_t pixels[4 * 4 * 4] = {};
    uint8_t target[4 * 4 * 4] = {};
    imio_picture picture{};
    AVPacket* packet;
    decltype(&qmio_pkt_free) free_packet;
    qmio_time_param times{};
    char text[1024] = {};
};

struct Call {
    const char* name;
    void (*run)(const Library& library, Given& given);
};

// A function of the library under its own name and type.
#define QMIO_FUNCTION(name) (*library.function<decltype(name)>(#name))

#define QMIO_CALL(name, ...)                                                         \
    Call {                                                                           \
#name, [](const Library& library, [[maybe_unused]] Given& given) __VA_ARGS__ \
    }

// What a function returns for a null, and for nothing but nulls.
#define QMIO_ANSWERS(expected, name, ...) \
    QMIO_CALL(name, { EXPECT_TRUE(QMIO_FUNCTION(name)(__VA_ARGS__) == (expected)) << "not " #expected; })

// clang-format off
const std::vector<Call> kCalls = {
    // Memory, errors, small queries. A negative size is sign-extended, so it asks for more than there can be.
    QMIO_ANSWERS(nullptr, qmio_alloc, -1),
    QMIO_ANSWERS(nullptr, qmio_calloc, -1),
    QMIO_ANSWERS(nullptr, qmio_realloc, nullptr, -1),
    QMIO_CALL(qmio_free, {
         auto* const block = static_cast<char*>(QMIO_FUNCTION(qmio_alloc)(5));
         std::memcpy(block, "kept", 5);
         QMIO_FUNCTION(qmio_free)(nullptr);
         EXPECT_STREQ(block, "kept");
         QMIO_FUNCTION(qmio_free)(block);
     }),
    QMIO_ANSWERS(0, qmio_get_error, nullptr),
    QMIO_ANSWERS(-1, qmio_get_vstream, nullptr),
    QMIO_ANSWERS(-1, qmio_get_astream, nullptr),
    QMIO_ANSWERS(0, qmio_get_dur, nullptr),
    QMIO_ANSWERS(0, qmio_print, nullptr, "video_st"),
    QMIO_ANSWERS(0, qmio_print, nullptr, nullptr),
    // Opening.
    QMIO_ANSWERS(nullptr, qmio_open_a, nullptr),
    QMIO_ANSWERS(nullptr, qmio_open_ex_a, nullptr, "threads=1"),
    QMIO_ANSWERS(nullptr, qmio_open_ex_a, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_open_mem, nullptr, 100, nullptr),
    QMIO_ANSWERS(nullptr, qmio_open_io, nullptr, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_open_w, nullptr),
    QMIO_ANSWERS(nullptr, qmio_open_ex_w, nullptr, L"threads=1"),
    QMIO_ANSWERS(nullptr, qmio_open_ex_w, nullptr, nullptr),
    // Reading video.
    QMIO_ANSWERS(0, qmio_read_frame, nullptr, given.pixels),
    QMIO_ANSWERS(0, qmio_read_frame, nullptr, nullptr),
    QMIO_ANSWERS(0, imio_read_frame, nullptr, &given.picture),
    QMIO_ANSWERS(0, imio_read_frame, nullptr, nullptr),
    QMIO_ANSWERS(-1, qmio_get_buf, nullptr, given.pixels),
    QMIO_ANSWERS(-1, qmio_get_buf, nullptr, nullptr),
    QMIO_ANSWERS(-1, imio_get_buf, nullptr, &given.picture),
    QMIO_ANSWERS(-1, imio_get_buf, nullptr, nullptr),
    QMIO_ANSWERS(-1, qmio_get_frame, nullptr),
    QMIO_ANSWERS(0, qmio_release_frame, nullptr),
    QMIO_ANSWERS(QMIO_NOTHING_TO_DECODE, qmio_video_pkt, nullptr, given.pixels, given.packet),
    QMIO_ANSWERS(QMIO_NOTHING_TO_DECODE, qmio_video_pkt, nullptr, given.pixels, nullptr),
    QMIO_ANSWERS(QMIO_NOTHING_TO_DECODE, qmio_video_pkt, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(QMIO_NOTHING_TO_DECODE, qmio_video_frame, nullptr, given.pixels),
    QMIO_ANSWERS(QMIO_NOTHING_TO_DECODE, qmio_video_frame, nullptr, nullptr),
    QMIO_ANSWERS(QMIO_NOTHING_TO_DECODE, imio_video_pkt, nullptr, &given.picture, given.packet),
    QMIO_ANSWERS(QMIO_NOTHING_TO_DECODE, imio_video_pkt, nullptr, &given.picture, nullptr),
    QMIO_ANSWERS(QMIO_NOTHING_TO_DECODE, imio_video_pkt, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(QMIO_NOTHING_TO_DECODE, imio_video_frame, nullptr, &given.picture),
    QMIO_ANSWERS(QMIO_NOTHING_TO_DECODE, imio_video_frame, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_is_valid_frame, nullptr, 1),
    // Seeking.
    QMIO_ANSWERS(0, qmio_seek_frame, nullptr, 5),
    QMIO_ANSWERS(0, qmio_seek_frame_ex, nullptr, 5),
    QMIO_ANSWERS(0, qmio_seek_frame_ex_old, nullptr, 5),
    QMIO_ANSWERS(0, qmio_seek_ts, nullptr, 5, 1),
    QMIO_ANSWERS(0, qmio_set_dst_fmt, nullptr, 30),
    QMIO_CALL(qmio_fifo_ts, { QMIO_FUNCTION(qmio_fifo_ts)(nullptr, 0, -1, 0, -1, 1); }),
    QMIO_CALL(qmio_fifo_frame, { QMIO_FUNCTION(qmio_fifo_frame)(nullptr, 0, -1, 0, -1, 1); }),
    // Audio.
    QMIO_ANSWERS(0, qmio_set_track, nullptr, 3),
    QMIO_ANSWERS(0, qmio_map_audio, nullptr, 0, 0),
    QMIO_ANSWERS(0, qmio_user_chans, nullptr),
    QMIO_ANSWERS(0, qmio_track_chans, nullptr, 0),
    QMIO_ANSWERS(0, qmio_stream_chans, nullptr, 0),
    QMIO_ANSWERS(0, qmio_ffch2trch, nullptr, 3),
    QMIO_ANSWERS(0, qmio_trch2ffch, nullptr, 3),
    QMIO_ANSWERS(-1, qmio_stream2ffch, nullptr, 3),
    QMIO_ANSWERS(-1, qmio_ffch2stream, nullptr, 3),
    QMIO_ANSWERS(0x0000FFFF, qmio_stream2trch, nullptr, 3),
    QMIO_ANSWERS(-1, qmio_trch2stream, nullptr, 3),
    QMIO_ANSWERS(0, qmio_audio_remap, nullptr, given.target, given.pixels, 1, 0),
    QMIO_ANSWERS(0, qmio_audio_remap, nullptr, nullptr, nullptr, 1, 0),
    QMIO_ANSWERS(0, qmio_remap_audio, nullptr, given.target, given.pixels, 1, 0),
    QMIO_ANSWERS(0, qmio_remap_audio, nullptr, nullptr, nullptr, 1, 0),
    QMIO_ANSWERS(0, qmio_set_dst_audio, nullptr, 2, 48000, 16),
    QMIO_ANSWERS(0, qmio_audio_frame, nullptr, given.pixels),
    QMIO_ANSWERS(0, qmio_audio_frame, nullptr, nullptr),
    QMIO_ANSWERS(-1, qmio_read_sound, nullptr, 0, 0, 4, given.pixels, 64),
    QMIO_ANSWERS(0, qmio_audio_pkt, nullptr, given.pixels, given.packet),
    QMIO_ANSWERS(0, qmio_audio_pkt, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_resample_track, nullptr, 0, given.target, given.pixels, 16),
    QMIO_ANSWERS(0, qmio_resample_track, nullptr, 0, nullptr, nullptr, 16),
    QMIO_ANSWERS(0, qmio_sample_size, nullptr),
    // Packets. (qmio_pkt_time tells a packet's size without a handle, too.)
    QMIO_CALL(qmio_pkt_alloc, {
         AVPacket* const packet = QMIO_FUNCTION(qmio_pkt_alloc)();
         EXPECT_NE(packet, nullptr);
         EXPECT_EQ(QMIO_FUNCTION(qmio_pkt_release)(packet), 0);
         EXPECT_EQ(QMIO_FUNCTION(qmio_pkt_free)(packet), 0);
     }),
    QMIO_ANSWERS(0, qmio_pkt_free, nullptr),
    QMIO_ANSWERS(0, qmio_pkt_release, nullptr),
    QMIO_ANSWERS(0, qmio_pkt_clone, nullptr),
    QMIO_ANSWERS(nullptr, qmio_pkt_copy, nullptr, given.packet),
    QMIO_ANSWERS(nullptr, qmio_pkt_copy, given.packet, nullptr),
    QMIO_ANSWERS(nullptr, qmio_pkt_copy, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_pkt_get, nullptr, given.packet),
    QMIO_ANSWERS(nullptr, qmio_pkt_get, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_pkt_dup, nullptr, given.packet),
    QMIO_ANSWERS(nullptr, qmio_pkt_dup, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_pkt_put, nullptr, given.packet),
    QMIO_ANSWERS(0, qmio_pkt_put, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_pkt_save, nullptr, given.packet),
    QMIO_ANSWERS(0, qmio_pkt_save, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_pkt_restore, nullptr, given.packet),
    QMIO_ANSWERS(0, qmio_pkt_restore, nullptr, nullptr),
    QMIO_ANSWERS(QMIO_PACKET_OTHER, qmio_pkt_type, nullptr, given.packet),
    QMIO_ANSWERS(QMIO_PACKET_OTHER, qmio_pkt_type, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_pkt_time, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_pkt_ts, nullptr, given.packet, 5),
    QMIO_ANSWERS(0, qmio_pkt_ts, nullptr, nullptr, 5),
    // Writing.
    QMIO_ANSWERS(nullptr, qmio_create_a, nullptr, "fmt=mov"),
    QMIO_ANSWERS(nullptr, qmio_create_a, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_create_ex_a, nullptr, "fmt=mov", 0),
    QMIO_ANSWERS(nullptr, qmio_create_ex_a, nullptr, nullptr, 0),
    QMIO_ANSWERS(nullptr, qmio_create_w, nullptr, L"fmt=mov"),
    QMIO_ANSWERS(nullptr, qmio_create_w, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_create_ex_w, nullptr, L"fmt=mov", 0),
    QMIO_ANSWERS(nullptr, qmio_create_ex_w, nullptr, nullptr, 0),
    QMIO_ANSWERS(nullptr, imio_encode_frame, nullptr, &given.picture),
    QMIO_ANSWERS(nullptr, imio_encode_frame, nullptr, nullptr),
    QMIO_ANSWERS(0, imio_write_frame, nullptr, &given.picture),
    QMIO_ANSWERS(0, imio_write_frame, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_encode_frame, nullptr, given.pixels),
    QMIO_ANSWERS(nullptr, qmio_encode_frame, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_write_frame, nullptr, given.pixels),
    QMIO_ANSWERS(0, qmio_write_frame, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_put_frame, nullptr, given.packet),
    QMIO_ANSWERS(0, qmio_put_frame, nullptr, nullptr),
    QMIO_ANSWERS(QMIO_TRACK_NO_HANDLE, qmio_write_track, nullptr, 0, given.pixels, 16),
    QMIO_ANSWERS(QMIO_TRACK_NO_HANDLE, qmio_write_track, nullptr, 0, nullptr, 0),
    QMIO_ANSWERS(QMIO_TRACK_NO_HANDLE, qmio_write_audio, nullptr, given.pixels, 16),
    QMIO_ANSWERS(QMIO_TRACK_NO_HANDLE, qmio_write_audio, nullptr, nullptr, 0),
    // Remuxing.
    QMIO_ANSWERS(nullptr, qmio_mux_a, "copy.mkv", "fmt=matroska", nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_mux_a, nullptr, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_mux_w, L"copy.mkv", L"fmt=matroska", nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_mux_w, nullptr, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(-1, qmio_copy_frame, nullptr, nullptr),
    // Closing.
    QMIO_ANSWERS(0, qmio_close, nullptr),
    QMIO_ANSWERS(0, qmio_flush, nullptr),
    QMIO_ANSWERS(0, qmio_cancel, nullptr),
    // Pictures.
    QMIO_ANSWERS(0, imio_cvt, nullptr, &given.picture),
    QMIO_ANSWERS(0, imio_cvt, nullptr, nullptr),
    QMIO_ANSWERS(0, imio_scale, nullptr, &given.picture),
    QMIO_ANSWERS(0, imio_scale, &given.picture, nullptr),
    QMIO_ANSWERS(0, imio_scale, nullptr, nullptr),
    QMIO_ANSWERS(0, imio_scale_ex, nullptr, &given.picture, 0),
    QMIO_ANSWERS(0, imio_scale_ex, &given.picture, nullptr, 0),
    QMIO_ANSWERS(0, imio_scale_ex, nullptr, nullptr, 0),
    QMIO_ANSWERS(0, qmio_cvt, nullptr, 30, given.pixels, 30, 4, 4),
    QMIO_ANSWERS(0, qmio_cvt, nullptr, 30, nullptr, 30, 4, 4),
    QMIO_ANSWERS(0, qmio_scale, nullptr, 30, 4, 4, given.pixels, 30, 4, 4),
    QMIO_ANSWERS(0, qmio_scale, given.target, 30, 4, 4, nullptr, 30, 4, 4),
    QMIO_ANSWERS(0, qmio_scale, nullptr, 30, 4, 4, nullptr, 30, 4, 4),
    QMIO_ANSWERS(0, qmio_scale_ex, nullptr, 30, 4, 4, given.pixels, 30, 4, 4, 0),
    QMIO_ANSWERS(0, qmio_scale_ex, given.target, 30, 4, 4, nullptr, 30, 4, 4, 0),
    QMIO_ANSWERS(0, qmio_scale_ex, nullptr, 30, 4, 4, nullptr, 30, 4, 4, 0),
    QMIO_ANSWERS(0, qmio_scale_slice, nullptr, 30, 4, 4, given.pixels, 30, 4, 4),
    QMIO_ANSWERS(0, qmio_scale_slice, given.target, 30, 4, 4, nullptr, 30, 4, 4),
    QMIO_ANSWERS(0, qmio_scale_slice, nullptr, 30, 4, 4, nullptr, 30, 4, 4),
    QMIO_CALL(qmio_surf_slice, {
         qmio_planes planes{};
         planes.data[0] = given.pixels;
         planes.linesize[0] = 4;
         QMIO_FUNCTION(qmio_surf_slice)(-1, &planes, &planes, 3);
         EXPECT_EQ(planes.data[0], given.pixels) << "an unknown format leaves the planes as they are";
         QMIO_FUNCTION(qmio_surf_slice)(30, nullptr, &planes, 3);
         QMIO_FUNCTION(qmio_surf_slice)(30, &planes, nullptr, 3);
         EXPECT_EQ(planes.data[0], given.pixels) << "there is nothing to make them of";
         EXPECT_EQ(planes.linesize[0], 4);
     }),
    QMIO_ANSWERS(0, qmio_is_sliceable, -1),
    QMIO_ANSWERS(0, qmio_probe_cvt, 5000, 5000),
    QMIO_CALL(qmio_image_fill_arrays, {
         uint8_t* data[4] = {};
         int line_sizes[4] = {};
         EXPECT_EQ(QMIO_FUNCTION(qmio_image_fill_arrays)(data, line_sizes, nullptr, 30, 5, 3, 1), 60);
         EXPECT_LT(QMIO_FUNCTION(qmio_image_fill_arrays)(data, line_sizes, nullptr, -1, 5, 3, 1), 0);
     }),
    QMIO_ANSWERS(nullptr, qmio_sws_getContext, 4, 4, -1, 4, 4, -1, 1, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_sws_scale, nullptr, nullptr, nullptr, 0, 4, nullptr, nullptr),
    QMIO_CALL(qmio_sws_freeContext, {
         SwsContext* const scaler = QMIO_FUNCTION(qmio_sws_getContext)(4, 4, 30, 4, 4, 30, 1, nullptr, nullptr, nullptr);
         ASSERT_NE(scaler, nullptr);
         QMIO_FUNCTION(qmio_sws_freeContext)(nullptr);
         const uint8_t* const from[] = {given.pixels, nullptr, nullptr, nullptr};
         uint8_t* const to[] = {given.target, nullptr, nullptr, nullptr};
         const int line_sizes[] = {16, 0, 0, 0};
         EXPECT_EQ(QMIO_FUNCTION(qmio_sws_scale)(scaler, from, line_sizes, 0, 4, to, line_sizes), 4);
         QMIO_FUNCTION(qmio_sws_freeContext)(scaler);
     }),
    QMIO_ANSWERS(nullptr, qmio_get_frm_data, nullptr, 0),
    QMIO_ANSWERS(0, qmio_get_frm_linesize, nullptr, 0),
    QMIO_ANSWERS(-1, qmio_get_frm_format, nullptr),
    QMIO_ANSWERS(-1, qmio_fmtid, nullptr),
    // Catalogue.
    QMIO_CALL(qmio_first_codec, { EXPECT_NE(QMIO_FUNCTION(qmio_first_codec)(), nullptr); }),
    QMIO_ANSWERS(nullptr, qmio_next_codec, nullptr),
    QMIO_CALL(qmio_first_format, { EXPECT_NE(QMIO_FUNCTION(qmio_first_format)(), nullptr); }),
    QMIO_ANSWERS(nullptr, qmio_next_format, nullptr),
    QMIO_ANSWERS(0, qmio_is_codec, nullptr, "video"),
    QMIO_ANSWERS(0, qmio_is_codec, nullptr, nullptr),
    QMIO_ANSWERS(0, qmio_is_format, nullptr, "video"),
    QMIO_ANSWERS(0, qmio_is_format, nullptr, nullptr),
    QMIO_CALL(qmio_get_codec_info, {
         EXPECT_EQ(QMIO_FUNCTION(qmio_get_codec_info)(nullptr, given.text, "name"), nullptr);
         EXPECT_STREQ(given.text, "");
     }),
    QMIO_ANSWERS(nullptr, qmio_get_codec_info, nullptr, nullptr, nullptr),
    QMIO_CALL(qmio_get_format_info, {
         EXPECT_EQ(QMIO_FUNCTION(qmio_get_format_info)(nullptr, given.text, "name"), nullptr);
         EXPECT_STREQ(given.text, "");
     }),
    QMIO_ANSWERS(nullptr, qmio_get_format_info, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(nullptr, qmio_get_format_prop, nullptr, "vcodec"),
    QMIO_ANSWERS(nullptr, qmio_get_format_prop, nullptr, nullptr),
    QMIO_ANSWERS(std::string(), qmio_get_pix_info, 30, nullptr),
    QMIO_ANSWERS(-1, qmio_get_id, nullptr, nullptr),
    QMIO_CALL(qmio_get_bufsize, { EXPECT_LT(QMIO_FUNCTION(qmio_get_bufsize)(-1, 4, 4), 0); }),
    QMIO_ANSWERS(21, qmio_get_ext, nullptr, nullptr),
    // Parameters, by every key.
    QMIO_CALL(qmio_get_file_info, {
         for (const std::string& key : kTextKeys)
             EXPECT_EQ(QMIO_FUNCTION(qmio_get_file_info)(nullptr, key.c_str()), nullptr) << key;
     }),
    QMIO_ANSWERS(nullptr, qmio_get_file_info, nullptr, "anything"),
    QMIO_ANSWERS(nullptr, qmio_get_file_info, nullptr, nullptr),
    QMIO_CALL(qmio_get_file_param, {
         for (const auto* keys : {&kFileKeys, &kSharedKeys, &kPartKeys})
             for (const std::string& key : *keys)
                 EXPECT_EQ(QMIO_FUNCTION(qmio_get_file_param)(nullptr, key.c_str()), -1) << key;
     }),
    QMIO_ANSWERS(-1, qmio_get_file_param, nullptr, nullptr),
    QMIO_CALL(qmio_get_stream_param, {
         for (const auto* keys : {&kSharedKeys, &kTrackKeys, &kStreamKeys, &kPartKeys})
             for (const std::string& key : *keys)
                 EXPECT_EQ(QMIO_FUNCTION(qmio_get_stream_param)(nullptr, key.c_str(), 0), -1) << key;
     }),
    QMIO_ANSWERS(-1, qmio_get_stream_param, nullptr, "gop", 5),
    QMIO_ANSWERS(-1, qmio_get_stream_param, nullptr, "set_gop", 5),
    QMIO_ANSWERS(-1, qmio_get_stream_param, nullptr, nullptr, 0),
    QMIO_CALL(qmio_get_time_param, {
         for (const std::string& key : kTimeKeys)
             EXPECT_EQ(QMIO_FUNCTION(qmio_get_time_param)(nullptr, key.c_str(), &given.times), 0) << key;
     }),
    QMIO_ANSWERS(0, qmio_get_time_param, nullptr, nullptr, nullptr),
    QMIO_CALL(qmio_set_time_param, {
         for (const std::string& key : kTimeKeys)
             EXPECT_EQ(QMIO_FUNCTION(qmio_set_time_param)(nullptr, key.c_str(), &given.times), 0) << key;
     }),
    QMIO_ANSWERS(0, qmio_set_time_param, nullptr, nullptr, nullptr),
    QMIO_ANSWERS(-1, qmio_get_smpte, nullptr, 5),
    // Additions.
    QMIO_CALL(qmio_why, {
         QMIO_FUNCTION(qmio_why)(nullptr, 0);
         EXPECT_EQ(QMIO_FUNCTION(qmio_why)(given.text, sizeof given.text), 0);
         EXPECT_STREQ(given.text, "");
     }),
    QMIO_ANSWERS(nullptr, qmio_open_u8, nullptr, "threads=1"),
    QMIO_ANSWERS(nullptr, qmio_create_u8, nullptr, "fmt=mov", 0),
    QMIO_ANSWERS(nullptr, qmio_mux_u8, "copy.mkv", "fmt=matroska", nullptr, nullptr),
    QMIO_ANSWERS(-EINVAL, qmio_finish, nullptr),
    QMIO_ANSWERS(0, qmio_cancel_open, 5),
    QMIO_ANSWERS(1, qmio_set_log, nullptr, nullptr, 0),
    // More about a file.
    QMIO_CALL(qmio_get_text, {
         for (const auto* keys : {&kContainerTextKeys, &kVideoTextKeys, &kTrackTextKeys})
             for (const std::string& key : *keys) {
                 given.text[0] = '?';
                 EXPECT_EQ(QMIO_FUNCTION(qmio_get_text)(nullptr, 0, key.c_str(), given.text, 8), -1) << key;
                 EXPECT_STREQ(given.text, "") << key;
             }
         given.text[0] = '?';
         EXPECT_EQ(QMIO_FUNCTION(qmio_get_text)(nullptr, 0, nullptr, given.text, 0), -1);
         EXPECT_EQ(given.text[0], '?') << "there is no room for a NUL";
     }),
    QMIO_ANSWERS(-1, qmio_get_text, nullptr, QMIO_VIDEO, "codec", nullptr, 8),
    QMIO_ANSWERS(-1, qmio_get_text, nullptr, QMIO_CONTAINER, nullptr, nullptr, -1),
    QMIO_CALL(qmio_timecode, {
         EXPECT_EQ(QMIO_FUNCTION(qmio_timecode)(nullptr, 5, given.text, 8), -1);
         EXPECT_STREQ(given.text, "");
     }),
    QMIO_ANSWERS(-1, qmio_timecode, nullptr, 5, nullptr, 8),
};
// clang-format on

std::vector<std::string> names_of_the_interface() {
    std::vector<std::string> names;
    std::ifstream list(path_of(QMIO_EXPORTS));
    for (std::string line; std::getline(list, line);) {
        line.erase(std::remove(line.begin(), line.end(), '\r'), line.end());
        const bool is_name = !line.empty() && line[0] != '#';
        if (is_name)
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
        Given given(library);
        call.run(library, given);
    }
}

TEST(EveryFunction, IsAmongThoseThatAreCalled) {
    std::vector<std::string> called;
    called.reserve(kCalls.size());
    for (const Call& call : kCalls)
        called.emplace_back(call.name);
    std::sort(called.begin(), called.end());
    called.erase(std::unique(called.begin(), called.end()), called.end());
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
