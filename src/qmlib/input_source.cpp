#include "qmlib/input_source.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "qmlib/io_buffer.h"
#include "qmlib/url.h"

namespace qmio::qmlib {

namespace {

class MemorySource final : public InputSource {
  public:
    MemorySource(const uint8_t* data, int64_t size) : data_(data), size_(size) {}

    int read(uint8_t* buffer, int size) override {
        // A position outside the block, which seeking may set, has nothing to read.
        const int64_t left = position_ >= 0 ? size_ - position_ : 0;
        const int64_t count = std::min<int64_t>(size, left);
        if (count < 1)
            return 0;
        std::memcpy(buffer, data_ + position_, static_cast<std::size_t>(count));
        position_ += count;
        return static_cast<int>(count);
    }

    int64_t seek(int64_t offset, int whence) override {
        int64_t base = 0;
        switch (whence) {
            case SEEK_SET:
                break;
            case SEEK_CUR:
                base = position_;
                break;
            case SEEK_END:
                base = size_;
                break;
            case AVSEEK_SIZE:
                return size_;
            default:
                return -1;
        }
        int64_t position = 0;
        if (__builtin_add_overflow(base, offset, &position))
            return -1;
        position_ = position;
        return position_;
    }

    bool is_steady() const override { return true; }

  private:
    const uint8_t* data_;
    int64_t size_;
    int64_t position_ = 0;
};

class FileSource final : public InputSource {
  public:
    explicit FileSource(std::unique_ptr<platform::ReadFile> file) : file_(std::move(file)) {}

    int read(uint8_t* buffer, int size) override { return file_->read(buffer, size); }
    int64_t seek(int64_t offset, int whence) override {
        if (whence == AVSEEK_SIZE)
            return file_->size();
        if (whence < SEEK_SET || whence > SEEK_END)
            return -1;
        return file_->seek(offset, whence);
    }

  private:
    std::unique_ptr<platform::ReadFile> file_;
};

class UrlSource final : public InputSource {
  public:
    explicit UrlSource(Url* url) : url_(url) {}
    ~UrlSource() override { qmurl_close_a(url_); }
    UrlSource(const UrlSource&) = delete;
    UrlSource& operator=(const UrlSource&) = delete;

    int read(uint8_t* buffer, int size) override { return qmurl_read_a(url_, buffer, size); }
    int64_t seek(int64_t, int) override { return -1; }
    bool can_seek() const override { return false; }

  private:
    Url* url_;
};

int read_callback(void* source, uint8_t* buffer, int size) {
    if (source == nullptr)
        return -1;
    try {
        const int count = static_cast<InputSource*>(source)->read(buffer, size);
        // FFmpeg's demuxers loop for ever on a read of 0 bytes.
        return count == 0 ? AVERROR_EOF : count;
    } catch (...) {
        return AVERROR(EIO);
    }
}

int64_t seek_callback(void* source, int64_t offset, int whence) {
    if (source == nullptr)
        return -1;
    try {
        return static_cast<InputSource*>(source)->seek(offset, whence & ~AVSEEK_FORCE);
    } catch (...) {
        return -1;
    }
}

}  // namespace

std::unique_ptr<InputSource> memory_source(const uint8_t* data, int64_t size) {
    return std::make_unique<MemorySource>(data, size);
}

std::unique_ptr<InputSource> file_source(std::unique_ptr<platform::ReadFile> file) {
    return file != nullptr ? std::make_unique<FileSource>(std::move(file)) : nullptr;
}

std::unique_ptr<InputSource> url_source(const std::string& name, AVIOInterruptCB interrupt, int64_t timeout,
                                        int& error) {
    error = AVERROR(EINVAL);
    const UrlSettings settings{interrupt, timeout, &error};
    Url* url = qmurl_open_a(0, name.c_str(), "rb", settings);
    return url != nullptr ? std::make_unique<UrlSource>(url) : nullptr;
}

ffmpeg::CustomIoPtr make_custom_io(InputSource& source) {
    ffmpeg::BlockPtr buffer = make_io_buffer();
    if (buffer == nullptr)
        return nullptr;
    ffmpeg::CustomIoPtr io(avio_alloc_context(buffer.get(), kIoBufferSize, 0, &source, read_callback, nullptr,
                                              source.can_seek() ? seek_callback : nullptr));
    if (io != nullptr)
        static_cast<void>(buffer.release());
    return io;
}

}  // namespace qmio::qmlib
