// A handle that is read in the background, as the host's thread sees it.
#pragma once

#include <functional>

#include "core/handle/media_handle.h"
#include "packet/queue.h"
#include "packet/range.h"

namespace qmio::packet {

// Begins to read the range in the background, in place of what was read so before. Without a source to read, or where no
// thread can be had, the handle stays as it is; also where the thread of before is caught in a call of the system.
void attach_reader_queue(MediaHandle& handle, const Range& range);

// Takes the next packet: its kind, QMIO_PACKET_OTHER for a sync point between two passes, -1 behind the end. It stays the
// one in hand until the next of its kind is taken or all are released. Waits until there is one.
int take_packet(MediaHandle& handle);

// The video packet in hand, which counts as decoded from now on; null for none.
AVPacket* video_to_decode(MediaHandle& handle);

// The packets of sound in hand, for decoding likewise.
const Entries& audio_to_decode(MediaHandle& handle);

void release_packets_in_hand(MediaHandle& handle);

// Wakes whoever waits for a packet, and interrupts the reading. Any thread may call.
void stop_reader_queue(MediaHandle& handle);

// Ends the reading and takes the queue down. False where the thread is caught in a call of the system: it still touches the
// handle.
bool end_reader_queue(MediaHandle& handle);

// Leaves the rest of a handle's life to the thread that end_reader_queue could not end. False when it has ended meanwhile.
bool leave_to_reader(MediaHandle& handle, std::function<void()> rest);

}  // namespace qmio::packet
