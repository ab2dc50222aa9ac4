#include "ffmpeg/muxers.h"

#include <string_view>

namespace qmio::ffmpeg {
namespace {

struct Row {
    std::string_view muxer;
    PacketOrder order;
};

// Found by writing, with every muxer of FFmpeg 5.1, pictures and sound by turns of a second and of three. ASF's sends
// times too far apart into an assertion; those of DV, SWF, MXF and RTP keep or drop what comes out of order; FLV and NUT
// have no times before that of their first packet, which sound with a lead-in has.
constexpr Row kOrders[] = {
    {"asf", PacketOrder::strict},     {"asf_stream", PacketOrder::strict}, {"avm2", PacketOrder::strict},
    {"dv", PacketOrder::strict},      {"flv", PacketOrder::first_first},   {"mxf", PacketOrder::strict},
    {"mxf_d10", PacketOrder::strict}, {"nut", PacketOrder::first_first},   {"rtp_mpegts", PacketOrder::strict},
    {"swf", PacketOrder::strict},
};

// Found among those that need no output: they lose their last segment or all of them, or wait for the trailer for ever.
// fifo_test is FFmpeg's for its own tests: it takes the bytes of packets for orders how long to sleep, and its trailer
// tells what it got.
constexpr std::string_view kWritingWithTrailer[] = {"dash", "fifo",      "fifo_test", "hds", "hls", "smoothstreaming",
                                                    "tee",  "webm_chunk"};

}  // namespace

PacketOrder packet_order(const AVOutputFormat& muxer) {
    for (const Row& row : kOrders)
        if (row.muxer == muxer.name)
            return row.order;
    return PacketOrder::any;
}

bool writes_with_trailer(const AVOutputFormat& muxer) {
    for (const std::string_view name : kWritingWithTrailer)
        if (name == muxer.name)
            return true;
    return false;
}

}  // namespace qmio::ffmpeg
