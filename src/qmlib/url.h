// URL I/O: byte streams over FFmpeg's protocol layer, for FTP in passive mode.
#pragma once

#include <cstdint>

#include "ffmpeg/ffmpeg.h"

namespace qmio::qmlib {

struct Url;  // an open stream; one thread at a time

struct UrlSettings {
    // Asked while the network keeps a call waiting, from the thread of that call; a result other than 0 makes the call
    // fail. Its opaque pointer has to live until the stream is closed.
    AVIOInterruptCB interrupt{nullptr, nullptr};
    // Microseconds that a connection or a transfer may stand still; 0 and below: for ever. "timeout" or "rw_timeout" in
    // the query of the URL comes first.
    int64_t timeout = 30'000'000;
    // Receives the FFmpeg error of a stream that cannot be opened; may be null.
    int* error = nullptr;
};

// Opens "ftp://[user[:password]@]host[:port]/path[?query]" for reading; the prefix in any case. The query is for the
// stream, not for the server. `reserved` is 0, `mode` begins with 'r'. Null when the stream cannot be opened; a file
// that is not there shows at the first read, when the server is asked for it. Nothing is ever traced here, since the
// name may hold a password.
Url* qmurl_open_a(int reserved, const char* name, const char* mode, const UrlSettings& settings = {});

// Waits for at least one byte and copies what is there, at most `size` bytes. The number of bytes; 0 at the end; a
// negative FFmpeg error, also for null or a negative size.
int qmurl_read_a(Url* url, void* buffer, int size);

// Whence 0 from the start, 1 from the current position, 2 from the end. The new position, or a negative FFmpeg error.
int64_t qmurl_seek_a(Url* url, int64_t offset, int whence);

// Closes the stream; null does nothing. Always 0.
int qmurl_close_a(Url* url);

}  // namespace qmio::qmlib
