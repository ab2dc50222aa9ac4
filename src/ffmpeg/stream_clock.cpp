#include "ffmpeg/stream_clock.h"

namespace qmio::ffmpeg {

void StreamClock::note(const AVPacket& packet) {
    if (packet.stream_index < 0 || packet.dts == AV_NOPTS_VALUE)
        return;
    const auto index = static_cast<std::size_t>(packet.stream_index);
    if (index >= streams_.size())
        streams_.resize(index + 1);
    Entry& entry = streams_[index];
    if (entry.first == AV_NOPTS_VALUE && from_start_)
        entry.first = packet.dts;
    entry.last = packet.dts;
}

int64_t StreamClock::first_dts(const AVStream& stream) const {
    if (knows_first(stream.index))
        return streams_[static_cast<std::size_t>(stream.index)].first;
    // Some demuxers enter packets of any place as they search, so what was read is the better witness. The index query takes
    // a stream that it could change, but only reads it.
    const AVIndexEntry* const entry = avformat_index_get_entry(const_cast<AVStream*>(&stream), 0);
    return entry != nullptr ? entry->timestamp : stream.start_time;
}

bool StreamClock::knows_first(int stream) const {
    const auto index = static_cast<std::size_t>(stream);
    return stream >= 0 && index < streams_.size() && streams_[index].first != AV_NOPTS_VALUE;
}

int64_t StreamClock::last_dts(const AVStream& stream) const {
    const auto index = static_cast<std::size_t>(stream.index);
    return index < streams_.size() ? streams_[index].last : AV_NOPTS_VALUE;
}

}  // namespace qmio::ffmpeg
