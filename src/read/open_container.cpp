// Which kind of source a name means, and how each kind is opened.
#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

#include "core/process/trace.h"
#include "core/process/why.h"
#include "core/text/memory_block.h"
#include "core/text/names.h"
#include "ffmpeg/protocol.h"
#include "qmlib/input_source.h"
#include "qmlib/key_value.h"
#include "read/open.h"

namespace qmio::read {

namespace {

constexpr StallWatch::Limit kNetworkTimeout = std::chrono::seconds(30);

void trace_failure(const wchar_t* kind, const std::string& name, uint32_t code_page) {
    if (tracing(TraceSwitch::open))
        trace(TraceSwitch::open, kOpenTag, L"%savformat_open_input [%s] fail\n", kind,
              wide_name(name.c_str(), code_page));
}

// A demuxer comes to this for what its contents name: playlists and references of every kind.
int refuse(AVFormatContext*, AVIOContext** io, const char* url, int, AVDictionary**) {
    *io = nullptr;
    trace(TraceSwitch::open, kOpenTag, L"refused [%S]\n", url != nullptr ? url : "");
    return AVERROR(EPERM);
}

// FFmpeg knows of no bounds for what bytes of ours name: a playlist among them would open files and the network.
void refuse_nested_opens(AVFormatContext& context, ffmpeg::Dictionary& options) {
    context.io_open = refuse;
    // Demuxers that open an input of their own do not ask the callback.
    options.set("protocol_whitelist", "none");
}

// FFmpeg marks I/O of ours by a flag, and closes what has no mark when a later option is refused. An option of the host's may
// replace all flags, so it is taken here, before the mark is set.
bool take_format_flags(Container& container, ffmpeg::Dictionary& options) {
    const char* const flags = options.get("fflags");
    const int result = flags != nullptr ? av_opt_set(container.format_ctx.get(), "fflags", flags, 0) : 0;
    options.set("fflags", nullptr);
    if (result < 0)
        tell_source_failure(container, result, "");
    return result >= 0;
}

// FFmpeg frees the context it was given when opening fails.
bool open_input(Container& container, const std::string& url, const AVInputFormat* format,
                ffmpeg::Dictionary& options) {
    AVFormatContext* context = container.format_ctx.release();
    const int result = avformat_open_input(&context, url.c_str(), format, options.address());
    container.format_ctx.reset(context);
    if (result < 0)
        tell_source_failure(container, result, "");
    return result >= 0;
}

bool open_memory(Container& container, const Request& request, ffmpeg::Dictionary& options) {
    int64_t size = 0;
    const char* const block = request.block;
    const std::string url = memory_block::header_text(block).substr(std::strlen("mem:"));
    if (!memory_block::parse_size(block, size))
        why::failed(AVERROR(EINVAL), "its header tells no size");
    else if (open_custom(container, qmlib::memory_source(memory_block::data(block), size), url,
                         av_find_input_format("image2pipe"), options))
        return true;
    trace_failure(L"mem: ", url, request.code_page);
    return false;
}

bool open_file(Container& container, const Request& request, ffmpeg::Dictionary& options) {
    const std::string path = request.name.substr(std::strlen("avio:"));
    int error = 0;
    std::unique_ptr<platform::ReadFile> file = platform::ReadFile::open(path, request.code_page, &error);
    if (file == nullptr)
        why::failed(AVERROR(error));
    else if (open_custom(container, qmlib::file_source(std::move(file)), url_of(path, request.code_page),
                         av_find_input_format("image2pipe"), options))
        return true;
    trace_failure(L"avio: ", path, request.code_page);
    return false;
}

// What waits for a protocol's own time limit is reading, too. Most protocols take an int, and none of them a limit of 0
// for none.
void set_protocol_timeout(const std::string& url, StallWatch::Limit limit, ffmpeg::Dictionary& options) {
    const int64_t longest = std::numeric_limits<int>::max();
    const bool is_wanted = options.get("timeout") != nullptr || has_prefix(url.c_str(), "ftp:");
    options.set("timeout", nullptr);
    if (is_wanted && limit.count() > 0 && ffmpeg::timeout_is_microseconds(url))
        options.set("timeout", std::to_string(std::min<int64_t>(limit.count(), longest)).c_str());
}

bool open_plain(Container& container, const Request& request, ffmpeg::Dictionary& options) {
    const std::string url = plain_url(request);
    if (has_prefix(url.c_str(), "ftp:"))
        options.set_default("protocol_whitelist", "ftp,tcp");
    if (ffmpeg::is_network_url(url)) {
        const StallWatch::Limit limit = time_limit(options);
        set_protocol_timeout(url, limit, options);
        container.stall_watch.begin(limit);
    }
    if (open_input(container, url, nullptr, options))
        return true;
    trace_failure(L"", request.name, request.code_page);
    return false;
}

bool asks_for_passive(const std::string& name) {
    const std::size_t query = name.rfind('?');
    return query != std::string::npos &&
           qmlib::find_key(std::string_view(name).substr(query + 1), "& \t\r\n", '=', "passive").has_value();
}

std::unique_ptr<qmlib::InputSource> open_url(Container& container, const std::string& url,
                                             const ffmpeg::Dictionary& options) {
    int error = 0;
    std::unique_ptr<qmlib::InputSource> source =
        qmlib::url_source(url, interrupt_callback(container), time_limit(options).count(), error);
    if (source == nullptr)
        tell_source_failure(container, error, "");
    return source;
}

bool open_ftp(Container& container, const Request& request, ffmpeg::Dictionary& options) {
    const bool passive = asks_for_passive(request.name);
    trace(TraceSwitch::open, kOpenTag, L"FTP passive %d\n", passive);
    if (!passive)
        return open_plain(container, request, options);
    const std::string url = url_of(request.name, request.code_page);
    std::unique_ptr<qmlib::InputSource> source = open_url(container, url, options);
    if (source != nullptr && open_custom(container, std::move(source), url, nullptr, options))
        return true;
    trace_failure(L"aftp: ", request.name, request.code_page);
    return false;
}

bool open_capture_device(Container& container, const Request& request, ffmpeg::Dictionary& options) {
    const std::string device = request.name.substr(std::strlen("dshow:"));
    const AVInputFormat* format = av_find_input_format("dshow");
    if (format == nullptr)
        why::failed(AVERROR_DEMUXER_NOT_FOUND, "FFmpeg has no DirectShow here");
    else if (open_input(container, capture_device(device, request.code_page), format, options))
        return true;
    trace_failure(L"dshow: ", device, request.code_page);
    return false;
}

bool open_by_kind(Container& container, const Request& request, ffmpeg::Dictionary& options) {
    const char* const name = request.name.c_str();
    if (request.bytes)
        return open_bytes(container, request, options);
    if (request.block != nullptr)
        return open_memory(container, request, options);
    if (has_prefix(name, "avio:"))
        return open_file(container, request, options);
    if (has_prefix(name, "ftp:"))
        return open_ftp(container, request, options);
    if (has_prefix(name, "dshow:"))
        return open_capture_device(container, request, options);
    return open_plain(container, request, options);
}

}  // namespace

bool open_custom(Container& container, std::unique_ptr<qmlib::InputSource> source, const std::string& url,
                 const AVInputFormat* format, ffmpeg::Dictionary& options) {
    if (source == nullptr)
        return false;
    container.input = std::move(source);
    container.custom_io = qmlib::make_custom_io(*container.input);
    if (container.custom_io == nullptr) {
        why::failed(AVERROR(ENOMEM));
        return false;
    }
    if (!take_format_flags(container, options))
        return false;
    container.format_ctx->flags |= AVFMT_FLAG_CUSTOM_IO;
    container.format_ctx->pb = container.custom_io.get();
    if (settings().nested_open == 0)
        refuse_nested_opens(*container.format_ctx, options);
    return open_input(container, url, format, options);
}

StallWatch::Limit time_limit(const ffmpeg::Dictionary& options) {
    const std::string_view text = options.get("timeout") != nullptr ? options.get("timeout") : "";
    int64_t limit = kNetworkTimeout.count();
    std::from_chars(text.data(), text.data() + text.size(), limit);
    return StallWatch::Limit(limit);
}

std::string capture_device(const std::string& name, uint32_t code_page) {
    return url_of(name.starts_with("//") ? name.substr(2) : name, code_page);
}

// FFmpeg knows its protocols by lower-case names only.
std::string plain_url(const Request& request) {
    std::string url = url_of(request.name, request.code_page);
    if (has_prefix(url.c_str(), "ftp:"))
        url.replace(0, std::strlen("ftp:"), "ftp:");
    return url;
}

bool open_container(Container& container, const Request& request, ffmpeg::Dictionary& options) {
    if (!open_by_kind(container, request, options))
        return false;
    trace(TraceSwitch::open, kOpenTag, L"avformat_open_input: format ctx %p\n",
          static_cast<const void*>(container.format_ctx.get()));
    container.format_ctx->flags |= AVFMT_FLAG_NONBLOCK;
    return true;
}

}  // namespace qmio::read
