#include "support/open_media.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

namespace qmio::test {

Media open_media(const std::string& name) {
    return Media(qmio_open_a(name.c_str()));
}

Media open_media(const std::string& name, const std::string& options) {
    return Media(qmio_open_ex_a(name.c_str(), options.c_str()));
}

Media open_media(const std::filesystem::path& path) {
    return Media(qmio_open_w(wide_name(path).c_str()));
}

Media open_on_one_thread(const std::filesystem::path& path) {
    return Media(qmio_open_ex_w(wide_name(path).c_str(), L"threads=1"));
}

std::wstring wide_name(const std::filesystem::path& path) {
    if constexpr (sizeof(wchar_t) == sizeof(char32_t)) {
        const std::u32string name = path.u32string();
        return {name.begin(), name.end()};
    } else {
        const std::u16string name = path.u16string();
        return {name.begin(), name.end()};
    }
}

int64_t file_param(const Media& media, const char* key) {
    return qmio_get_file_param(media.get(), key);
}

Bytes read_bytes(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void write_bytes(const std::filesystem::path& path, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    std::copy(bytes.begin(), bytes.end(), std::ostreambuf_iterator<char>(file));
}

int replace_bytes(Bytes& bytes, std::string_view from, std::string_view to) {
    int replaced = 0;
    auto place = bytes.begin();
    while ((place = std::search(place, bytes.end(), from.begin(), from.end())) != bytes.end()) {
        place = std::copy(to.begin(), to.end(), place);
        ++replaced;
    }
    return replaced;
}

std::unique_ptr<char[]> memory_block(const std::string& header, const Bytes& data) {
    auto block = std::make_unique<char[]>(32 + data.size());
    header.copy(block.get(), 31);
    if (!data.empty())
        std::memcpy(block.get() + 32, data.data(), data.size());
    return block;
}

std::string memory_header(std::size_t size, const char* prefix) {
    char digits[24];
    std::snprintf(digits, sizeof digits, "%llx", static_cast<unsigned long long>(size));
    return std::string(prefix) + digits;
}

Bytes picture_buffer(const Media& media) {
    const int64_t bytes = file_param(media, "width") * file_param(media, "height") * 4;
    return Bytes(static_cast<std::size_t>(std::max<int64_t>(bytes, 0)));
}

Delivered next_picture(const Media& media) {
    Delivered delivered;
    delivered.pixels = picture_buffer(media);
    delivered.result = qmio_read_frame(media.get(), delivered.pixels.data());
    return delivered;
}

std::vector<Bytes> all_pictures(const Media& media, int bound) {
    std::vector<Bytes> pictures;
    Bytes buffer = picture_buffer(media);
    while (static_cast<int>(pictures.size()) < bound && qmio_read_frame(media.get(), buffer.data()) > 1)
        pictures.push_back(buffer);
    while (static_cast<int>(pictures.size()) < bound && qmio_video_pkt(media.get(), buffer.data(), nullptr) > 1)
        pictures.push_back(buffer);
    return pictures;
}

std::optional<std::ptrdiff_t> open_descriptors() {
#ifdef _WIN32
    return std::nullopt;  // under Wine the folder below would be there, and show Wine's own descriptors
#else
    // The log file is opened with the first message and stays open; this call always writes one.
    qmio_planes planes{};
    qmio_surf_slice(-1, &planes, &planes, 0);
    std::error_code unknown;
    const std::filesystem::directory_iterator entries("/proc/self/fd", unknown);
    if (unknown)
        return std::nullopt;
    return std::distance(begin(entries), end(entries));
#endif
}

}  // namespace qmio::test
