// The container of a handle: where its bytes come from or go to, and the codec contexts of its streams.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/handle/stall_watch.h"
#include "ffmpeg/owners.h"
#include "ffmpeg/stream_clock.h"
#include "platform/shared_mapping.h"
#include "qmlib/input_source.h"

namespace qmio {

// What hosts may ask of a source while another thread reads it, as it was before: its demuxer may add streams and tags.
struct KeptFacts {
    std::vector<AVStream*> streams;
    std::optional<std::string> timecode;
};

// Where closing did not get to it, members are destroyed from the bottom up: codecs before the format context, that
// before its I/O.
struct Container {
    std::atomic<bool> cancelled{false};         // makes FFmpeg's blocking I/O return
    std::atomic<bool> reader_stopped{false};    // does so, too, until the background reader has ended
    StallWatch stall_watch;                     // does so, too
    Deadline open_deadline;                     // does so, too
    const Container* owner = nullptr;           // whose cancelling does so, too; null: none
    std::unique_ptr<qmlib::InputSource> input;  // bytes that FFmpeg does not fetch itself; null: it does
    ffmpeg::CustomIoPtr custom_io;
    ffmpeg::FormatContextPtr format_ctx;
    std::vector<ffmpeg::CodecContextPtr> stream_codec;  // every stream's own codec context
    ffmpeg::StreamClock clock;                          // first and last dts of every stream
    std::optional<KeptFacts> before_reader;             // set while the source is read in the background
    bool moved = false;  // packets were read or a seek was made since the source was opened
    std::unique_ptr<platform::SharedMapping> index_mapping;  // the frame-position index; null: none
};

// Makes FFmpeg's blocking I/O return once the container is cancelled, its source stands still for too long, or its open
// lasts too long.
AVIOInterruptCB interrupt_callback(Container& container);

// True where opening the source was made to stop by one of these: what it came to cannot be relied on.
bool was_stopped(const Container& container);

// Says why reading or opening the source came to `result` (core/process/why.h): that it was made to stop, where it was.
// `step` may be empty.
void tell_source_failure(const Container& container, int result, const char* step);

// True while there is a container to read from: not before the open, after a cancel or in a writer.
bool is_demuxing(const Container& container);

// The container's stream that a packet names; null when there is none.
AVStream* stream_of_packet(const Container& container, const AVPacket& packet);

// The time code of the source's start, by the stream's tags (none: null) or the container's; null when they tell none.
const char* timecode_text(const Container& container, const AVStream* stream);

// To be taken before another thread reads the source.
KeptFacts kept_facts(const Container& container, const AVStream* video);

// Takes the I/O of our own away from the format context, which FFmpeg would not do.
void release_custom_io(Container& container);

// Lets the system say anew where the file ends. Some C libraries keep to the end that they met until the file is positioned,
// though it may have grown.
void forget_end(const Container& container);

// av_seek_frame, which for bare pictures knows the first byte as well; AVERROR(EBADF) without a container to read from.
int seek_container(Container& container, int stream, int64_t position, int flags);

}  // namespace qmio
