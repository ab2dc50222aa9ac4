#include "qmlib/key_value.h"

namespace qmio::qmlib {

std::optional<std::string_view> find_key(std::string_view text, std::string_view separators, char assign,
                                         std::string_view key) {
    while (!text.empty()) {
        const std::string_view item = text.substr(0, text.find_first_of(separators));
        text.remove_prefix(item.size() < text.size() ? item.size() + 1 : item.size());
        const std::size_t split = item.find(assign);
        if (!item.empty() && item.substr(0, split) == key)
            return split == item.npos ? std::string_view() : item.substr(split + 1);
    }
    return std::nullopt;
}

}  // namespace qmio::qmlib
