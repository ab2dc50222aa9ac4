#include "ffmpeg/protocol.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

namespace {

bool is_one_of(std::string_view name, std::initializer_list<std::string_view> names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// Empty for what only a demuxer knows by name, as rtsp.
std::string_view protocol_name(const std::string& url) {
    const char* const name = avio_find_protocol_name(url.c_str());
    return name != nullptr ? name : "";
}

// The class of which all protocols' are children.
const AVClass* io_class() {
    void* position = nullptr;
    const AVClass* child = nullptr;
    do
        child = av_opt_child_class_iterate(avformat_get_class(), &position);
    while (child != nullptr && std::string_view(child->class_name) != "AVIOContext");
    return child;
}

bool class_knows_option(const AVClass* options, const std::string& key, int search_flags) {
    return options != nullptr &&
           av_opt_find(&options, key.c_str(), nullptr, 0, AV_OPT_SEARCH_FAKE_OBJ | search_flags) != nullptr;
}

}  // namespace

bool is_network_url(const std::string& url) {
    const std::string_view protocol = protocol_name(url);
    if (is_one_of(protocol, {"file", "fd", "pipe", "data", "bluray", "md5", "unix"}))
        return false;
    return !is_one_of(protocol, {"async", "cache", "concat", "concatf", "crypto", "subfile"}) ||
           url.find("://") != url.npos;
}

bool protocol_knows_option(const std::string& url, const std::string& key) {
    if (is_network_url(url))
        return class_knows_option(io_class(), key, AV_OPT_SEARCH_CHILDREN);
    return class_knows_option(avio_protocol_get_class(protocol_name(url).data()), key, 0);
}

bool timeout_is_microseconds(const std::string& url) {
    const std::string_view protocol = protocol_name(url);
    // Seconds to wait for a caller, which makes them listen; milliseconds.
    return !protocol.starts_with("rtmp") && !is_one_of(protocol, {"sctp", "unix"});
}

}  // namespace qmio::ffmpeg
