// A source that is being read: the video decoder with the picture it gave last, and the packets in hand.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "ffmpeg/concealment.h"
#include "ffmpeg/decoder.h"
#include "ffmpeg/owners.h"
#include "ffmpeg/turn.h"

struct MediaHandle;

namespace qmio {

struct Request;

namespace read {
class Jog;
class PendingSeek;
class PositionedSound;
}  // namespace read

// What the ways to sought pictures have met of damage. What a decoder makes of it depends on all that it decoded before
// and, with more threads than one, on chance.
struct KnownDamage {
    bool noticed = false;                    // from then on one thread decodes, and nothing is left out
    std::vector<int32_t> passed_from_start;  // key frames whose GOP was decoded from the start of the source on
};

struct Reading {
    int32_t read_result = 0;
    ffmpeg::PacketPtr packet;                  // the packet read last
    ffmpeg::PacketPtr saved_pkt;               // laid aside by the host
    ffmpeg::PacketPtr audio_packet;            // the audio packet read last; advances as it is decoded
    ffmpeg::Decoder decoder;                   // one packet in, at most one picture out, over the video's codec
    ffmpeg::FramePtr pFrame;                   // the picture decoded last
    ffmpeg::FramePtr pFrameRGB;                // layout of the conversion's target
    ffmpeg::FramePtr scratch;                  // aligned target for pictures whose rows libswscale cannot write exactly
    ffmpeg::Turner turner;                     // makes pictures upright
    ffmpeg::Dictionary decoder_options;        // what the decoder was opened with
    AVDiscard skip_frame = AVDISCARD_DEFAULT;  // what the host's options leave out, whatever a seek does
    std::shared_ptr<read::PendingSeek> pending;  // a sought picture that has not been delivered yet; null: none
    std::shared_ptr<read::Jog> jog;              // what makes the next sought picture cheap; null: none was sought yet
    void (*catch_up)(MediaHandle&) = nullptr;    // set with it; see catch_up() below the handle
    ffmpeg::ConcealmentWatch concealment;        // of the decoder
    KnownDamage damage;
    std::optional<int32_t> landing;  // number of the packet that comes next, where its time does not tell
    bool numbered = false;           // the number of pFrame was told, and does not just go on from the one before
    bool no_seek = false;            // the container refused a seek: there are no more
    std::shared_ptr<const Request> request;             // what the source was opened by
    std::shared_ptr<read::PositionedSound> positioned;  // sound that was asked for by position; null: none yet
    int64_t seek_position = 0;                          // last seek target in microseconds; 0 after a failed seek
};

}  // namespace qmio
