#include "support/made_file.h"

#include "support/temp_dir.h"

namespace qmio::test {

std::string video_options(const std::string& container, const std::string& encoder, const std::string& more) {
    std::string options = "fmt=" + container + ",vcodec=" + encoder +
                          ",pix=yuv420p,threads=1,size=" + std::to_string(kMadeWidth) + "x" +
                          std::to_string(kMadeHeight);
    return more.empty() ? options : options + "," + more;
}

Media create_file(const std::filesystem::path& path, const std::string& options, uint32_t flags) {
    return Media(qmio_create_u8(utf8(path).c_str(), options.c_str(), flags));
}

void write_pictures(const Media& media, int count) {
    const Bytes picture(std::size_t{kMadeWidth} * kMadeHeight * 3 / 2, 128);
    for (int number = 0; number < count; ++number)
        qmio_write_frame(media.get(), picture.data());
}

bool make_file(const std::filesystem::path& path, const std::string& options, int count) {
    const Media media = create_file(path, options);
    write_pictures(media, count);
    return media != nullptr;
}

}  // namespace qmio::test
