// What FFmpeg's muxers need of those who write to them, and do not ask for.
#pragma once

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

// How much the muxer needs the packets of all streams in the order of their times.
enum class PacketOrder {
    any,          // or puts them in order itself
    first_first,  // what comes behind a later packet at the very beginning is lost
    strict        // what comes out of order is lost, or ends the process
};
PacketOrder packet_order(const AVOutputFormat& muxer);

// True for muxers that open files of their own and complete them, or write them at all, with the trailer only.
bool writes_with_trailer(const AVOutputFormat& muxer);

}  // namespace qmio::ffmpeg
