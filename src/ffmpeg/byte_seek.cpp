#include "ffmpeg/byte_seek.h"

#include <algorithm>
#include <string_view>

namespace qmio::ffmpeg {

namespace {

struct Demuxer {
    std::string_view name;
    AfterByteSeek knowledge;
};

// Found by seeking in files of every muxer while they grew. AVI has no times at all, so its demuxer counts packets; NUT
// writes the low bits of a time, whose high bits come from the packet before or a synchronisation point; ASF's goes on
// with what it had read of a packet elsewhere.
constexpr Demuxer kDemuxers[] = {
    {"asf", AfterByteSeek::loses_time},
    {"avi", AfterByteSeek::counts_on},
    {"nut", AfterByteSeek::loses_time},
};

constexpr int kEarlyPackets = 64;

// The index query takes a stream that it could change, but only reads it.
const AVIndexEntry* index_entry(const AVStream& stream, int number) {
    return avformat_index_get_entry(const_cast<AVStream*>(&stream), number);
}

const AVIndexEntry* last_entry_before(const AVStream& stream, int64_t position) {
    for (int number = avformat_index_get_entries_count(&stream) - 1; number >= 0; --number) {
        const AVIndexEntry* const entry = index_entry(stream, number);
        if (entry != nullptr && entry->pos <= position)
            return entry;
    }
    return nullptr;
}

}  // namespace

AfterByteSeek after_byte_seek(const AVFormatContext& container) {
    if ((container.iformat->flags & AVFMT_NO_BYTE_SEEK) != 0)
        return AfterByteSeek::refuses;
    const auto* const known = std::find_if(std::begin(kDemuxers), std::end(kDemuxers), [&](const Demuxer& demuxer) {
        return demuxer.name == container.iformat->name;
    });
    return known != std::end(kDemuxers) ? known->knowledge : AfterByteSeek::knows_time;
}

// A seek by time does. It goes to the last packet known before the position: those before the packet that it goes to are
// passed over, and packets behind the last one known are entered into the demuxer's index as the next that it counts.
void prepare_byte_seek(AVFormatContext& container, const AVStream& stream, int64_t position) {
    if (after_byte_seek(container) != AfterByteSeek::counts_on)
        return;
    if (const AVIndexEntry* const entry = last_entry_before(stream, position); entry != nullptr)
        av_seek_frame(&container, stream.index, entry->timestamp, AVSEEK_FLAG_ANY);
}

bool lands_inside_frames(const AVFormatContext& container) {
    return std::string_view(container.iformat->name) == "mpeg";
}

bool seeks_by_pts(const AVFormatContext& container) {
    return (container.iformat->flags & AVFMT_SEEK_TO_PTS) != 0 ||
           std::string_view(container.iformat->name) == "matroska,webm";
}

std::optional<int64_t> first_timestamp(const AVStream& stream) {
    const AVIndexEntry* const entry = index_entry(stream, 0);
    return entry != nullptr ? std::optional(entry->timestamp) : std::nullopt;
}

std::optional<int64_t> early_timestamp_at(const AVStream& stream, int64_t position) {
    for (int number = 0; number < kEarlyPackets; ++number) {
        const AVIndexEntry* const entry = index_entry(stream, number);
        if (entry == nullptr)
            return std::nullopt;
        if (entry->pos == position)
            return entry->timestamp;
    }
    return std::nullopt;
}

}  // namespace qmio::ffmpeg
