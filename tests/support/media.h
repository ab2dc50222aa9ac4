// The media that make_media.sh makes for the tests, and what the ffmpeg program decodes from them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

#include "support/open_media.h"

namespace qmio::test {

// A picture as the ffmpeg program decodes and libswscale converts it.
struct Reference {
    uint64_t hash = 0;
    int width = 0;
    int height = 0;
};

// Path of a made file: in the folder QMIO_TEST_MEDIA_DIR of the environment or, without it, of the build.
std::filesystem::path media_path(const std::string& name);

// Every picture of a made file's video, in order of delivery.
std::vector<Reference> made_references(const std::string& name);

// A file of the folder of real media, as its table lists it.
struct RealFile {
    std::string name;
    int decoded = 0;  // pictures that the ffmpeg program decodes; 0: not known or no video
    bool has_video = false;
    bool opens = false;
    bool damaged = false;  // of the table's class Broken
};
void PrintTo(const RealFile& file, std::ostream* out);
std::vector<RealFile> real_files();  // empty where there is no such folder
std::filesystem::path real_media(const std::string& name);
std::vector<Reference> real_references(const std::string& name);

// What a delivering call wrote into a buffer of exactly width x height x 4 bytes.
struct Picture {
    int result = 0;
    uint64_t hash = 0;
    int number = 0;  // carried in the pixels; nonsense in real media
};

// A handle with a buffer of exactly the size that hosts are asked to have. Each call fills the buffer with a pattern
// first, so that pixels left unwritten do not pass for the picture before.
class Player {
  public:
    explicit Player(const std::filesystem::path& path, const wchar_t* options = nullptr);

    MediaHandle* handle() const { return media_.get(); }
    bool is_open() const { return media_ != nullptr; }
    int width() const { return width_; }
    int height() const { return height_; }
    int frame_count() const;
    const Bytes& pixels() const { return buffer_; }

    Picture read();              // qmio_read_frame
    Picture drain();             // qmio_video_pkt without a packet
    Picture decode_packet();     // qmio_video_frame
    Picture held();              // qmio_get_buf
    Picture read_at(int frame);  // qmio_seek_frame, then read()

    // Delivers everything from where the handle stands, decoding errors passed over, drain included; at most `bound`.
    std::vector<Picture> read_rest(std::size_t bound);

    // The same by packets: qmio_get_frame, qmio_video_frame, qmio_release_frame.
    std::vector<Picture> read_rest_by_packets(std::size_t bound);

  private:
    template <typename Call>
    Picture deliver(Call call);
    void drain_into(std::vector<Picture>& pictures, std::size_t bound);

    Media media_;
    int width_ = 0;
    int height_ = 0;
    Bytes buffer_;
};

// Empty when the pictures are the references, else where they first differ.
std::string difference(const std::vector<Picture>& pictures, const std::vector<Reference>& references);

// As many numbers as `count`, from `first` on.
std::vector<int> numbers_from(int first, int count);
std::vector<int> numbers(const std::vector<Picture>& pictures);

// A test's name may hold letters, digits and underscores only.
std::string test_name(const std::string& file);

}  // namespace qmio::test
