// Files written: raw pictures into H.264, and a film of about a gigabyte copied from MP4 into Matroska, against the
// ffmpeg program with the same settings. The files have to hold the same.
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "media.h"
#include "memory_use.h"
#include "reader.h"
#include "rows.h"

namespace bench {

namespace {

// ---- encoding ----

constexpr int kWidth = 1280;
constexpr int kHeight = 720;
constexpr int kPictures = 150;
constexpr std::size_t kPictureBytes = std::size_t{kWidth} * kHeight * 3 / 2;

const std::string kRaw = bench_file("pictures_720p.yuv");
const std::string kEncoded = bench_file("encoded_by_library.mp4");
const std::string kEncodedByProgram = bench_file("encoded_by_ffmpeg.mp4");
const std::string kOptions =
    "fmt=mp4,vcodec=libx264,size=1280x720,pix=yuv420p,r=25,preset=veryfast,crf=23,g=120,bf=3,threads=2";
const std::string kEncoding = "ffmpeg -nostdin -v error -y -f rawvideo -pix_fmt yuv420p -s 1280x720 -r 25 -i " + kRaw +
                              " -c:v libx264 -preset veryfast -crf 23 -g 120 -bf 3 -threads 2 " + kEncodedByProgram;

void encode() {
    std::ifstream raw(kRaw, std::ios::binary);
    const Media media(qmio_create_u8(kEncoded.c_str(), kOptions.c_str(), 0));
    if (media == nullptr || !raw)
        throw std::runtime_error("the library cannot write " + kEncoded);
    std::vector<uint8_t> picture(kPictureBytes);
    while (raw.read(reinterpret_cast<char*>(picture.data()), static_cast<std::streamsize>(picture.size())))
        if (qmio_write_frame(media.get(), picture.data()) < 0)
            throw std::runtime_error("a picture was not written");
}

void run_encoder() {
    run_program(kEncoding);
}

std::string digests(const std::string& file, const std::string& options) {
    return "ffmpeg -nostdin -v error -i " + file + " " + options + " -f streamhash -hash murmur3 -";
}

void require_same(const std::string& one, const std::string& other, const std::string& options) {
    run_program("[ \"$(" + digests(one, options) + ")\" = \"$(" + digests(other, options) + ")\" ]");
}

std::string compare_encodings() {
    encode();
    run_encoder();
    require_same(kEncoded, kEncodedByProgram, "");
    return "";
}

Row encoding_row() {
    return {"raw pictures, 720p",
            "encode with x264",
            "frames/s",
            kPictures,
            {{kLibrary, [] { return Job(encode); }, compare_encodings},
             {kPlain, [] { return Job(run_encoder); }, {}, true}}};
}

// ---- copying ----

const std::string kFilm = bench_file("gigabyte.mp4");
const std::string kCopy = bench_file("copied_by_library.mkv");
const std::string kCopyByProgram = bench_file("copied_by_ffmpeg.mkv");
constexpr double kMebibyte = 1 << 20;

// Noise at a high rate, repeated: what is copied does not matter, how much of it does.
void make_film() {
    if (std::filesystem::exists(kFilm))
        return;
    const std::string piece = bench_file("gigabyte_piece.mp4");
    run_program(
        "ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=size=1280x720:rate=25:duration=20 -f lavfi -i "
        "sine=frequency=440:duration=20 -vf noise=alls=60:allf=t -pix_fmt yuv420p -c:v mpeg2video -q:v 2 -g 12 -bf 2 "
        "-c:a aac " +
        piece);
    const auto times = 1'000'000'000 / std::filesystem::file_size(piece) - 1;
    run_program("ffmpeg -nostdin -v error -y -stream_loop " + std::to_string(times) + " -i " + piece + " -c copy " +
                kFilm);
    std::filesystem::remove(piece);
}

void copy_packets(int64_t most) {
    const Media film = open_media(kFilm);
    const Media copy(qmio_mux_u8(kCopy.c_str(), "fmt=matroska", film.get(), film.get()));
    if (copy == nullptr)
        throw std::runtime_error("the library cannot copy " + kFilm);
    for (int64_t packets = 0; packets < most && qmio_get_frame(film.get()) >= 0; ++packets) {
        if (qmio_copy_frame(copy.get(), film.get()) < 0)
            throw std::runtime_error("a packet was not written");
        qmio_release_frame(film.get());
    }
}

void copy_film() {
    copy_packets(INT64_MAX);
}

void run_copier() {
    run_program("ffmpeg -nostdin -v error -y -i " + kFilm + " -map 0:v:0 -map 0:a:0 -c copy " + kCopyByProgram);
}

std::string compare_copies() {
    make_film();
    const long beginning = peak_memory([] { copy_packets(5000); });
    const long whole = peak_memory(copy_film);
    if (whole > beginning + beginning / 4)
        throw std::runtime_error("memory grows with the film: " + std::to_string(whole) + " KiB");
    run_copier();
    require_same(kCopy, kCopyByProgram, "-c copy");
    return "";
}

// The size of the film is known once it was made, which the first round does; here it is about that.
Row copying_row() {
    return {"MPEG-2 and AAC, a gigabyte",
            "copy from MP4 into Matroska",
            "MiB/s",
            1e9 / kMebibyte,
            {{kLibrary, [] { return Job(copy_film); }, compare_copies},
             {kPlain,
              [] {
                  make_film();
                  return Job(run_copier);
              },
              {},
              true}}};
}

}  // namespace

void add_writing_rows(std::vector<Row>& rows) {
    rows.push_back(encoding_row());
    rows.push_back(copying_row());
}

}  // namespace bench
