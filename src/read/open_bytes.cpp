// Containers in bytes that the host has: a block of its memory, or whatever its own calls read.
#include <limits>

#include "core/handle/entry.h"
#include "core/process/trace.h"
#include "core/text/names.h"
#include "core/text/option_passes.h"
#include "qmio.h"
#include "qmlib/callback_source.h"
#include "read/open.h"

using namespace qmio;

namespace {

bool is_block(const void* data, int64_t size) {
    // No block reaches beyond the end of the address space.
    return data != nullptr && size >= 0 &&
           size <= std::numeric_limits<intptr_t>::max() - reinterpret_cast<intptr_t>(data);
}

SourceMaker maker_of_block(const void* data, int64_t size) {
    return [data, size](AVIOInterruptCB) { return qmlib::memory_source(static_cast<const uint8_t*>(data), size); };
}

// What cannot be positioned is read once.
SourceMaker maker_of_calls(const qmlib::HostCalls& calls) {
    return [bytes = std::make_shared<qmlib::HostBytes>(calls)](AVIOInterruptCB interrupt) {
        return bytes->claim() ? qmlib::callback_source(bytes, interrupt) : nullptr;
    };
}

}  // namespace

MediaHandle* qmio_open_mem(const void* data, int64_t size, const char* options) {
    return guarded<MediaHandle*>(nullptr, [=]() -> MediaHandle* {
        if (!is_block(data, size))
            return nullptr;
        return read::open(request_of_bytes("memory", maker_of_block(data, size), options));
    });
}

MediaHandle* qmio_open_io(qmio_read_bytes* read, qmio_seek_bytes* seek, void* opaque, const char* options) {
    return guarded<MediaHandle*>(nullptr, [=]() -> MediaHandle* {
        if (read == nullptr)
            return nullptr;
        return read::open(request_of_bytes("io", maker_of_calls({read, seek, opaque}), options));
    });
}

namespace qmio::read {

namespace {

// A demuxer that opens its source itself would pass the host's bytes by.
const AVInputFormat* named_format(const std::string& name) {
    const AVInputFormat* const format = av_find_input_format(name.c_str());
    return format != nullptr && (format->flags & AVFMT_NOFILE) == 0 ? format : nullptr;
}

}  // namespace

bool open_bytes(Container& container, const Request& request, ffmpeg::Dictionary& options) {
    const std::string* const name = request.options.find("fmt");
    const AVInputFormat* const format = name != nullptr ? named_format(*name) : nullptr;
    if (name != nullptr && format == nullptr)
        return false;
    if (format != nullptr)
        add_demuxer_options(*format, options, request.options);
    if (open_custom(container, request.bytes(interrupt_callback(container)), request.name, format, options))
        return true;
    trace(TraceSwitch::open, kOpenTag, L"%S: avformat_open_input fail\n", request.name.c_str());
    return false;
}

}  // namespace qmio::read
