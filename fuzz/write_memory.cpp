// Files that are written to memory, with any options and any order of calls.
#include <qmio.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>

#include "input.h"
#include "limits.h"

namespace {

using qmio::fuzz::Input;

constexpr const char* kContainers[] = {"mp4", "mov",  "avi",        "matroska",     "mpegts", "mxf",     "flv",
                                       "asf", "nut",  "ogg",        "wav",          "gif",    "webm",    "mpeg",
                                       "dv",  "aiff", "image2pipe", "rawvideo",     "mjpeg",  "mxf_d10", "au",
                                       "caf", "ivf",  "swf",        "yuv4mpegpipe", "null",   "nothing"};
constexpr const char* kVideo[] = {
    "mpeg4",   "mpeg2video", "mjpeg", "ffv1",  "png",  "rawvideo", "libx264,preset=ultrafast", "prores", "huffyuv",
    "dvvideo", "gif",        "flv",   "qtrle", "snow", "v210",     "libvpx,deadline=realtime", "none",   ""};
constexpr const char* kPixels[] = {"yuv420p", "yuv422p",     "yuvj420p", "yuv444p",  "rgb24", "bgra",  "gray",
                                   "pal8",    "yuv422p10le", "rgb8",     "gray16be", "monow", "vaapi", "nonsense"};
constexpr const char* kSound[] = {"pcm_s16le,afmt=s16",
                                  "aac,afmt=fltp",
                                  "mp2,afmt=s16",
                                  "ac3,afmt=fltp",
                                  "flac,afmt=s16",
                                  "libmp3lame,afmt=fltp",
                                  "libopus,afmt=s16",
                                  "adpcm_ms,afmt=s16",
                                  "vorbis,strict:a=experimental,afmt=fltp",
                                  "wavpack,afmt=s16p",
                                  "pcm_u8,afmt=u8",
                                  "pcm_s24le,afmt=s32",
                                  "alac,afmt=s16p",
                                  "wmav2,afmt=fltp",
                                  "nothing",
                                  "flac"};
constexpr const char* kMore[] = {"",
                                 ",movflags=frag_keyframe+empty_moov",
                                 ",bf=2,g=4",
                                 ",top=1",
                                 ",timecode=10:00:00;00",
                                 ",metadata=\"title=a,b=c\"",
                                 ",tag:v:language=deu,tag:a:x=y",
                                 ",r=30000/1001",
                                 ",r=0",
                                 ",b:v=2M,threads:v=1",
                                 ",movflags=faststart",
                                 ",vtag=abcd",
                                 ",ch_layout=5.1",
                                 ",flush_packets=1"};

struct BlockEnd {
    void operator()(char* block) const { delete[] block; }
};

class Session {
  public:
    explicit Session(Input& in) : size_(std::size_t{256} << in.below(11)), block_(new char[32 + size_]) {
        std::snprintf(block_.get(), 32, "mem:%zX", size_);
        static constexpr uint32_t kFlags[] = {0, QMIO_CREATE_INTERLEAVED, QMIO_CREATE_SUPPRESSED,
                                              QMIO_CREATE_FRAME_INDEX,
                                              QMIO_CREATE_INTERLEAVED | QMIO_CREATE_SUPPRESSED};
        const std::string options = options_of(in);
        media_ = qmio_create_ex_a(block_.get(), options.c_str(), in.one_of(kFlags));
        const int width = static_cast<int>(qmio_get_file_param(media_, "width"));
        const int height = static_cast<int>(qmio_get_file_param(media_, "height"));
        uint8_t* planes[4];
        int rows[4];
        const int bytes = qmio_image_fill_arrays(planes, rows, nullptr, format_, width, height, 1);
        picture_.resize(static_cast<std::size_t>(std::max(0, bytes)));
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() {
        qmio_pkt_free(packet_);
        qmio_close(media_);
    }

    bool is_open() const { return media_ != nullptr; }

    void step(Input& in) {
        switch (in.below(12)) {
            case 0:
            case 1:
            case 2:
                write_pictures(in);
                break;
            case 3:
                encode();
                break;
            case 4:
                qmio_put_frame(media_, packet_);
                break;
            case 5:
            case 6:
            case 7:
                write_sound(in);
                break;
            case 8:
                resample(in);
                break;
            case 9:
                qmio_flush(media_);
                qmio_get_file_param(media_, "write_error");
                break;
            case 10:
                ask(in);
                break;
            default:
                end(in);
        }
    }

  private:
    std::string options_of(Input& in) {
        const std::string pixels = in.one_of(kPixels);
        format_ = static_cast<int>(qmio_get_id(pixels.c_str(), "pix"));
        std::string options = "fmt=" + std::string(in.one_of(kContainers));
        if (in.below(4) != 0) {
            options += ",vcodec=" + std::string(in.one_of(kVideo)) + ",pix_fmt=" + pixels;
            options += ",size=" + std::to_string(in.below(160)) + "x" + std::to_string(in.below(120));
        }
        for (int tracks = in.below(4); tracks > 0; --tracks) {
            static constexpr const char* kRates[] = {"48000", "44100", "8000", "0", "96000"};
            options += ",acodec=" + std::string(in.one_of(kSound)) + ",ar=" + in.one_of(kRates);
            options += ",ac=" + std::to_string(in.below(10));
        }
        return options + in.one_of(kMore) + in.one_of(kMore);
    }

    const uint8_t* picture(Input& in) {
        std::fill(picture_.begin(), picture_.end(), in.byte());
        return picture_.empty() ? nullptr : picture_.data();
    }
    void write_pictures(Input& in) {
        for (int count = 1 + in.below(4); count > 0; --count)
            qmio_write_frame(media_, picture(in));
    }
    void encode() {
        qmio_pkt_free(packet_);
        packet_ = qmio_encode_frame(media_, picture_.empty() ? nullptr : picture_.data());
    }
    void write_sound(Input& in) {
        const int track = in.below(5) - 1, bytes = in.below(8) == 0 ? static_cast<int>(in.bits(2)) : in.byte() * 16;
        const std::vector<uint8_t> sound(static_cast<std::size_t>(bytes), in.byte());
        qmio_write_track(media_, track, in.below(8) == 0 ? nullptr : sound.data(), bytes);
    }
    void resample(Input& in) {
        static constexpr int kForms[] = {16, 8, 32, 0, 64, -16, -1, 17};
        qmio_set_dst_audio(media_, in.below(9), 48000, in.one_of(kForms));
        const std::vector<uint8_t> source(4096, in.byte());
        std::vector<uint8_t> target(1 << 20);
        qmio_resample_track(media_, in.below(4), target.data(), source.data(), in.below(2) * 4096);
    }
    void ask(Input& in) {
        static constexpr const char* kKeys[] = {"vpts", "apts", "pix", "channels", "write_error", "frames"};
        char text[32];
        qmio_get_file_param(media_, in.one_of(kKeys));
        qmio_get_stream_param(media_, in.one_of(kKeys), in.below(4));
        qmio_get_text(media_, in.below(4) - 2, in.below(2) == 0 ? "codec" : "tags", text, sizeof text);
    }
    void end(Input& in) {
        switch (in.below(3)) {
            case 0:
                qmio_cancel(media_);
                break;
            case 1:
                qmio_finish(media_);
                break;
            default:
                break;
        }
    }

    std::size_t size_;
    std::unique_ptr<char, BlockEnd> block_;
    int format_ = -1;
    MediaHandle* media_ = nullptr;
    AVPacket* packet_ = nullptr;
    std::vector<uint8_t> picture_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    qmio::fuzz::limit_ffmpeg();
    Input in(data, size < 200 ? size : 200);
    Session session(in);
    for (int count = 0; count < 40 && session.is_open() && !in.is_empty(); ++count)
        session.step(in);
    return 0;
}
