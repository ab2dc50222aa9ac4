// Damaged files against the library: each input is opened, looked at, read to its end, sought in and closed.
//   open_and_read FILE...          runs over files, those of a corpus or of a crash
//   built with QMIO_LIBFUZZER      libFuzzer's entry point instead, over bytes written to a scratch file
#include <qmio.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr int kMostPictures = 40;  // a few bytes can claim to be hours
constexpr int64_t kMostPixels = int64_t{1} << 24;

std::vector<uint8_t> picture_buffer(MediaHandle* media) {
    const int64_t pixels = qmio_get_file_param(media, "width") * qmio_get_file_param(media, "height");
    return std::vector<uint8_t>(pixels > 0 && pixels <= kMostPixels ? static_cast<std::size_t>(pixels) * 4 : 0);
}

void read_in_order(MediaHandle* media, uint8_t* bgra) {
    int calls = 0;
    while (calls++ < kMostPictures && qmio_read_frame(media, bgra) != 0) {
    }
    while (calls++ < 2 * kMostPictures && qmio_video_pkt(media, bgra, nullptr) > 1) {
    }
}

void read_by_number(MediaHandle* media, uint8_t* bgra) {
    const int frames = static_cast<int>(qmio_get_file_param(media, "frames"));
    for (const int number : {frames / 2, frames - 1, 0, frames, -1}) {
        qmio_seek_frame(media, number);
        qmio_read_frame(media, bgra);
    }
    qmio_seek_frame_ex(media, frames / 2);
    qmio_read_frame(media, bgra);
}

void open_and_read(const std::string& name) {
    MediaHandle* media = qmio_open_a(name.c_str());
    if (media == nullptr)
        return;
    std::vector<uint8_t> bgra = picture_buffer(media);
    if (!bgra.empty()) {
        read_in_order(media, bgra.data());
        read_by_number(media, bgra.data());
    }
    qmio_close(media);
}

}  // namespace

#if defined(QMIO_LIBFUZZER)

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    static const std::string scratch = (std::filesystem::temp_directory_path() / "qmio-fuzz-input").string();
    std::ofstream(scratch, std::ios::binary).write(reinterpret_cast<const char*>(data), std::streamsize(size));
    open_and_read(scratch);
    return 0;
}

#else

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i)
        open_and_read(argv[i]);
    std::printf("%d inputs, none brought the library down\n", argc - 1);
    return 0;
}

#endif
