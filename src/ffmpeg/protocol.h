// What FFmpeg's protocols are, by the names of what they open.
#pragma once

#include <string>

namespace qmio::ffmpeg {

// True for what comes over a network, also in another protocol's hands ("cache:http://...").
bool is_network_url(const std::string& url);

// True when `key` is an option of the protocol that opens the url; for a network of any protocol, since most stand on
// others.
bool protocol_knows_option(const std::string& url, const std::string& key);

// True where the protocol's "timeout" is what it is for most: how long it may stand still, in microseconds.
bool timeout_is_microseconds(const std::string& url);

}  // namespace qmio::ffmpeg
