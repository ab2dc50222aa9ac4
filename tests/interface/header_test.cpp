// The header as a host's compiler sees it: records laid out byte for byte, every function with its widths and order.
#include <gtest/gtest.h>
#include <qmio.h>

#include <cstddef>
#include <string>
#include <type_traits>

#if defined(AVUTIL_AVUTIL_H) || defined(AVCODEC_AVCODEC_H)
#error "qmio.h must not include an FFmpeg header"
#endif

namespace {

#define EXPECT_PROTOTYPE(name, ...)                                      \
    EXPECT_TRUE((std::is_same_v<decltype(name), __VA_ARGS__>)) << #name; \
    EXPECT_NE(reinterpret_cast<void*>(&name), nullptr) << #name

using Handle = MediaHandle*;

TEST(Header, PictureRecordHas80BytesWithItsFieldsInPlace) {
    EXPECT_EQ(sizeof(imio_picture), 80U);
    EXPECT_EQ(offsetof(imio_picture, format), 0U);
    EXPECT_EQ(offsetof(imio_picture, data), 8U);
    EXPECT_EQ(offsetof(imio_picture, width), 24U);
    EXPECT_EQ(offsetof(imio_picture, height), 28U);
    EXPECT_EQ(offsetof(imio_picture, line_size), 32U);
    EXPECT_EQ(offsetof(imio_picture, alignment), 48U);
}

TEST(Header, PlanesRecordHas96BytesWithItsFieldsInPlace) {
    EXPECT_EQ(sizeof(qmio_planes), 96U);
    EXPECT_EQ(offsetof(qmio_planes, data), 0U);
    EXPECT_EQ(offsetof(qmio_planes, linesize), 64U);
}

TEST(Header, TellsTheVersionOfTheBuild) {
    EXPECT_STREQ(QMIO_VERSION_STRING, QMIO_PROJECT_VERSION);
    EXPECT_STREQ(QMIO_VERSION_STRING, qmio_get_file_info(nullptr, "ver"));
    const std::string parts = std::to_string(QMIO_VERSION_MAJOR) + "." + std::to_string(QMIO_VERSION_MINOR) + "." +
                              std::to_string(QMIO_VERSION_PATCH);
    EXPECT_EQ(parts, QMIO_VERSION_STRING);
    EXPECT_EQ(QMIO_VERSION / 10000, QMIO_VERSION_MAJOR);
}

TEST(Header, NamesTheSampleFormatsThatTheLibraryLooksUp) {
    const auto code = [](const char* name) { return qmio_get_id(name, "sample_bits"); };
    EXPECT_EQ(code("u8"), QMIO_SAMPLES_U8);
    EXPECT_EQ(code("s16"), QMIO_SAMPLES_S16);
    EXPECT_EQ(code("s32"), QMIO_SAMPLES_S32);
    EXPECT_EQ(code("s64"), QMIO_SAMPLES_S64);
    EXPECT_EQ(code("flt"), QMIO_SAMPLES_FLOAT);
    EXPECT_EQ(code("dbl"), QMIO_SAMPLES_DOUBLE);
    EXPECT_EQ(code("u8p"), QMIO_SAMPLES_U8_PLANES);
    EXPECT_EQ(code("s16p"), QMIO_SAMPLES_S16_PLANES);
    EXPECT_EQ(code("s32p"), QMIO_SAMPLES_S32_PLANES);
    EXPECT_EQ(code("s64p"), QMIO_SAMPLES_S64_PLANES);
    EXPECT_EQ(code("fltp"), QMIO_SAMPLES_FLOAT_PLANES);
    EXPECT_EQ(code("dblp"), QMIO_SAMPLES_DOUBLE_PLANES);
}

TEST(Header, MemoryAndErrorFunctionsKeepTheirPrototypes) {
    EXPECT_PROTOTYPE(qmio_alloc, void*(int));
    EXPECT_PROTOTYPE(qmio_calloc, void*(int));
    EXPECT_PROTOTYPE(qmio_realloc, void*(void*, int));
    EXPECT_PROTOTYPE(qmio_free, void(void*));
    EXPECT_PROTOTYPE(qmio_get_error, int(char*));
    EXPECT_PROTOTYPE(qmio_get_vstream, int(Handle));
    EXPECT_PROTOTYPE(qmio_get_astream, int(Handle));
    EXPECT_PROTOTYPE(qmio_get_dur, int(Handle));
    EXPECT_PROTOTYPE(qmio_print, int(Handle, const char*));
}

TEST(Header, OpeningAndClosingFunctionsKeepTheirPrototypes) {
    EXPECT_PROTOTYPE(qmio_open_a, Handle(const char*));
    EXPECT_PROTOTYPE(qmio_open_ex_a, Handle(const char*, const char*));
    EXPECT_PROTOTYPE(qmio_open_w, Handle(const wchar_t*));
    EXPECT_PROTOTYPE(qmio_open_ex_w, Handle(const wchar_t*, const wchar_t*));
    EXPECT_PROTOTYPE(qmio_close, int(Handle));
    EXPECT_PROTOTYPE(qmio_flush, int(Handle));
    EXPECT_PROTOTYPE(qmio_cancel, int(Handle));
}

TEST(Header, ReadingFunctionsKeepTheirPrototypes) {
    EXPECT_PROTOTYPE(qmio_get_frame, int(Handle));
    EXPECT_PROTOTYPE(qmio_release_frame, int(Handle));
    EXPECT_PROTOTYPE(qmio_video_pkt, int(Handle, uint8_t*, AVPacket*));
    EXPECT_PROTOTYPE(qmio_video_frame, int(Handle, uint8_t*));
    EXPECT_PROTOTYPE(qmio_read_frame, int(Handle, uint8_t*));
    EXPECT_PROTOTYPE(qmio_get_buf, int(Handle, uint8_t*));
    EXPECT_PROTOTYPE(qmio_is_valid_frame, int(Handle, int));
    EXPECT_PROTOTYPE(imio_video_pkt, int(Handle, imio_picture*, AVPacket*));
    EXPECT_PROTOTYPE(imio_video_frame, int(Handle, imio_picture*));
    EXPECT_PROTOTYPE(imio_read_frame, int(Handle, imio_picture*));
    EXPECT_PROTOTYPE(imio_get_buf, int(Handle, imio_picture*));
}

TEST(Header, SeekingFunctionsKeepTheirPrototypes) {
    EXPECT_PROTOTYPE(qmio_seek_frame, int(Handle, int));
    EXPECT_PROTOTYPE(qmio_seek_frame_ex, int(Handle, int));
    EXPECT_PROTOTYPE(qmio_seek_frame_ex_old, int(Handle, int));
    EXPECT_PROTOTYPE(qmio_seek_ts, int64_t(Handle, int64_t, int));
    EXPECT_PROTOTYPE(qmio_set_dst_fmt, int(Handle, int));
}

TEST(Header, AudioFunctionsKeepTheirPrototypes) {
    EXPECT_PROTOTYPE(qmio_set_track, int(Handle, int));
    EXPECT_PROTOTYPE(qmio_map_audio, int(Handle, int, int));
    EXPECT_PROTOTYPE(qmio_user_chans, int(Handle));
    EXPECT_PROTOTYPE(qmio_track_chans, int(Handle, int));
    EXPECT_PROTOTYPE(qmio_stream_chans, int(Handle, int));
    EXPECT_PROTOTYPE(qmio_ffch2trch, int(Handle, int));
    EXPECT_PROTOTYPE(qmio_trch2ffch, int(Handle, int));
    EXPECT_PROTOTYPE(qmio_stream2ffch, int(Handle, int));
    EXPECT_PROTOTYPE(qmio_ffch2stream, int(Handle, int));
    EXPECT_PROTOTYPE(qmio_stream2trch, int(Handle, int));
    EXPECT_PROTOTYPE(qmio_trch2stream, int(Handle, int));
    EXPECT_PROTOTYPE(qmio_audio_remap, int(Handle, void*, const void*, int, int));
    EXPECT_PROTOTYPE(qmio_remap_audio, int(Handle, void*, const void*, int, int));
    EXPECT_PROTOTYPE(qmio_set_dst_audio, int(Handle, int, int, int));
    EXPECT_PROTOTYPE(qmio_audio_frame, int(Handle, void*));
    EXPECT_PROTOTYPE(qmio_audio_pkt, int(Handle, void*, AVPacket*));
    EXPECT_PROTOTYPE(qmio_resample_track, int(Handle, int, void*, const void*, int));
    EXPECT_PROTOTYPE(qmio_sample_size, int(Handle));
}

TEST(Header, PacketFunctionsKeepTheirPrototypes) {
    EXPECT_PROTOTYPE(qmio_pkt_alloc, AVPacket * ());
    EXPECT_PROTOTYPE(qmio_pkt_free, int(AVPacket*));
    EXPECT_PROTOTYPE(qmio_pkt_release, int(AVPacket*));
    EXPECT_PROTOTYPE(qmio_pkt_clone, int(AVPacket*));
    EXPECT_PROTOTYPE(qmio_pkt_copy, AVPacket * (AVPacket*, const AVPacket*));
    EXPECT_PROTOTYPE(qmio_pkt_get, AVPacket * (Handle, AVPacket*));
    EXPECT_PROTOTYPE(qmio_pkt_dup, AVPacket * (Handle, AVPacket*));
    EXPECT_PROTOTYPE(qmio_pkt_put, int(Handle, const AVPacket*));
    EXPECT_PROTOTYPE(qmio_pkt_save, int(Handle, const AVPacket*));
    EXPECT_PROTOTYPE(qmio_pkt_restore, int(Handle, AVPacket*));
    EXPECT_PROTOTYPE(qmio_pkt_type, int(Handle, const AVPacket*));
    EXPECT_PROTOTYPE(qmio_pkt_time, int(Handle, const AVPacket*, pkt_time_info*));
    EXPECT_PROTOTYPE(qmio_pkt_ts, int(Handle, AVPacket*, int64_t));
}

TEST(Header, WritingFunctionsKeepTheirPrototypes) {
    EXPECT_PROTOTYPE(qmio_create_a, Handle(const char*, const char*));
    EXPECT_PROTOTYPE(qmio_create_ex_a, Handle(const char*, const char*, uint32_t));
    EXPECT_PROTOTYPE(qmio_create_w, Handle(const wchar_t*, const wchar_t*));
    EXPECT_PROTOTYPE(qmio_create_ex_w, Handle(const wchar_t*, const wchar_t*, uint32_t));
    EXPECT_PROTOTYPE(imio_encode_frame, AVPacket * (Handle, const imio_picture*));
    EXPECT_PROTOTYPE(imio_write_frame, int(Handle, const imio_picture*));
    EXPECT_PROTOTYPE(qmio_encode_frame, AVPacket * (Handle, const uint8_t*));
    EXPECT_PROTOTYPE(qmio_write_frame, int(Handle, const uint8_t*));
    EXPECT_PROTOTYPE(qmio_put_frame, int(Handle, AVPacket*));
    EXPECT_PROTOTYPE(qmio_write_track, int(Handle, int, const uint8_t*, int));
    EXPECT_PROTOTYPE(qmio_write_audio, int(Handle, const uint8_t*, int));
}

TEST(Header, FunctionsOfTheHostsOwnBytesKeepTheirPrototypes) {
    EXPECT_TRUE((std::is_same_v<qmio_read_bytes, int(void*, void*, int)>));
    EXPECT_TRUE((std::is_same_v<qmio_seek_bytes, int64_t(void*, int64_t, int)>));
    EXPECT_PROTOTYPE(qmio_open_mem, Handle(const void*, int64_t, const char*));
    EXPECT_PROTOTYPE(qmio_open_io, Handle(qmio_read_bytes*, qmio_seek_bytes*, void*, const char*));
    EXPECT_EQ(int{QMIO_BYTES_AGAIN}, -11);
    EXPECT_EQ(int{QMIO_BYTES_INTERRUPTED}, -4);
    EXPECT_EQ(int{QMIO_BYTES_SIZE}, 0x10000);
}

TEST(Header, SoundByPositionKeepsItsPrototypeAndCodes) {
    EXPECT_PROTOTYPE(qmio_read_sound, int(Handle, int, int64_t, int, void*, int));
    EXPECT_EQ(int{QMIO_SOUND_NO_TRACK}, -1);
    EXPECT_EQ(int{QMIO_SOUND_BAD_RANGE}, -2);
    EXPECT_EQ(int{QMIO_SOUND_NO_ROOM}, -3);
    EXPECT_EQ(int{QMIO_SOUND_NO_FORM}, -4);
    EXPECT_EQ(int{QMIO_SOUND_NO_SOURCE}, -5);
    EXPECT_EQ(int{QMIO_SOUND_FAILED}, -6);
}

TEST(Header, CreationFlagsKeepTheirBits) {
    EXPECT_EQ(int{QMIO_CREATE_INTERLEAVED}, 0x40000);
    EXPECT_EQ(int{QMIO_CREATE_FRAME_INDEX}, 0x80000);
    EXPECT_EQ(int{QMIO_CREATE_SUPPRESSED}, 0x100000);
}

TEST(Header, ResultsOfWritingATrackKeepTheirNumbers) {
    EXPECT_EQ(int{QMIO_TRACK_NO_HANDLE}, -1);
    EXPECT_EQ(int{QMIO_TRACK_NO_TRACK}, -2);
    EXPECT_EQ(int{QMIO_TRACK_NO_STREAM_INDEX}, -3);
    EXPECT_EQ(int{QMIO_TRACK_NO_CODEC}, -4);
    EXPECT_EQ(int{QMIO_TRACK_NO_ENCODER}, -5);
    EXPECT_EQ(int{QMIO_TRACK_NO_STREAM}, -6);
    EXPECT_EQ(int{QMIO_TRACK_NO_FORM}, -7);
    EXPECT_EQ(int{QMIO_TRACK_NO_RING}, -8);
    EXPECT_EQ(int{QMIO_TRACK_NO_BUFFER}, -9);
    EXPECT_EQ(int{QMIO_TRACK_ENCODE_FAILED}, -10);
    EXPECT_EQ(int{QMIO_TRACK_NO_DATA}, -11);
    EXPECT_EQ(int{QMIO_TRACK_FILL_FAILED}, -12);
}

TEST(Header, PacketTimesRecordHas72BytesWithItsFieldsInPlace) {
    EXPECT_EQ(sizeof(pkt_time_info), 72U);
    EXPECT_EQ(offsetof(pkt_time_info, pts), 0U);
    EXPECT_EQ(offsetof(pkt_time_info, dts), 8U);
    EXPECT_EQ(offsetof(pkt_time_info, start_time), 16U);
    EXPECT_EQ(offsetof(pkt_time_info, duration), 24U);
    EXPECT_EQ(offsetof(pkt_time_info, time_base_num), 32U);
    EXPECT_EQ(offsetof(pkt_time_info, time_base_den), 36U);
    EXPECT_EQ(offsetof(pkt_time_info, frame_rate_num), 40U);
    EXPECT_EQ(offsetof(pkt_time_info, frame_rate_den), 44U);
    EXPECT_EQ(offsetof(pkt_time_info, reserved), 48U);
}

TEST(Header, PictureFunctionsKeepTheirPrototypes) {
    EXPECT_PROTOTYPE(imio_cvt, int(imio_picture*, const imio_picture*));
    EXPECT_PROTOTYPE(imio_scale, int(imio_picture*, const imio_picture*));
    EXPECT_PROTOTYPE(imio_scale_ex, int(imio_picture*, const imio_picture*, int));
    EXPECT_PROTOTYPE(qmio_cvt, int(void*, int, const void*, int, int, int));
    EXPECT_PROTOTYPE(qmio_scale, int(void*, int, int, int, const void*, int, int, int));
    EXPECT_PROTOTYPE(qmio_scale_ex, int(void*, int, int, int, const void*, int, int, int, int));
    EXPECT_PROTOTYPE(qmio_scale_slice, int(void*, int, int, int, const void*, int, int, int));
    EXPECT_PROTOTYPE(qmio_surf_slice, void(int, qmio_planes*, const qmio_planes*, int));
    EXPECT_PROTOTYPE(qmio_is_sliceable, int(int));
    EXPECT_PROTOTYPE(qmio_probe_cvt, int(int, int));
}

TEST(Header, FfmpegPassThroughsKeepTheirPrototypes) {
    EXPECT_PROTOTYPE(qmio_image_fill_arrays, int(uint8_t**, int*, const uint8_t*, int, int, int, int));
    EXPECT_PROTOTYPE(qmio_sws_getContext,
                     SwsContext * (int, int, int, int, int, int, int, SwsFilter*, SwsFilter*, const double*));
    EXPECT_PROTOTYPE(qmio_sws_scale,
                     int(SwsContext*, const uint8_t* const*, const int*, int, int, uint8_t* const*, const int*));
    EXPECT_PROTOTYPE(qmio_sws_freeContext, void(SwsContext*));
    EXPECT_PROTOTYPE(qmio_get_frm_data, uint8_t * (AVFrame*, int));
    EXPECT_PROTOTYPE(qmio_get_frm_linesize, int(AVFrame*, int));
    EXPECT_PROTOTYPE(qmio_get_frm_format, int(AVFrame*));
    EXPECT_PROTOTYPE(qmio_fmtid, int(const char*));
}

TEST(Header, ParameterFunctionsKeepTheirPrototypes) {
    EXPECT_PROTOTYPE(qmio_get_file_param, int64_t(Handle, const char*));
    EXPECT_PROTOTYPE(qmio_get_stream_param, int64_t(Handle, const char*, int));
}

TEST(Header, PixelFormatIntegersHoldTheFrozenNumbers) {
    EXPECT_EQ(AV_PIX_FMT_NONE, -1);
    EXPECT_EQ(AV_PIX_FMT_YUV420P, 0);
    EXPECT_EQ(AV_PIX_FMT_YUYV422, 1);
    EXPECT_EQ(AV_PIX_FMT_RGB24, 2);
    EXPECT_EQ(AV_PIX_FMT_BGR24, 3);
    EXPECT_EQ(AV_PIX_FMT_BGRA, 30);
    EXPECT_EQ(AV_PIX_FMT_RGB32, AV_PIX_FMT_BGRA);
}

}  // namespace
