// A file that is being written.
#pragma once

#include <cstdint>
#include <memory>

#include "ffmpeg/encoder.h"
#include "ffmpeg/owners.h"
#include "qmlib/memory_output.h"

namespace qmio {

// What kind of handle it is (`mode`); zero in a reader.
namespace mode {
inline constexpr uint32_t writer = 1;
inline constexpr uint32_t copies_sound = 2;
inline constexpr uint32_t copies_video = 4;
inline constexpr uint32_t remux = 8;  // packets of other files come into it; closing drains no encoder
inline constexpr uint32_t interleaved = 16;
inline constexpr uint32_t suppressed = 32;
}  // namespace mode

struct Writing {
    uint32_t mode = 0;
    int32_t header_result = -1;                   // of writing the header; negative: there is none in the output
    ffmpeg::Encoder encoder;                      // one picture in, at most one packet out, over the video's codec
    ffmpeg::FramePtr video_frame;                 // points into the host's picture during a call
    ffmpeg::FramePtr audio_frame;                 // points into a track's samples during a call
    ffmpeg::PacketPtr packet;                     // for packets that the host does not see
    char* mem_block = nullptr;                    // the host's block that the file goes to; null: it goes elsewhere
    std::unique_ptr<qmlib::MemoryOutput> memory;  // over the data of mem_block
    int32_t first_error = 0;   // of encoding, writing and flushing: FFmpeg's negative number; 0: none
    bool is_finished = false;  // the file is complete and closed, as far as that went
};

// Keeps the first error. Returns `result`.
inline int note_error(Writing& writing, int result) {
    if (result < 0 && writing.first_error == 0)
        writing.first_error = result;
    return result;
}

}  // namespace qmio
