#include "ffmpeg/frame_threads.h"

#include <algorithm>

namespace qmio::ffmpeg {

namespace {

// Found by seeking with one thread and with four in files of every such decoder for which there is an encoder. After a
// flush there is no picture yet that a thread of this one could take over, and it then leaves what else it takes over as
// it was before. VP3 and VP4, which nothing encodes, are decoded by the same code.
constexpr AVCodecID kLostByFlush[] = {AV_CODEC_ID_THEORA, AV_CODEC_ID_VP3, AV_CODEC_ID_VP4};

}  // namespace

bool frame_threads_survive_flush(AVCodecID codec) {
    return std::find(std::begin(kLostByFlush), std::end(kLostByFlush), codec) == std::end(kLostByFlush);
}

void keep_from_frame_threads(AVCodecID codec, Dictionary& options) {
    if (!frame_threads_survive_flush(codec))
        options.set("thread_type", "slice");
}

}  // namespace qmio::ffmpeg
