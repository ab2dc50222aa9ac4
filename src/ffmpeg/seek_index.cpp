#include "ffmpeg/seek_index.h"

#include <string_view>

namespace qmio::ffmpeg {

IndexedKey indexed_key(const AVStream& stream, int64_t timestamp) {
    // The search takes a stream that it could change, but only reads it.
    const int entry = av_index_search_timestamp(const_cast<AVStream*>(&stream), timestamp, AVSEEK_FLAG_BACKWARD);
    const AVIndexEntry* const found = avformat_index_get_entry(const_cast<AVStream*>(&stream), entry);
    if (entry < 0 || found == nullptr)
        return {};
    return {true, entry == avformat_index_get_entries_count(&stream) - 1, found->timestamp};
}

// MXF: the times are those of the file's index tables from where the demuxer takes itself to be, and tables that lie are
// found in the wild.
bool times_depend_on_way(const AVFormatContext& container) {
    return std::string_view(container.iformat->name) == "mxf";
}

bool is_local_file(const AVFormatContext& container) {
    const char* const protocol = container.url != nullptr ? avio_find_protocol_name(container.url) : nullptr;
    return container.pb != nullptr && protocol != nullptr && std::string_view(protocol) == "file";
}

}  // namespace qmio::ffmpeg
