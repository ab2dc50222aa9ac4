// Films of every encoder here whose pictures FFmpeg can decode on a thread each.
//
// Left out: what is encoded here but not read by number from any container (APNG, QOI, WebP, bitpacked) or has no
// pixel format for hosts (OpenEXR); what no encoder makes (VP3, VP4, RealVideo 3 and 4, Mimic and the lossless ones of
// screen recorders, most of which have no pictures that refer to others).
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <ostream>
#include <string>

namespace qmio::test {

struct Film {
    std::string encoder;
    std::string muxer;
    std::string options;
    std::string format = "AV_PIX_FMT_YUV420P";
    int width = 176;
    int height = 144;
};

inline std::ostream& operator<<(std::ostream& out, const Film& film) {
    return out << film.encoder << " in " << film.muxer << ", " << film.options;
}

inline const Film kTheora = {"libtheora", "matroska", "pix_fmt=yuv420p,g=40,b:v=400k"};

inline const Film kFilms[] = {
    kTheora,
    {"libtheora", "avi", "pix_fmt=yuv420p,g=12,b:v=400k"},
    {"mpeg4", "avi", "pix_fmt=yuv420p,g=40,b:v=400k,bf=0"},
    {"mpeg4", "mp4", "pix_fmt=yuv420p,g=40,b:v=400k,bf=2"},
    {"libx264", "mp4", "pix_fmt=yuv420p,g=40,preset=fast"},
    {"libx264", "mpegts", "pix_fmt=yuv420p,g=40,preset=fast,flags=ilme+ildct"},
    {"libx265", "mp4", "pix_fmt=yuv420p,g=40,preset=ultrafast,x265-params=log-level=none"},
    {"libvpx", "webm", "pix_fmt=yuv420p,g=40,b:v=300k,cpu-used=8,auto-alt-ref=1,lag-in-frames=16"},
    {"libvpx-vp9", "webm", "pix_fmt=yuv420p,g=40,b:v=300k,cpu-used=8,deadline=realtime"},
    {"libvpx-vp9", "webm", "pix_fmt=yuv420p,g=40,b:v=300k,cpu-used=8,deadline=realtime,frame-parallel=1"},
    {"png", "matroska", "pix_fmt=rgb24", "AV_PIX_FMT_RGB24"},
    {"cfhd", "mov", "pix_fmt=yuv422p10le", "AV_PIX_FMT_YUV422P10LE"},
    {"dnxhd", "mov", "pix_fmt=yuv422p,profile=dnxhr_sq", "AV_PIX_FMT_YUV422P", 320, 192},
    {"dvvideo", "avi", "pix_fmt=yuv420p", "AV_PIX_FMT_YUV420P", 720, 576},
    {"ffvhuff", "avi", "pix_fmt=yuv420p"},
    {"hap", "mov", "pix_fmt=rgba", "AV_PIX_FMT_RGBA"},
    {"huffyuv", "avi", "pix_fmt=yuv422p", "AV_PIX_FMT_YUV422P"},
    {"jpeg2000", "matroska", "pix_fmt=yuv420p"},
    {"prores_ks", "mov", "pix_fmt=yuv422p10le", "AV_PIX_FMT_YUV422P10LE"},
    {"tiff", "matroska", "pix_fmt=rgb24", "AV_PIX_FMT_RGB24"},
    {"utvideo", "avi", "pix_fmt=yuv420p"},
    {"v210", "mov", "pix_fmt=yuv422p10le", "AV_PIX_FMT_YUV422P10LE"},
    {"v410", "mov", "pix_fmt=yuv444p10le", "AV_PIX_FMT_YUV444P10LE"},
    {"zlib", "avi", "pix_fmt=bgr24", "AV_PIX_FMT_BGR24"},
};

inline bool is_there(const Film& film) {
    return avcodec_find_encoder_by_name(film.encoder.c_str()) != nullptr;
}

inline std::string options_of(const Film& film) {
    return "fmt=" + film.muxer + ",vcodec=" + film.encoder + ",r=25,threads:v=1,size=" + std::to_string(film.width) +
           "x" + std::to_string(film.height) + "," + film.options;
}

}  // namespace qmio::test
