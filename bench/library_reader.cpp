#include <vector>

#include "media.h"
#include "reader.h"

namespace bench {

namespace {

class LibraryReader : public Reader {
  public:
    explicit LibraryReader(const std::string& path, const char* options = "")
        : media_(open_media(path, options)),
          width_(static_cast<int>(qmio_get_file_param(media_.get(), "width"))),
          height_(static_cast<int>(qmio_get_file_param(media_.get(), "height"))),
          bgra_(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_) * 4) {}

    bool next() override {
        while (!draining_) {
            const int result = qmio_read_frame(media_.get(), bgra_.data());
            if (result > QMIO_PICTURE_HELD)
                return true;
            draining_ = result == QMIO_NO_PICTURE;
        }
        return qmio_video_pkt(media_.get(), bgra_.data(), nullptr) > QMIO_PICTURE_HELD;
    }

    bool seek_and_read(int number) override {
        return qmio_seek_frame(media_.get(), number) == number && qmio_read_frame(media_.get(), bgra_.data()) > 0;
    }

    PictureView picture() const override { return {bgra_.data(), 4, width_, height_}; }

    void read_in_background() { qmio_fifo_ts(media_.get(), 0, -1, 0, -1, 1); }

  private:
    Media media_;
    int width_;
    int height_;
    std::vector<uint8_t> bgra_;
    bool draining_ = false;
};

}  // namespace

std::unique_ptr<Reader> open_library_reader(const std::string& path) {
    return std::make_unique<LibraryReader>(path);
}

std::unique_ptr<Reader> open_library_reader_on_one_thread(const std::string& path) {
    return std::make_unique<LibraryReader>(path, "threads=1");
}

std::unique_ptr<Reader> open_queued_reader(const std::string& path) {
    auto reader = std::make_unique<LibraryReader>(path);
    reader->read_in_background();
    return reader;
}

}  // namespace bench
