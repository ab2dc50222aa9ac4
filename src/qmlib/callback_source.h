// Bytes of a source that a host reads itself.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "qmlib/input_source.h"

namespace qmio::qmlib {

// What the host gave. `read` gives the bytes that it copied, 0 at the end, or a negative number; `seek` the new position
// or the size (whence AVSEEK_SIZE), or a negative number, and is null where the source cannot be positioned.
struct HostCalls {
    int (*read)(void* opaque, void* buffer, int size);
    int64_t (*seek)(void* opaque, int64_t offset, int whence);
    void* opaque;
};

// Answers of `read` for which it is asked again: the numbers of EINTR and EAGAIN on both systems.
inline constexpr int kReadInterrupted = -4;
inline constexpr int kReadAgain = -11;

// One position of the host's for all that read through it, each of which has its own.
class HostBytes {
  public:
    explicit HostBytes(const HostCalls& calls) : calls_(calls) {}

    bool can_seek() const { return calls_.seek != nullptr; }

    // True for the first who asks; where the host can seek, for all.
    bool claim() { return !std::exchange(claimed_, true) || can_seek(); }

    // Up to `size` bytes from `position` on; 0 at the end, or a negative FFmpeg error. While `interrupt` says so nothing
    // is asked of the host.
    int read_at(int64_t position, uint8_t* buffer, int size, const AVIOInterruptCB& interrupt);

    // The new position, or -1; for AVSEEK_SIZE the size, which leaves the position as it is.
    int64_t seek(int64_t offset, int whence);

  private:
    int read_patiently(uint8_t* buffer, int size, const AVIOInterruptCB& interrupt) const;
    int64_t move(int64_t offset, int whence);

    std::mutex lock_;  // sound by position may be read while another thread reads ahead
    HostCalls calls_;
    bool claimed_ = false;
    std::optional<int64_t> position_ = 0;  // nothing after a failure: the next reading positions anew
};

// A reader of the host's bytes from the start; where the host cannot seek there must be no other.
std::unique_ptr<InputSource> callback_source(std::shared_ptr<HostBytes> bytes, AVIOInterruptCB interrupt);

}  // namespace qmio::qmlib
