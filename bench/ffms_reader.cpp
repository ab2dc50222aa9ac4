#include <ffms.h>

extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

#include <stdexcept>
#include <vector>

#include "reader.h"

namespace bench {

namespace {

constexpr int kAllCores = -1;

struct Error {
    Error() : info{FFMS_ERROR_SUCCESS, FFMS_ERROR_SUCCESS, sizeof text, text} {}

    char text[256] = {};
    FFMS_ErrorInfo info;
};

class FfmsReader : public Reader {
  public:
    explicit FfmsReader(const std::string& path) {
        FFMS_Init(0, 0);
        Error error;
        const std::unique_ptr<FFMS_Index, Deleter> index(make_index(path, error));
        const int track = index ? FFMS_GetFirstTrackOfType(index.get(), FFMS_TYPE_VIDEO, &error.info) : -1;
        if (track >= 0)
            video_.reset(
                FFMS_CreateVideoSource(path.c_str(), track, index.get(), kAllCores, FFMS_SEEK_NORMAL, &error.info));
        if (video_ == nullptr)
            throw std::runtime_error("FFMS2 cannot open " + path + ": " + error.text);
        const FFMS_Frame* const first = FFMS_GetFrame(video_.get(), 0, &error.info);
        const int formats[] = {AV_PIX_FMT_BGRA, -1};
        if (first == nullptr || FFMS_SetOutputFormatV2(video_.get(), formats, first->EncodedWidth, first->EncodedHeight,
                                                       FFMS_RESIZER_FAST_BILINEAR, &error.info))
            throw std::runtime_error("FFMS2 cannot convert " + path + ": " + error.text);
    }

    bool next() override { return seek_and_read(next_); }

    // Pictures come in a buffer of the source's own, as its hosts get them.
    bool seek_and_read(int number) override {
        Error error;
        frame_ = FFMS_GetFrame(video_.get(), number, &error.info);
        next_ = number + 1;
        return frame_ != nullptr;
    }

    PictureView picture() const override {
        const auto row = static_cast<std::size_t>(frame_->ScaledWidth) * 4;
        packed_.clear();
        for (int y = 0; y < frame_->ScaledHeight; ++y) {
            const uint8_t* const line = frame_->Data[0] + static_cast<std::ptrdiff_t>(y) * frame_->Linesize[0];
            packed_.insert(packed_.end(), line, line + row);
        }
        return {packed_.data(), 4, frame_->ScaledWidth, frame_->ScaledHeight};
    }

  private:
    struct Deleter {
        void operator()(FFMS_Index* index) const { FFMS_DestroyIndex(index); }
        void operator()(FFMS_VideoSource* source) const { FFMS_DestroyVideoSource(source); }
    };

    static FFMS_Index* make_index(const std::string& path, Error& error) {
        FFMS_Indexer* const indexer = FFMS_CreateIndexer(path.c_str(), &error.info);
        return indexer != nullptr ? FFMS_DoIndexing2(indexer, FFMS_IEH_ABORT, &error.info) : nullptr;
    }

    std::unique_ptr<FFMS_VideoSource, Deleter> video_;
    const FFMS_Frame* frame_ = nullptr;
    mutable std::vector<uint8_t> packed_;
    int next_ = 0;
};

}  // namespace

std::unique_ptr<Reader> open_ffms_reader(const std::string& path) {
    return std::make_unique<FfmsReader>(path);
}

}  // namespace bench
