// The header of a block of memory that is read or written: 32 bytes of the input, then the block.
#include <qmio.h>

#include <cstring>

#include "core/text/memory_block.h"
#include "film.h"
#include "input.h"
#include "limits.h"

namespace {

using qmio::fuzz::Input;

constexpr std::size_t kHeaderBytes = qmio::memory_block::kHeaderSize;

// A header that promises more than there is would be the host's lie.
bool is_honest(const std::vector<uint8_t>& block) {
    int64_t size = 0;
    const char* const name = reinterpret_cast<const char*>(block.data());
    return !qmio::memory_block::parse_size(name, size) || size <= static_cast<int64_t>(block.size() - kHeaderBytes);
}

void read(const char* block) {
    MediaHandle* const media = qmio_open_a(block);
    const int64_t width = qmio_get_file_param(media, "width"), height = qmio_get_file_param(media, "height");
    if (width > 0 && height > 0 && width <= qmio::fuzz::kMostPixels / height) {
        std::vector<uint8_t> picture(static_cast<std::size_t>(width * height * 4));
        for (int count = 0; count < 4 && qmio_read_frame(media, picture.data()) != 0; ++count) {
        }
        qmio_seek_frame(media, 1);
        qmio_read_frame(media, picture.data());
    }
    qmio_close(media);
}

void write(char* block, Input& in) {
    static constexpr const char* kOptions[] = {
        "fmt=mpegts,vcodec=mpeg2video,pix_fmt=yuv420p,size=32x32", "fmt=avi,vcodec=mjpeg,pix_fmt=yuvj420p,size=32x32",
        "fmt=matroska,vcodec=ffv1,pix_fmt=yuv420p,size=32x32", "fmt=mp4,vcodec=mpeg4,pix_fmt=yuv420p,size=32x32",
        "fmt=image2pipe,vcodec=png,pix_fmt=rgb24,size=32x16"};
    MediaHandle* const media = qmio_create_a(block, in.one_of(kOptions));
    if (media != nullptr)
        qmio::fuzz::write_film(media);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    qmio::fuzz::limit_ffmpeg();
    Input in(data, size);
    const bool reads = in.below(2) == 1;
    Input choice = in.tail(1);
    std::vector<uint8_t> block(std::strlen("mem:"));
    std::memcpy(block.data(), "mem:", block.size());
    const std::vector<uint8_t> rest = in.rest();
    block.insert(block.end(), rest.begin(), rest.end());
    if (block.size() < kHeaderBytes)
        block.resize(kHeaderBytes);
    block.shrink_to_fit();
    if (!is_honest(block))
        return 0;
    char* const name = reinterpret_cast<char*>(block.data());
    reads ? read(name) : write(name, choice);
    return 0;
}
