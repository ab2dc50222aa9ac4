#include "qmlib/callback_source.h"

#include <chrono>
#include <cstdio>
#include <thread>
#include <utility>

namespace qmio::qmlib {

namespace {

// For how long a host may answer that there is nothing yet.
constexpr std::chrono::seconds kPatience(30);
constexpr std::chrono::milliseconds kPause(1);

bool is_interrupted(const AVIOInterruptCB& interrupt) {
    return interrupt.callback != nullptr && interrupt.callback(interrupt.opaque) != 0;
}

class CallbackSource final : public InputSource {
  public:
    CallbackSource(std::shared_ptr<HostBytes> bytes, AVIOInterruptCB interrupt)
        : bytes_(std::move(bytes)), interrupt_(interrupt) {}

    int read(uint8_t* buffer, int size) override {
        const int count = bytes_->read_at(position_, buffer, size, interrupt_);
        position_ += count > 0 ? count : 0;
        return count;
    }

    int64_t seek(int64_t offset, int whence) override {
        if (whence == SEEK_CUR && __builtin_add_overflow(position_, offset, &offset))
            return -1;
        const int64_t result = bytes_->seek(offset, whence == SEEK_CUR ? SEEK_SET : whence);
        if (result >= 0 && whence != AVSEEK_SIZE)
            position_ = result;
        return result;
    }

    bool can_seek() const override { return bytes_->can_seek(); }

  private:
    std::shared_ptr<HostBytes> bytes_;
    AVIOInterruptCB interrupt_;
    int64_t position_ = 0;
};

}  // namespace

int HostBytes::read_at(int64_t position, uint8_t* buffer, int size, const AVIOInterruptCB& interrupt) {
    const std::lock_guard lock(lock_);
    if (position_ != position && move(position, SEEK_SET) != position)
        return AVERROR(EIO);
    const int count = read_patiently(buffer, size, interrupt);
    // More than there was room for is no number of bytes.
    if (count < 0 || count > size) {
        position_.reset();
        return count == AVERROR_EXIT ? count : AVERROR(EIO);
    }
    position_ = position + count;
    return count;
}

int64_t HostBytes::seek(int64_t offset, int whence) {
    const std::lock_guard lock(lock_);
    if (whence == AVSEEK_SIZE)
        return can_seek() ? calls_.seek(calls_.opaque, 0, AVSEEK_SIZE) : -1;
    return move(offset, whence);
}

int HostBytes::read_patiently(uint8_t* buffer, int size, const AVIOInterruptCB& interrupt) const {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    for (;;) {
        if (is_interrupted(interrupt))
            return AVERROR_EXIT;
        const int count = calls_.read(calls_.opaque, buffer, size);
        if ((count != kReadInterrupted && count != kReadAgain) || std::chrono::steady_clock::now() > end)
            return count;
        std::this_thread::sleep_for(kPause);
    }
}

int64_t HostBytes::move(int64_t offset, int whence) {
    position_.reset();
    if (!can_seek() || (whence == SEEK_SET && offset < 0) || (whence != SEEK_SET && whence != SEEK_END))
        return -1;
    const int64_t result = calls_.seek(calls_.opaque, offset, whence);
    if (result < 0)
        return -1;
    position_ = result;
    return result;
}

std::unique_ptr<InputSource> callback_source(std::shared_ptr<HostBytes> bytes, AVIOInterruptCB interrupt) {
    return std::make_unique<CallbackSource>(std::move(bytes), interrupt);
}

}  // namespace qmio::qmlib
