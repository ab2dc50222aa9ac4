// Lists of key=value items.
#pragma once

#include <optional>
#include <string_view>

namespace qmio::qmlib {

// The value of the first item of `text` whose key is exactly `key`. Items are separated by any of the characters in
// `separators`, key and value by the first `assign` of the item. An item that is a bare key has an empty value.
// nullopt when no item has the key. The result points into `text`.
std::optional<std::string_view> find_key(std::string_view text, std::string_view separators, char assign,
                                         std::string_view key);

}  // namespace qmio::qmlib
