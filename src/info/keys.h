// Values by key. Keys are compared without regard to case.
#pragma once

#include <cstdint>
#include <iterator>
#include <string_view>
#include <vector>

#include "core/handle/media_handle.h"

namespace qmio::info {

inline constexpr int64_t kUnknownKey = -1;

// The entry of a table of records with a `name`; null when there is none, and for a null key.
template <class Entry, std::size_t count>
const Entry* find_key(const Entry (&table)[count], const char* key) {
    for (const Entry& entry : table)
        if (key != nullptr && av_strcasecmp(entry.name, key) == 0)
            return &entry;
    return nullptr;
}

// The names in such a table, in its order.
template <class Entry, std::size_t count>
std::vector<std::string_view> names_in(const Entry (&table)[count]) {
    std::vector<std::string_view> names;
    for (const Entry& entry : table)
        names.emplace_back(entry.name);
    return names;
}

// All keys, for whoever keeps a list of them to hold it against.
std::vector<std::string_view> text_keys();       // of qmio_get_file_info, but for those that need no handle
std::vector<std::string_view> file_keys();       // of qmio_get_file_param
std::vector<std::string_view> track_keys();      // of qmio_get_stream_param, about one track
std::vector<std::string_view> stream_keys();     // about the streams, but for those that file_keys() has
std::vector<std::string_view> time_keys();       // of qmio_get_time_param
std::vector<std::string_view> part_keys();       // of qmio_get_file_param and qmio_get_stream_param, about any part
std::vector<std::string_view> part_text_keys();  // of qmio_get_text, but for tags

// A key about the whole file.
struct FileKey {
    const char* name;
    bool of_streams;  // answered as a key of the streams, too
    int64_t (*value)(const MediaHandle& handle);
};

// Null for a key that there is not.
const FileKey* find_file_key(const char* key);

inline int64_t address(const void* object) {
    return static_cast<int64_t>(reinterpret_cast<intptr_t>(object));
}

// The picture decoded last; null when there is none.
const AVFrame* decoded_picture(const MediaHandle& handle);

}  // namespace qmio::info
