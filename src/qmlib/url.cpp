#include "qmlib/url.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "ffmpeg/owners.h"
#include "qmlib/key_value.h"

namespace qmio::qmlib {

struct Url {
    AVIOContext* context = nullptr;

    Url() = default;
    Url(const Url&) = delete;
    Url& operator=(const Url&) = delete;
    ~Url() { avio_closep(&context); }
};

namespace {

constexpr std::string_view kPrefix = "ftp:";

char lowercase(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool has_prefix(std::string_view name) {
    return name.size() >= kPrefix.size() &&
           std::equal(kPrefix.begin(), kPrefix.end(), name.begin(),
                      [](char expected, char letter) { return expected == lowercase(letter); });
}

struct SplitName {
    std::string address;     // what the server is asked for
    std::string_view query;  // what stands behind the last '?'
};

// FFmpeg knows its protocols by lower-case names and takes a query for a piece of the path.
SplitName split_name(std::string_view name) {
    const size_t mark = name.rfind('?');
    SplitName split{std::string(name.substr(0, mark)), {}};
    split.address.replace(0, kPrefix.size(), kPrefix);
    if (mark != name.npos)
        split.query = name.substr(mark + 1);
    return split;
}

// Without a host FFmpeg would connect to this machine.
bool has_host(const std::string& address) {
    char host[2] = {};
    av_url_split(nullptr, 0, nullptr, 0, host, sizeof host, nullptr, nullptr, 0, address.c_str());
    return host[0] != '\0';
}

std::optional<int64_t> query_number(std::string_view query, std::string_view key) {
    const auto text = find_key(query, "& \t\r\n", '=', key);
    int64_t number = 0;
    if (!text || std::from_chars(text->data(), text->data() + text->size(), number).ec != std::errc())
        return std::nullopt;
    return number;
}

// FFmpeg's option is an int of microseconds; -1 waits for ever.
int64_t time_limit(std::string_view query, const UrlSettings& settings) {
    const int64_t limit =
        query_number(query, "timeout").value_or(query_number(query, "rw_timeout").value_or(settings.timeout));
    return limit > 0 ? std::min<int64_t>(limit, std::numeric_limits<int>::max()) : -1;
}

}  // namespace

Url* qmurl_open_a(int /*reserved*/, const char* name, const char* mode, const UrlSettings& settings) {
    if (name == nullptr || mode == nullptr || *mode != 'r' || !has_prefix(name))
        return nullptr;
    const SplitName split = split_name(name);
    if (!has_host(split.address))
        return nullptr;
    ffmpeg::Dictionary options;
    options.set("timeout", std::to_string(time_limit(split.query, settings)).c_str());
    auto url = std::make_unique<Url>();
    const int result =
        avio_open2(&url->context, split.address.c_str(), AVIO_FLAG_READ, &settings.interrupt, options.address());
    if (result < 0 && settings.error != nullptr)
        *settings.error = result;
    return result < 0 ? nullptr : url.release();
}

int qmurl_read_a(Url* url, void* buffer, int size) {
    if (url == nullptr || buffer == nullptr)
        return AVERROR(EINVAL);
    const int count = avio_read_partial(url->context, static_cast<unsigned char*>(buffer), size);
    return count == AVERROR_EOF ? 0 : count;
}

int64_t qmurl_seek_a(Url* url, int64_t offset, int whence) {
    if (url == nullptr || (whence != SEEK_SET && whence != SEEK_CUR && whence != SEEK_END))
        return AVERROR(EINVAL);
    if (whence != SEEK_END)
        return avio_seek(url->context, offset, whence);
    const int64_t size = avio_size(url->context);
    return size < 0 ? size : avio_seek(url->context, av_sat_add64(size, offset), SEEK_SET);
}

int qmurl_close_a(Url* url) {
    delete url;
    return 0;
}

}  // namespace qmio::qmlib
