#include "ffmpeg/stream_clock.h"

namespace qmio::ffmpeg {

void StreamClock::note(const AVPacket& packet) {
    if (packet.stream_index < 0 || packet.dts == AV_NOPTS_VALUE)
        return;
    const auto index = static_cast<std::size_t>(packet.stream_index);
    if (index >= streams_.size())
        streams_.resize(index + 1);
    Entry& entry = streams_[index];
    if (entry.first == AV_NOPTS_VALUE)
        entry.first = packet.dts;
    entry.last = packet.dts;
}

int64_t StreamClock::first_dts(const AVStream& stream) const {
    // The index query takes a stream that it could change, but only reads it.
    if (const AVIndexEntry* entry = avformat_index_get_entry(const_cast<AVStream*>(&stream), 0); entry != nullptr)
        return entry->timestamp;
    const auto index = static_cast<std::size_t>(stream.index);
    if (index < streams_.size() && streams_[index].first != AV_NOPTS_VALUE)
        return streams_[index].first;
    return stream.start_time;
}

int64_t StreamClock::last_dts(const AVStream& stream) const {
    const auto index = static_cast<std::size_t>(stream.index);
    return index < streams_.size() ? streams_[index].last : AV_NOPTS_VALUE;
}

}  // namespace qmio::ffmpeg
