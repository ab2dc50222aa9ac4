#include <opencv2/videoio.hpp>
#include <stdexcept>

#include "reader.h"

namespace bench {

namespace {

class OpenCvReader : public Reader {
  public:
    explicit OpenCvReader(const std::string& path) : video_(path, cv::CAP_FFMPEG) {
        if (!video_.isOpened())
            throw std::runtime_error("OpenCV cannot open " + path);
    }

    bool next() override { return video_.read(bgr_); }

    bool seek_and_read(int number) override { return video_.set(cv::CAP_PROP_POS_FRAMES, number) && video_.read(bgr_); }

    PictureView picture() const override { return {bgr_.data, 3, bgr_.cols, bgr_.rows}; }

  private:
    cv::VideoCapture video_;
    cv::Mat bgr_;
};

}  // namespace

std::unique_ptr<Reader> open_opencv_reader(const std::string& path) {
    return std::make_unique<OpenCvReader>(path);
}

}  // namespace bench
