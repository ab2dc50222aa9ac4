// The host's side of background reading.
#include "packet/reader_queue.h"

#include <utility>

#include "core/handle/entry.h"
#include "core/process/trace.h"
#include "packet/background_reader.h"
#include "qmio.h"

namespace qmio::packet {

namespace {

constexpr std::chrono::milliseconds kLongestWait(1000);

// Once, however often a thread that is caught in a call of the system has to be ended.
void trace_end(Taken& taken) {
    if (tracing(TraceSwitch::fifo) && !std::exchange(taken.end_told, true))
        print_to_console(L"*** avfifo_delete: video read %d decode %d, audio read %d decode %d\n", taken.video_taken,
                         taken.video_decoded, taken.audio_taken, taken.audio_decoded);
}

// Nothing of another place may stay in the decoders; the thread leaves them to the host.
void prepare_decoders(MediaHandle& handle) {
    flush_video_decoder(handle.video, handle.reading);
    flush_audio_decoders(handle.tracks, handle.sound);
    handle.reading.pending.reset();
}

// What the decoder holds of the pass before comes out first, so that a loop shows every picture of every pass.
void begin_pass(ffmpeg::Decoder& decoder, int32_t& current, int32_t pass) {
    if (current != pass && decoder.is_attached())
        decoder.finish_pass();
    current = pass;
}

bool traces_packets(BackgroundReader& reader) {
    return tracing(TraceSwitch::decoder) && LineBudget::spend(reader.budget.host);
}

int take_video(MediaHandle& handle, Entries&& entries) {
    Taken& taken = handle.reader_queue->taken;
    taken.video = std::move(entries);
    ++taken.video_taken;
    if (traces_packets(*handle.reader_queue))
        print_to_console(L"V%d\t%I64d\n", taken.video_taken, taken.video.front().time);
    begin_pass(handle.reading.decoder, taken.video_pass, taken.video.front().pass);
    return QMIO_PACKET_VIDEO;
}

void begin_pass_of_track(MediaHandle& handle, Taken& taken, const Entry& entry) {
    const int32_t number = handle.tracks.number_of_stream(entry.stream);
    Track* const track = handle.tracks.find(number);
    if (track == nullptr)
        return;
    int32_t& current = taken.audio_pass[static_cast<std::size_t>(number)];
    if (current != entry.pass)
        track->rest = {};
    begin_pass(track->decoder, current, entry.pass);
}

int take_audio(MediaHandle& handle, Entries&& entries) {
    Taken& taken = handle.reader_queue->taken;
    taken.audio = std::move(entries);
    ++taken.audio_taken;
    const bool is_traced = traces_packets(*handle.reader_queue);
    for (const Entry& entry : taken.audio) {
        if (is_traced)
            print_to_console(L"A-%d\t%I64d ", taken.audio_taken, entry.time);
        begin_pass_of_track(handle, taken, entry);
    }
    if (is_traced)
        print_to_console(L"\n");
    return QMIO_PACKET_AUDIO;
}

int take_mark(const Entry& entry) {
    if (entry.type == kSyncPoint && tracing(TraceSwitch::decoder))
        print_to_console(L"*** sync point %I64d\n", entry.time);
    else if (tracing(TraceSwitch::decoder))
        print_to_console(L"=== pkt type %d,  %I64d\n", entry.type, entry.time);
    return entry.type;
}

}  // namespace

void attach_reader_queue(MediaHandle& handle, const Range& range) {
    if (handle.container.cancelled || !is_demuxing(handle.container) || !end_reader_queue(handle))
        return;
    handle.container.before_reader = kept_facts(handle.container, handle.video.stream);
    try {
        handle.reader_queue = BackgroundReader::start(handle, range);
    } catch (...) {
        handle.container.before_reader.reset();
        throw;
    }
    prepare_decoders(handle);
}

int take_packet(MediaHandle& handle) {
    Entries entries = handle.reader_queue->queue.take();
    if (const int error = handle.reader_queue->error(); error < 0 && (entries.empty() || entries.front().type == kEnd))
        tell_source_failure(handle.container, error, "");
    if (entries.empty())
        return kEnd;
    switch (entries.front().type) {
        case QMIO_PACKET_VIDEO:
            return take_video(handle, std::move(entries));
        case QMIO_PACKET_AUDIO:
            return take_audio(handle, std::move(entries));
        default:
            return take_mark(entries.front());
    }
}

AVPacket* video_to_decode(MediaHandle& handle) {
    Taken& taken = handle.reader_queue->taken;
    if (taken.video.empty())
        return nullptr;
    ++taken.video_decoded;
    return taken.video.front().pkt.get();
}

const Entries& audio_to_decode(MediaHandle& handle) {
    Taken& taken = handle.reader_queue->taken;
    taken.audio_decoded += static_cast<int32_t>(taken.audio.size());
    return taken.audio;
}

void release_packets_in_hand(MediaHandle& handle) {
    handle.reader_queue->taken.video.clear();
    handle.reader_queue->taken.audio.clear();
}

void stop_reader_queue(MediaHandle& handle) {
    if (handle.reader_queue != nullptr)
        handle.reader_queue->stop();
}

bool end_reader_queue(MediaHandle& handle) {
    if (handle.reader_queue == nullptr)
        return true;
    trace_end(handle.reader_queue->taken);
    handle.reader_queue->stop();
    if (!handle.reader_queue->join(kLongestWait))
        return false;
    handle.reader_queue.reset();
    handle.container.before_reader.reset();
    return true;
}

bool leave_to_reader(MediaHandle& handle, std::function<void()> rest) {
    // The thread may end the handle before the call is over.
    const std::shared_ptr<BackgroundReader> reader = handle.reader_queue;
    return reader != nullptr && reader->leave_to_thread(std::move(rest));
}

}  // namespace qmio::packet

using namespace qmio;

namespace {

constexpr AVRational kRateWithoutVideo{25, 1};

int64_t time_of_frame(const Video& video, int frame) {
    const bool has_rate = video.stream != nullptr && video.frame_rate.num > 0;
    const AVRational rate = has_rate ? video.frame_rate : kRateWithoutVideo;
    return int64_t{frame} * rate.den * AV_TIME_BASE / rate.num;
}

}  // namespace

// A cancel looks at the queue before it waits for the call in progress; it is kept out while the queue changes.
void qmio_fifo_ts(MediaHandle* h, int64_t in, int64_t out, int64_t loop_in, int64_t loop_out, int loops) {
    if (h == nullptr)
        return;
    guarded(0, [=] {
        const std::scoped_lock locks(h->cancel_lock, h->call_lock);
        catch_up(*h);
        packet::attach_reader_queue(*h, {in, out, loop_in, loop_out, loops});
        return 0;
    });
}

void qmio_fifo_frame(MediaHandle* h, int in, int out, int loop_in, int loop_out, int loops) {
    if (h == nullptr)
        return;
    const auto time = [h](int frame) { return time_of_frame(h->video, frame); };
    qmio_fifo_ts(h, time(in), time(out), time(loop_in), time(loop_out), loops);
}
