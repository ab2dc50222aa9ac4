// The option texts of opening and creating: the first byte says which of the two, the rest is the text.
#include <qmio.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include "film.h"
#include "input.h"
#include "limits.h"

namespace {

using qmio::fuzz::Input;

constexpr int kHeaderBytes = 32;
constexpr std::size_t kBlockBytes = 256 << 10;

std::vector<char> empty_block() {
    std::vector<char> block(kHeaderBytes + kBlockBytes);
    std::snprintf(block.data(), kHeaderBytes, "mem:%zX", kBlockBytes);
    return block;
}

// A film that every open reads.
const std::vector<char>& film() {
    static const std::vector<char> made = [] {
        std::vector<char> block = empty_block();
        qmio::fuzz::write_film(qmio_create_a(
            block.data(), "fmt=mpegts,vcodec=mpeg2video,pix_fmt=yuv420p,size=32x32,acodec=mp2,afmt=s16,ar=48000,ac=2"));
        const unsigned long size = std::strtoul(block.data() + std::strlen("mem:"), nullptr, 16);
        return std::vector<char>(block.begin() + kHeaderBytes, block.begin() + kHeaderBytes + static_cast<long>(size));
    }();
    return made;
}

void open(const std::string& options) {
    MediaHandle* const media = qmio_open_mem(film().data(), static_cast<int64_t>(film().size()), options.c_str());
    std::vector<uint8_t> picture(static_cast<std::size_t>(qmio::fuzz::kFilmWidth * qmio::fuzz::kFilmHeight * 4));
    if (qmio_get_file_param(media, "width") == qmio::fuzz::kFilmWidth &&
        qmio_get_file_param(media, "height") == qmio::fuzz::kFilmHeight) {
        qmio_read_frame(media, picture.data());
        qmio_seek_frame(media, 5);
        qmio_read_frame(media, picture.data());
    }
    qmio_close(media);
}

void create(const std::string& options) {
    std::vector<char> block = empty_block();
    MediaHandle* const media = qmio_create_a(block.data(), options.c_str());
    if (media == nullptr)
        return;
    const int64_t width = qmio_get_file_param(media, "width"), height = qmio_get_file_param(media, "height");
    // 16 bytes a pixel hold every format.
    if (width > 0 && height > 0 && width <= (1 << 16) / height) {
        const std::vector<uint8_t> picture(static_cast<std::size_t>(width * height * 16 + 65536));
        for (int frame = 0; frame < 3; ++frame)
            qmio_write_frame(media, picture.data());
    }
    const std::vector<uint8_t> sound(8192);
    qmio_write_audio(media, sound.data(), static_cast<int>(sound.size()));
    qmio_write_track(media, 1, sound.data(), static_cast<int>(sound.size()));
    qmio_close(media);
}

// Some muxers and encoders make files by their options: below a folder of their own.
void work_elsewhere() {
    static const bool done = [] {
        const auto folder = std::filesystem::temp_directory_path() / "qmio-fuzz";
        std::filesystem::create_directories(folder);
        std::filesystem::current_path(folder);
        return true;
    }();
    static_cast<void>(done);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    qmio::fuzz::limit_ffmpeg();
    work_elsewhere();
    Input in(data, size);
    const bool opens = in.below(2) == 1;
    // The text ends at its first NUL, as every text of C does.
    opens ? open(in.text()) : create(in.text());
    return 0;
}
