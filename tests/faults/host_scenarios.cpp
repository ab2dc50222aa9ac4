#include <qmio.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "faults/scenarios.h"
#include "support/documented_results.h"
#include "support/media.h"
#include "support/remuxing.h"

namespace qmio::test {
namespace {

constexpr std::size_t kPictureBytes = std::size_t{320} * 200 * 4;
constexpr int kMostPictures = 200;
constexpr std::size_t kSoundBytes = std::size_t{1} << 20;

// Made once, so that no scenario asks for memory.
std::array<uint8_t, kPictureBytes> picture, other_picture;
std::array<uint8_t, kSoundBytes> sound;
std::string mp4, ts, avi, mkv, three_tracks, gops, made;

MediaHandle* open_noted(Answers& answers, const std::string& path, const char* options = nullptr) {
    MediaHandle* const media = qmio_open_u8(path.c_str(), options);
    answers.note(media != nullptr);
    return media;
}

void close_noted(Answers& answers, MediaHandle* media) {
    const int result = qmio_close(media);
    answers.note(result, result == 0, "qmio_close");
}

void note_delivered(Answers& answers, int result) {
    if (result > 1)
        answers.note_picture(picture.data(), picture.size() / 16);
}

// Whether there may be another one.
bool read_picture(Answers& answers, MediaHandle* media) {
    const int result = qmio_read_frame(media, picture.data());
    answers.note(result, is_reading_result(result), "qmio_read_frame");
    note_delivered(answers, result);
    return result != 0;
}

void drain(Answers& answers, MediaHandle* media) {
    for (int count = 0; count < kMostPictures; ++count) {
        const int result = qmio_video_pkt(media, picture.data(), nullptr);
        answers.note(result, is_decoding_result(result), "qmio_video_pkt");
        note_delivered(answers, result);
        if (result <= 1)
            return;
    }
}

void take_packet(Answers& answers, MediaHandle* media, int kind) {
    if (kind == QMIO_PACKET_VIDEO) {
        const int result = qmio_video_frame(media, picture.data());
        answers.note(result, is_decoding_result(result), "qmio_video_frame");
        note_delivered(answers, result);
    }
    for (int frame = 0; kind == QMIO_PACKET_AUDIO && frame < 8; ++frame) {
        const int bytes = qmio_audio_frame(media, sound.data());
        answers.note(bytes, bytes >= 0, "qmio_audio_frame");
        if (bytes <= 0)
            break;
        answers.note_sound(sound.data(), static_cast<std::size_t>(bytes));
    }
}

// Sound and pictures, packet by packet, to the end.
void read_packets(Answers& answers, MediaHandle* media) {
    for (int count = 0; count < 2000; ++count) {
        const int kind = qmio_get_frame(media);
        answers.note(kind, is_packet_result(kind), "qmio_get_frame");
        if (kind < 0)
            break;
        take_packet(answers, media, kind);
        qmio_release_frame(media);
    }
    drain(answers, media);
}

void read_whole(Answers& answers, const std::string& path) {
    MediaHandle* const media = open_noted(answers, path);
    answers.note(qmio_set_track(media, -1));
    answers.note(qmio_set_dst_audio(media, 2, 44100, 16));
    read_packets(answers, media);
    answers.note(qmio_seek_frame(media, 0));
    for (int count = 0; count < 10 && read_picture(answers, media); ++count) {
    }
    answers.note(qmio_get_file_param(media, "frames"));
    close_noted(answers, media);
}

void read_mp4(Answers& answers) {
    read_whole(answers, mp4);
}
void read_ts(Answers& answers) {
    read_whole(answers, ts);
}
void read_avi(Answers& answers) {
    read_whole(answers, avi);
}
void read_mkv(Answers& answers) {
    read_whole(answers, mkv);
}

void seek(Answers& answers) {
    MediaHandle* const media = open_noted(answers, gops, "count=1");
    for (const int frame : {70, 3, 69, 68, 41, 0, 88, 12}) {
        const int result = qmio_seek_frame(media, frame);
        answers.note(result, is_seeking_result(frame, result), "qmio_seek_frame");
        read_picture(answers, media);
        read_picture(answers, media);
    }
    close_noted(answers, media);
}

void read_sound(Answers& answers) {
    MediaHandle* const media = open_noted(answers, three_tracks);
    for (const int start : {0, 4000, 100}) {
        for (int track = 0; track < 3; ++track) {
            const int samples = qmio_read_sound(media, track, start, 2000, sound.data(), static_cast<int>(kSoundBytes));
            answers.note(samples, samples >= QMIO_SOUND_FAILED && samples <= 2000, "qmio_read_sound");
            answers.note_sound(sound.data(), static_cast<std::size_t>(std::max(samples, 0)));
        }
    }
    close_noted(answers, media);
}

void write_into(Answers& answers, MediaHandle* media) {
    answers.note(media != nullptr);
    for (int number = 0; number < 12; ++number) {
        picture[static_cast<std::size_t>(number)] = static_cast<uint8_t>(40 + number);
        const int result = qmio_write_frame(media, picture.data());
        answers.note(result, is_writing_result(result), "qmio_write_frame");
        const int written = qmio_write_track(media, 0, nullptr, 7680);
        answers.note(written, written >= QMIO_TRACK_FILL_FAILED, "qmio_write_track");
    }
    answers.note(qmio_flush(media));
    const int result = qmio_finish(media);
    answers.note(result, result <= 0, "qmio_finish");
    answers.note_outcome(result);
    answers.note(qmio_get_file_param(media, "write_error"));
    close_noted(answers, media);
    std::memset(picture.data(), 0, picture.size());
}

void write_mp4(Answers& answers) {
    write_into(answers, qmio_create_u8(made.c_str(),
                                       "fmt=mp4,vcodec=libx264,preset=veryfast,bf=2,size=160x96,pix=yuv420p,r=25,"
                                       "acodec=aac,ar=48000,ac=2,afmt=fltp,metadata=\"title=a film\"",
                                       0));
}
void write_mkv(Answers& answers) {
    write_into(answers,
               qmio_create_u8(made.c_str(),
                              "fmt=matroska,vcodec=ffv1,size=160x96,pix=yuv420p,r=25,acodec=flac,ar=48000,ac=2,"
                              "afmt=s16",
                              QMIO_CREATE_INTERLEAVED));
}
void write_ts(Answers& answers) {
    write_into(answers, qmio_create_u8(made.c_str(),
                                       "fmt=mpegts,vcodec=mpeg2video,size=160x96,pix=yuv420p,r=25,acodec=mp2,ar=48000,"
                                       "ac=2,afmt=s16",
                                       QMIO_CREATE_FRAME_INDEX));
}
void write_memory(Answers& answers) {
    char* const block = reinterpret_cast<char*>(sound.data());
    std::snprintf(block, 32, "mem:%zx", kSoundBytes - 32);
    write_into(answers, qmio_create_a(block,
                                      "fmt=avi,vcodec=mjpeg,size=160x96,pix=yuvj420p,r=25,acodec=pcm_s16le,"
                                      "ar=48000,ac=2"));
}

void remux_file(Answers& answers) {
    MediaHandle* const media = open_noted(answers, mp4);
    MediaHandle* const copy = qmio_mux_u8(made.c_str(), "fmt=mpegts", media, media);
    answers.note(copy != nullptr);
    for (int count = 0; count < 2000 && qmio_get_frame(media) >= 0; ++count) {
        const int result = qmio_copy_frame(copy, media);
        answers.note(result, result <= QMIO_PACKET_AUDIO, "qmio_copy_frame");
        qmio_release_frame(media);
    }
    const int result = qmio_finish(copy);
    answers.note(result, result <= 0, "qmio_finish");
    answers.note_outcome(result);
    close_noted(answers, copy);
    close_noted(answers, media);
}

void play_loops(Answers& answers) {
    MediaHandle* const media = open_noted(answers, mp4);
    qmio_set_dst_audio(media, 2, 48000, 16);
    qmio_fifo_frame(media, 2, 20, 5, 12, 3);
    read_packets(answers, media);
    qmio_fifo_frame(media, 0, 20, 5, 12, 3);
    read_picture(answers, media);
    close_noted(answers, media);
}

void convert(Answers& answers) {
    const int bgra = qmio_fmtid("AV_PIX_FMT_BGRA"), yuv = qmio_fmtid("AV_PIX_FMT_YUV420P");
    const struct {
        int from, to, width, height, algorithm;
    } conversions[] = {{bgra, yuv, 160, 96, 1},
                       {yuv, bgra, 160, 96, 4},
                       {bgra, bgra, 80, 50, 0},
                       {bgra, bgra, 161, 99, 0},
                       {yuv, yuv, 162, 98, 0x10}};
    for (const auto& [from, to, width, height, algorithm] : conversions) {
        const int rows =
            qmio_scale_ex(other_picture.data(), to, width, height, picture.data(), from, 160, 96, algorithm);
        answers.note(rows, rows == 0 || rows == height, "qmio_scale_ex");
        if (rows > 0)
            answers.note_picture(other_picture.data(), 4096);
    }
}

void ask_catalogue(Answers& answers) {
    for (const AVCodec* codec = qmio_first_codec(); codec != nullptr; codec = qmio_next_codec(codec)) {
        answers.note(qmio_is_codec(codec, "encoder"));
        answers.note(qmio_get_codec_info(codec, reinterpret_cast<char*>(sound.data()), "format") != nullptr);
    }
    for (const AVOutputFormat* format = qmio_first_format(); format != nullptr; format = qmio_next_format(format)) {
        answers.note(qmio_is_format(format, "video"));
        answers.note(qmio_get_format_info(format, reinterpret_cast<char*>(sound.data()), nullptr) != nullptr);
    }
    const int bytes = qmio_get_ext(reinterpret_cast<char*>(sound.data()), "all");
    answers.note(bytes, bytes >= 0, "qmio_get_ext");
    answers.note(qmio_get_id("yuv420p", "pix"));
    answers.note(qmio_fmtid("AV_PIX_FMT_BGRA"));
}

}  // namespace

std::span<const Scenario> scenarios() {
    static constexpr Scenario all[] = {
        {"read mp4", read_mp4},   {"read ts", read_ts},
        {"read avi", read_avi},   {"read mkv", read_mkv},
        {"seek", seek},           {"sound of 3 tracks", read_sound},
        {"write mp4", write_mp4}, {"write mkv", write_mkv},
        {"write ts", write_ts},   {"write memory", write_memory},
        {"remux", remux_file},    {"play loops", play_loops, false},
        {"convert", convert},     {"catalogue", ask_catalogue},
    };
    return all;
}

// A message opens the log file, which stays open.
void begin_process() {
    qmio_planes none{};
    qmio_surf_slice(-2, &none, &none, 0);
}

void prepare_scenarios(const char* folder) {
    const std::filesystem::path path(folder);
    mp4 = media_path("small_h264_aac.mp4").string();
    avi = media_path("small_mpeg4_pcm.avi").string();
    mkv = media_path("two_tracks_pcm_mp2.mkv").string();
    gops = media_path("h264.mkv").string();
    three_tracks = media_path("sound/tracks_3.mkv").string();
    ts = (path / "small.ts").string();
    made = (path / "made").string();
    if (!remux(mp4, ts, "fmt=mpegts"))
        std::abort();
}

}  // namespace qmio::test
