// Where the container is put: by the frame-position index or by time. It knows nothing of pictures.
#pragma once

#include "read/source.h"

namespace qmio::read {

// Empties all decoders and lets go of the held picture: what every change of place leaves behind.
void flush_decoders(Source& source);

// How many frames the frame-position index tells positions of; 0 without one.
int64_t indexed_frames(const Container& container);

// How many frames there are, as far as is known: a file that is being written has more than it had when it was opened.
int32_t known_frames(const Source& source);

// False when the container's word on key packets is worth nothing after it was put by the index.
bool tells_keys(const Container& container);

// True where what comes first after a landing may be the rest of a frame.
bool lands_inside_frames(const Container& container);

// Each returns FFmpeg's result and flushes nothing.
int position_by_index(Source& source, int32_t frame);
int position_by_time(Source& source, int64_t timestamp, int flags);

// When `frame` is shown, in the time base of the stream.
int64_t time_of_frame(const Source& source, AVStream& stream, int32_t frame);

// What the container is asked for where it is put by time: the time of `frame`, or of the packet where its decoding
// begins.
int64_t time_to_seek(const Source& source, AVStream& stream, int32_t frame, int flags);

// Puts the container where frame `frame` is or, unless `flags` say any packet, where its decoding begins: by time, or where
// packets have none by the positions that were counted. As above.
int position_at_frame(Source& source, AVStream& stream, int32_t frame, int flags);

// False when the container takes no byte positions, or nothing tells the numbers of the packets behind one.
bool can_land_by_index(const Container& container);

// After the index put the container before `frame` and decoders are flushed: the number of the packet that comes next,
// where its time will not tell.
void note_landing(Source& source, int32_t frame);

// The first packet behind such a landing, whose number gives those of all that follow.
void number_from_landing(Video& video, Reading& reading, const AVPacket& packet);

// Positions at or before `frame`: by the index where it has the frame and not `by_time`, else at a key packet. False
// when the container cannot; otherwise decoders are flushed.
bool position_before(Source& source, int32_t frame, bool by_time);

// Positions where reading began when the source was opened, with frame 0 as the next. False when the container cannot;
// otherwise decoders are flushed.
bool position_at_start(Source& source);

}  // namespace qmio::read
