// What tests of opening and closing share: handles and records that end themselves, files as bytes, memory sources, pictures.
#pragma once

#include <qmio.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qmio::test {

struct MediaCloser {
    void operator()(MediaHandle* media) const { qmio_close(media); }
};
using Media = std::unique_ptr<MediaHandle, MediaCloser>;
using Bytes = std::vector<uint8_t>;

// A packet's record.
struct RecordEnd {
    void operator()(AVPacket* packet) const { qmio_pkt_free(packet); }
};
using Record = std::unique_ptr<AVPacket, RecordEnd>;

Media open_media(const std::string& name);
Media open_media(const std::string& name, const std::string& options);
Media open_media(const std::filesystem::path& path);

// Without decoding threads: a run is repeatable, and those of an FFmpeg that was built without the thread sanitizer
// look like races to it.
Media open_on_one_thread(const std::filesystem::path& path);

// A path as a wide name; std::filesystem would take the locale's word for what its bytes mean.
std::wstring wide_name(const std::filesystem::path& path);

int64_t file_param(const Media& media, const char* key);

Bytes read_bytes(const std::filesystem::path& path);
void write_bytes(const std::filesystem::path& path, const Bytes& bytes);

// Replaces every occurrence of `from` by `to`, which has the same length; how many there were.
int replace_bytes(Bytes& bytes, std::string_view from, std::string_view to);

// A block of the caller's memory as a source: `header`, at most 31 characters, in its first 32 bytes, then `data`.
// Exactly as large as its content, so that a sanitizer sees every byte read beyond it.
std::unique_ptr<char[]> memory_block(const std::string& header, const Bytes& data);
std::string memory_header(std::size_t size, const char* prefix = "mem:");

struct Delivered {
    int result = 0;  // of the delivering call
    Bytes pixels;
};
Bytes picture_buffer(const Media& media);
Delivered next_picture(const Media& media);

// Pictures delivered in a row, drain included, at most `bound`.
std::vector<Bytes> all_pictures(const Media& media, int bound);

// Open file descriptors of this process; nothing where the system does not tell.
std::optional<std::ptrdiff_t> open_descriptors();

}  // namespace qmio::test
