// Bytes of a source that FFmpeg does not open itself: a memory block, a file of the platform, a URL.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ffmpeg/owners.h"
#include "platform/file.h"

namespace qmio::qmlib {

class InputSource {
  public:
    virtual ~InputSource() = default;
    // Copies up to `size` bytes; 0 at the end.
    virtual int read(uint8_t* buffer, int size) = 0;
    // whence 0 start, 1 current, 2 end, AVSEEK_SIZE the size; the new position or -1.
    virtual int64_t seek(int64_t offset, int whence) = 0;
    virtual bool can_seek() const { return true; }
    // True where the bytes stay as they are and can be had again at any time.
    virtual bool is_steady() const { return false; }
};

// The block stays the caller's and must live as long as the source.
std::unique_ptr<InputSource> memory_source(const uint8_t* data, int64_t size);
std::unique_ptr<InputSource> file_source(std::unique_ptr<platform::ReadFile> file);

// An FTP address read in passive mode, front to back. `interrupt` makes a blocked read return, and so does a server
// that stands still for `timeout` microseconds. Null when it cannot be opened, with an FFmpeg error in `error`.
std::unique_ptr<InputSource> url_source(const std::string& name, AVIOInterruptCB interrupt, int64_t timeout,
                                        int& error);

// An I/O context that reads `source`, which must outlive it; null when memory is short.
ffmpeg::CustomIoPtr make_custom_io(InputSource& source);

}  // namespace qmio::qmlib
