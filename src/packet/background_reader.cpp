#include "packet/background_reader.h"

#include <algorithm>
#include <new>
#include <utility>

#include "core/handle/frame_numbers.h"
#include "core/process/settings.h"
#include "core/process/trace.h"
#include "packet/seek_by_time.h"
#include "platform/loaded_library.h"

namespace qmio::packet {

namespace {

constexpr int64_t kFrameWithoutVideo = 40000;  // microseconds

int64_t frame_duration(const Video& video) {
    const AVRational rate = video.frame_rate;
    return video.stream != nullptr && rate.num > 0 ? int64_t{rate.den} * AV_TIME_BASE / rate.num : kFrameWithoutVideo;
}

int32_t lines_of(TraceSwitch category) {
    return settings().trace[static_cast<std::size_t>(category)];
}

Entries new_entry() {
    Entries one(1);
    return one;
}

ffmpeg::PacketPtr new_packet() {
    ffmpeg::PacketPtr packet(av_packet_alloc());
    if (packet == nullptr)
        throw std::bad_alloc();
    return packet;
}

}  // namespace

Range clamped(Range range) {
    range.out = range.out < 0 ? kNever : range.out;
    range.in = std::max<int64_t>(range.in, 0);
    range.loop_in = std::max(range.loop_in, range.in);
    if (range.loop_out < range.loop_in || range.loop_out > range.out)
        range.loop_out = range.out;
    return range;
}

void LineBudget::refill() {
    reader = lines_of(TraceSwitch::fifo);
    host = lines_of(TraceSwitch::decoder);
}

// ---- the thread ----

BackgroundReader::BackgroundReader(MediaHandle& handle, const Range& range)
    : container_(handle.container),
      video_(handle.video),
      tracks_(handle.tracks),
      range_(clamped(range)),
      frame_dur_(frame_duration(handle.video)),
      is_at_start_(!handle.container.moved) {}

std::shared_ptr<BackgroundReader> BackgroundReader::start(MediaHandle& handle, const Range& range) {
    std::shared_ptr<BackgroundReader> reader(new BackgroundReader(handle, range));
    reader->thread_ = std::thread(run, reader);
    return reader;
}

void BackgroundReader::run(const std::shared_ptr<BackgroundReader>& self) {
    try {
        self->read_range();
    } catch (...) {
        self->queue.close();  // No memory for an entry: what was read may be taken, and then nothing comes.
    }
    self->end();
}

void BackgroundReader::end() {
    std::function<void()> rest;
    {
        const std::lock_guard lock(end_lock_);
        ended_ = true;
        rest = std::move(rest_);
        end_reached_.notify_all();
    }
    if (rest)
        rest();
}

void BackgroundReader::stop() {
    stopped_ = true;
    container_.reader_stopped = true;
    queue.abandon();
}

bool BackgroundReader::join(std::chrono::milliseconds limit) {
    {
        std::unique_lock lock(end_lock_);
        if (!end_reached_.wait_for(lock, limit, [this] { return ended_; }))
            return false;
    }
    if (thread_.joinable())
        thread_.join();
    container_.reader_stopped = false;
    return true;
}

bool BackgroundReader::leave_to_thread(std::function<void()> rest) {
    const std::lock_guard lock(end_lock_);
    if (ended_) {
        thread_.join();
        return false;
    }
    platform::keep_this_library_loaded();
    rest_ = std::move(rest);
    thread_.detach();
    return true;
}

// ---- what it reads ----

void BackgroundReader::read_range() {
    trace_start();
    budget.refill();
    learn_first_times();
    if (position(range_.in))
        learnt_.clear();
    Entries last = read_until_end();
    if (!stopped_)
        push_end(std::move(last));
    if (tracing(TraceSwitch::fifo))
        print_to_console(L"*** avfifo_reader: stop, %d packets read\n", packets_);
}

// What reading ended with, by itself or because it was stopped.
Entries BackgroundReader::read_until_end() {
    for (;;) {
        Entries one = next_entry();
        ++packets_;
        if (stopped_ || !take_in(one))
            return one;
    }
}

void BackgroundReader::trace_start() const {
    if (tracing(TraceSwitch::fifo))
        print_to_console(L"*** avfifo_reader: start, in %I64d out %I64d loop_in %I64d loop_out %I64d loops %d\n",
                         range_.in, range_.out, range_.loop_in, range_.loop_out, range_.loops);
}

// Where the container has no index, its first packets alone tell the times that all others count from.
void BackgroundReader::learn_first_times() {
    constexpr std::size_t kMostPackets = 250;
    const AVIOContext* const io = container_.format_ctx->pb;
    const bool can_return = io != nullptr && (io->seekable & AVIO_SEEKABLE_NORMAL) != 0;
    if (!is_at_start_ || !can_return)
        return;
    while (learnt_.size() < kMostPackets && !knows_first_times() && !stopped_) {
        learnt_.splice(learnt_.end(), read_entry());
        if (learnt_.back().type == kEnd)
            return;
    }
}

// Where the source could not be positioned, what was read of it comes first.
Entries BackgroundReader::next_entry() {
    if (learnt_.empty())
        return read_entry();
    Entries one;
    one.splice(one.end(), learnt_, learnt_.begin());
    return one;
}

bool BackgroundReader::knows_first_times() const {
    const auto is_known = [this](int stream) { return stream < 0 || container_.clock.knows_first(stream); };
    return is_known(video_.stream_index) && std::all_of(tracks_.begin(), tracks_.end(), [&](const Track& track) {
               return is_known(track.stream_index);
           });
}

bool BackgroundReader::position(int64_t time) {
    return seek_by_time(container_, video_, tracks_, time, kVideoKind) >= 0;
}

Entries BackgroundReader::read_entry() {
    Entries one = new_entry();
    Entry& entry = one.front();
    ffmpeg::PacketPtr packet = new_packet();
    if (const int result = av_read_frame(container_.format_ctx.get(), packet.get()); result < 0) {
        error_ = result != AVERROR_EOF ? result : 0;
        entry.time = kNever;
        return one;
    }
    container_.clock.note(*packet);
    entry.stream = packet->stream_index;
    entry.type = QMIO_PACKET_OTHER;
    if (packet->stream_index == video_.stream_index)
        entry.type = QMIO_PACKET_VIDEO;
    else if (tracks_.number_of_stream(packet->stream_index) != Tracks::kNone)
        entry.type = QMIO_PACKET_AUDIO;
    entry.time = entry.type != QMIO_PACKET_OTHER ? time_of(*packet) : 0;
    entry.pkt = std::move(packet);
    return one;
}

int64_t BackgroundReader::time_of(const AVPacket& packet) const {
    const AVStream* const stream = stream_of_packet(container_, packet);
    if (stream == nullptr || packet.dts == AV_NOPTS_VALUE)
        return 0;
    const int64_t first = container_.clock.first_dts(*stream);
    const int64_t ticks = first != AV_NOPTS_VALUE ? av_sat_sub64(packet.dts, first) : packet.dts;
    return scale_time(std::max<int64_t>(ticks, 0), stream->time_base, AV_TIME_BASE);
}

// False when reading is over; `one` then holds what it ended with.
bool BackgroundReader::take_in(Entries& one) {
    const Entry& entry = one.front();
    if (entry.type == QMIO_PACKET_OTHER)
        return true;
    if (entry.type != kEnd)
        return take_in_packet(one);
    // The time of the end as a packet of this pass would have had it, without the offset that the others have.
    return wrap(queue.max_time() + 1 - ts_off_);
}

bool BackgroundReader::take_in_packet(Entries& one) {
    Entry& entry = one.front();
    if (entry.time >= av_sat_add64(frame_dur_, range_.loop_out) && wrap(entry.time))
        return true;
    if (entry.time >= av_sat_add64(frame_dur_, range_.out))
        return false;
    entry.time = av_sat_add64(entry.time, ts_off_);
    entry.pass = pass_;
    push_packet(std::move(one));
    return true;
}

// True when another pass begins, at a time that follows `time` of the one that ends.
bool BackgroundReader::wrap(int64_t time) {
    if (range_.loops != kEndless && range_.loops > 0)
        --range_.loops;
    if (range_.loops < 1)
        return false;
    ts_off_ = av_sat_add64(av_sat_sub64(ts_off_, range_.loop_in), time);
    ++pass_;
    if (tracing(TraceSwitch::fifo))
        print_to_console(L"avfifo_loop: wrap at %I64d, in_loop %I64d, ts_off %I64d\n", time, range_.loop_in, ts_off_);
    budget.refill();
    queue.push_sync_point(new_entry());
    if (tracing(TraceSwitch::fifo))
        print_to_console(L"push EOF\n");
    position(range_.loop_in);
    return true;
}

void BackgroundReader::push_packet(Entries one) {
    const Entry& entry = one.front();
    if (tracing(TraceSwitch::fifo) && LineBudget::spend(budget.reader))
        print_to_console(L"+%c\t%I64d\n", entry.type == QMIO_PACKET_VIDEO ? L'V' : L'A', entry.time);
    queue.push_sorted(std::move(one));
}

void BackgroundReader::push_end(Entries last) {
    queue.push_end(std::move(last));
    if (tracing(TraceSwitch::fifo))
        print_to_console(L"push EOF\n");
}

}  // namespace qmio::packet
