// Bytes that a host reads itself, with faults as they are wanted.
#pragma once

#include <qmio.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "support/open_media.h"

namespace qmio::test {

struct HostBytes {
    Bytes bytes;
    int most_at_once = std::numeric_limits<int>::max();
    int again_every = 0;    // so many readings after each that tells "nothing yet"; 0: none does
    int failing_read = -1;  // the number of the reading that fails, with all behind it
    int failing_seek = -1;  // the same of seeking
    bool tells_size = true;
    int64_t position = 0;
    int reads = 0;
    int seeks = 0;

    static int read(void* opaque, void* buf, int size) {
        auto& host = *static_cast<HostBytes*>(opaque);
        const int number = host.reads++;
        if (host.failing_read >= 0 && number >= host.failing_read)
            return -5;
        if (host.again_every > 0 && number % (host.again_every + 1) == 0)
            return number % 2 == 0 ? QMIO_BYTES_AGAIN : QMIO_BYTES_INTERRUPTED;
        const int64_t left = static_cast<int64_t>(host.bytes.size()) - host.position;
        const auto count = std::min<int64_t>({left, size, host.most_at_once});
        if (count <= 0)
            return 0;
        std::memcpy(buf, host.bytes.data() + host.position, static_cast<std::size_t>(count));
        host.position += count;
        return static_cast<int>(count);
    }

    static int64_t seek(void* opaque, int64_t offset, int whence) {
        auto& host = *static_cast<HostBytes*>(opaque);
        const auto size = static_cast<int64_t>(host.bytes.size());
        if (whence == QMIO_BYTES_SIZE)
            return host.tells_size ? size : -1;
        if (host.failing_seek >= 0 && host.seeks++ >= host.failing_seek)
            return -1;
        return host.position = offset + (whence == 2 ? size : 0);
    }

    Media open(const std::string& options = "") { return Media(qmio_open_io(read, seek, this, options.c_str())); }
    Media open_without_seeking(const std::string& options = "") {
        return Media(qmio_open_io(read, nullptr, this, options.c_str()));
    }
};

}  // namespace qmio::test
