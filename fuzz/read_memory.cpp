// A container in memory, and what a host does with it: its calls are the tail of the input.
#include <qmio.h>

#include <algorithm>
#include <memory>

#include "input.h"
#include "limits.h"

namespace {

using qmio::fuzz::Input;
using qmio::fuzz::kMostPixels;

constexpr std::size_t kMostOperations = 48;  // bytes
constexpr int kMostPictures = 12;            // of one operation: a few bytes can claim to be hours
constexpr std::size_t kSoundBytes = std::size_t{64} << 20;

constexpr const char* kOptions[] = {"threads=1",
                                    "threads=1,count=1",
                                    "threads=1,rotate=1,matrix=file",
                                    "threads=2",
                                    "threads=1,probesize=32,analyzeduration=0",
                                    "threads=1,fflags=+genpts+nofillin",
                                    "threads=2,thread_type=frame,count=1",
                                    "threads=1,fmt=mpegts"};

struct PacketEnd {
    void operator()(AVPacket* packet) const { qmio_pkt_free(packet); }
};

// As a host has them: the buffer is made once, by what the file says after it was opened.
struct Session {
    MediaHandle* media;
    std::vector<uint8_t> picture;
    std::unique_ptr<AVPacket, PacketEnd> packet{qmio_pkt_alloc()};

