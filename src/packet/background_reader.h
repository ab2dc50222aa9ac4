// The thread that reads a source ahead of its host.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "core/handle/media_handle.h"
#include "packet/queue.h"
#include "packet/range.h"

namespace qmio::packet {

// The numbers that tell how many lines about single packets are still written; tracing falls silent after them.
struct LineBudget {
    std::atomic<int32_t> reader{0};
    std::atomic<int32_t> host{0};

    void refill();
    static bool spend(std::atomic<int32_t>& lines) { return lines.load() > 0 && lines.fetch_sub(1) > 0; }
};

// What the host took out of the queue last. The host's thread alone touches it.
struct Taken {
    Entries video;  // one packet or none
    Entries audio;  // packets of one time
    int32_t video_pass = 0;
    std::array<int32_t, kMaxTracks> audio_pass{};
    int32_t video_taken = 0, audio_taken = 0;  // for the trace
    int32_t video_decoded = 0, audio_decoded = 0;
    bool end_told = false;
};

// While it runs it alone touches the container. The decoders stay the host's.
class BackgroundReader {
  public:
    // The handle must be demuxing, and outlive the thread. Throws where no thread can be had.
    static std::shared_ptr<BackgroundReader> start(MediaHandle& handle, const Range& range);

    Queue queue;
    LineBudget budget;
    Taken taken;

    // Why reading ended, other than by the end of the source: FFmpeg's negative number. 0: it did not. Any thread may ask.
    int error() const { return error_; }

    // Ends the thread at its next packet, interrupts it where it waits, and drops what it has read. Any thread may call.
    void stop();

    // After stop: true when the thread has come to its end within `limit`; a call of the system that nothing interrupts
    // may keep it.
    bool join(std::chrono::milliseconds limit);

    // Leaves `rest` to a thread that cannot be waited for, to be run at its end; this library stays loaded for it. False
    // when the thread has ended: nothing is left to it.
    bool leave_to_thread(std::function<void()> rest);

  private:
    BackgroundReader(MediaHandle& handle, const Range& range);

    static void run(const std::shared_ptr<BackgroundReader>& self);
    void end();

    void read_range();
    Entries read_until_end();
    void learn_first_times();
    bool knows_first_times() const;
    bool position(int64_t time);
    Entries next_entry();
    Entries read_entry();
    int64_t time_of(const AVPacket& packet) const;
    bool take_in(Entries& one);
    bool take_in_packet(Entries& one);
    bool wrap(int64_t time);
    void push_packet(Entries one);
    void push_end(Entries last);
    void trace_start() const;

    Container& container_;
    const Video& video_;
    const Tracks& tracks_;
    Range range_;
    int64_t frame_dur_;   // microseconds
    bool is_at_start_;    // nothing was read from the source before
    Entries learnt_;      // packets that were read for their times alone
    int64_t ts_off_ = 0;  // added to every time; grows with each pass
    int32_t pass_ = 0;
    int32_t packets_ = 0;  // read so far
    std::atomic<bool> stopped_{false};
    std::atomic<int> error_{0};

    std::thread thread_;
    std::mutex end_lock_;
    std::condition_variable end_reached_;
    bool ended_ = false;
    std::function<void()> rest_;
};

}  // namespace qmio::packet
