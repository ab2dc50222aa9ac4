// Reading pictures of a file in order and by number, the same for everybody who is compared.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace bench {

// Rows from the top, without gaps; a pixel is blue, green, red and, with four bytes, alpha.
struct PictureView {
    const uint8_t* data;
    int pixel_bytes;
    int width;
    int height;
};

class Reader {
  public:
    virtual ~Reader() = default;

    // Makes the next picture the current one. False at the end.
    virtual bool next() = 0;

    // Makes the picture of frame `number` the current one. False when the reader gives none.
    virtual bool seek_and_read(int number) = 0;

    // The current picture, until the next call.
    virtual PictureView picture() const = 0;
};

using OpenReader = std::unique_ptr<Reader> (*)(const std::string& path);

// All of them throw std::runtime_error when the file cannot be opened.
std::unique_ptr<Reader> open_library_reader(const std::string& path);
std::unique_ptr<Reader> open_library_reader_on_one_thread(const std::string& path);
std::unique_ptr<Reader> open_queued_reader(const std::string& path);  // the library's, through its background queue
std::unique_ptr<Reader> open_plain_reader(const std::string& path);
std::unique_ptr<Reader> open_plain_reader_on_one_thread(const std::string& path);
std::unique_ptr<Reader> open_ffms_reader(const std::string& path);
std::unique_ptr<Reader> open_opencv_reader(const std::string& path);

}  // namespace bench