    explicit Session(MediaHandle* opened) : media(opened) {
        const int64_t width = qmio_get_file_param(media, "width"), height = qmio_get_file_param(media, "height");
        if (width > 0 && height > 0 && width <= kMostPixels / height)
            picture.resize(static_cast<std::size_t>(width * height * 4));
    }
    uint8_t* buffer() { return picture.empty() ? nullptr : picture.data(); }
};

uint8_t* sound_buffer() {
    static uint8_t* const block = static_cast<uint8_t*>(qmio_alloc(static_cast<int>(kSoundBytes)));
    return block;
}

// The header says how long a frame of sound can be; a host of unknown files asks first.
bool sound_fits(MediaHandle* media) {
    const int64_t samples = std::max<int64_t>(1 << 17, 8 * qmio_get_stream_param(media, "pkt_size", 0));
    int64_t slowest = 1;
    for (int track = 0; track < 16; ++track) {
        const int64_t own = std::max<int64_t>(1, qmio_get_stream_param(media, "sample_rate", track));
        slowest = std::max(slowest, qmio_get_file_param(media, "audio_rate") / own + 1);
    }
    const int64_t channels = std::max<int64_t>(64, qmio_get_file_param(media, "channels"));
    return samples * slowest <= static_cast<int64_t>(kSoundBytes) / 8 / channels;
}

void read_pictures(Session& session, Input& in) {
    for (int count = 1 + in.below(kMostPictures); count > 0 && session.buffer() != nullptr; --count) {
        if (qmio_read_frame(session.media, session.buffer()) == 0)
            return;
    }
}

void seek(Session& session, Input& in) {
    const int frame = in.number();
    switch (in.below(4)) {
        case 0:
            qmio_seek_frame_ex(session.media, frame);
            break;
        case 1:
            qmio_seek_frame_ex_old(session.media, frame);
            break;
        default:
            qmio_seek_frame(session.media, frame);
    }
    if (session.buffer() != nullptr)
        qmio_read_frame(session.media, session.buffer());
}

void seek_time(Session& session, Input& in) {
    const int kind = in.below(3);
    qmio_seek_ts(session.media, in.wide_number(), kind);
}

void read_packets(Session& session, Input& in) {
    for (int count = 1 + in.below(kMostPictures); count > 0; --count) {
        const int kind = qmio_get_frame(session.media);
        if (kind < 0)
            return;
        if (kind == QMIO_PACKET_VIDEO)
            qmio_video_frame(session.media, session.buffer());
        for (int frames = 0; kind == QMIO_PACKET_AUDIO && frames < 20 && sound_fits(session.media); ++frames) {
            if (qmio_audio_frame(session.media, sound_buffer()) <= 0)
                break;
        }
        qmio_release_frame(session.media);
    }
}

void use_records(Session& session, Input& in) {
    AVPacket* const packet = session.packet.get();
    pkt_time_info info{};
    switch (in.below(8)) {
        case 0:
            qmio_pkt_dup(session.media, packet);
            break;
        case 1:
            qmio_pkt_get(session.media, packet);
            qmio_pkt_clone(packet);
            break;
        case 2:
            qmio_pkt_put(session.media, packet);
            break;
        case 3:
            qmio_pkt_save(session.media, packet);
            break;
        case 4:
            qmio_pkt_restore(session.media, packet);
            qmio_pkt_clone(packet);
            break;
        case 5:
            qmio_video_pkt(session.media, session.buffer(), packet);
            break;
        case 6:
            qmio_pkt_release(packet);
            break;
        default:
            qmio_pkt_type(session.media, packet);
            qmio_pkt_time(session.media, packet, &info);
            qmio_pkt_ts(session.media, packet, in.wide_number());
    }
}

void drain(Session& session, Input&) {
    for (int count = 0; count < kMostPictures && qmio_video_pkt(session.media, session.buffer(), nullptr) > 0;
         ++count) {
    }
}

void choose_sound(Session& session, Input& in) {
    static constexpr int kRates[] = {8000, 44100, 48000, 96000, 0, -1};
    static constexpr int kForms[] = {16, 8, 32, 0, 64, 128, -16, -1, -32, 17};
    qmio_set_track(session.media, in.below(18) - 1);
    const int channels = in.below(10), rate = in.one_of(kRates);
    qmio_set_dst_audio(session.media, channels, rate, in.one_of(kForms));
    qmio_map_audio(session.media, in.number(), in.number());
}

void read_sound(Session& session, Input& in) {
    const int track = in.below(3), samples = in.below(16) * 256;
    const int64_t start = in.wide_number();
    const int bytes = qmio_read_sound(session.media, track, start, samples, nullptr, 0);
    if (bytes > 0 && bytes <= static_cast<int>(kSoundBytes) && start < 1'000'000)
        qmio_read_sound(session.media, track, start, samples, sound_buffer(), bytes);
}

void ask(Session& session, Input& in) {
    static constexpr const char* kKeys[] = {"frames",    "duration_us",  "frame_pos", "dar",
                                            "rotation",  "dts_frame",    "start",     "frames_origin",
                                            "audio_map", "channel_mask", "bit_rate",  "frame_type"};
    static constexpr const char* kTexts[] = {"format", "codec_tag", "profile",     "timecode",   "channel_layout",
                                             "tags",   "tag:title", "color_space", "field_order"};
    char text[40];
    qmio_time_param times{};
    qmio_get_file_param(session.media, in.one_of(kKeys));
    qmio_get_stream_param(session.media, in.one_of(kKeys), in.number());
    qmio_get_text(session.media, in.below(6) - 2, in.one_of(kTexts), text, in.below(41));
    qmio_get_time_param(session.media, in.below(2) == 0 ? "video" : "packet", &times);
    qmio_timecode(session.media, in.wide_number(), text, sizeof text);
    qmio_get_smpte(session.media, in.number());
}

void choose_format(Session& session, Input& in) {
    static constexpr const char* kFormats[] = {"AV_PIX_FMT_BGRA", "AV_PIX_FMT_RGBA", "AV_PIX_FMT_0RGB", "none"};
    qmio_set_dst_fmt(session.media, qmio_fmtid(in.one_of(kFormats)));
}

void scale(Session& session, Input& in) {
    const int width = 1 + in.below(100), height = 1 + in.below(100);
    std::vector<uint8_t> block(static_cast<std::size_t>(width * height * 4));
    imio_picture picture{};
    picture.data = block.data();
    picture.width = width;
    picture.height = height;
    picture.line_size = width * 4;
    picture.alignment = 1;
    imio_read_frame(session.media, &picture);
    imio_get_buf(session.media, &picture);
}

void read_in_background(Session& session, Input& in) {
    const int from = in.number(), to = in.number(), loop_from = in.number();
    qmio_fifo_frame(session.media, from, to, loop_from, in.number(), in.below(4));
}

void cancel(Session& session, Input& in) {
    if (in.below(4) == 0)
        qmio_cancel(session.media);
}

using Operation = void (*)(Session&, Input&);
constexpr Operation kOperations[] = {
    read_pictures, seek,          seek_time, read_packets,       use_records, drain, choose_sound, read_sound,
    ask,           choose_format, scale,     read_in_background, cancel,      seek,  read_packets, read_sound};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    qmio::fuzz::limit_ffmpeg();
    Input in(data, size);
    Input operations = in.tail(kMostOperations);
    const std::vector<uint8_t> file = in.rest();
    MediaHandle* const media =
        qmio_open_mem(file.data(), static_cast<int64_t>(file.size()), operations.one_of(kOptions));
    if (media == nullptr)
        return 0;
    {
        Session session(media);
        while (!operations.is_empty())
            operations.one_of(kOperations)(session, operations);
    }
    qmio_close(media);
    return 0;
}
