// A stream on its way into another container without being decoded: its parameters, and the time base that it wants there.
#pragma once

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

// What the choice of a time base goes by.
struct SourceTimes {
    AVRational codec_time_base;   // 0/1 when unknown
    int ticks_per_frame;          // how many of those a picture lasts
    AVRational stream_time_base;  // of the packets
};

// Of a video stream that is shown at this rate.
SourceTimes video_times(AVCodecID codec, AVRational frame_rate, AVRational stream_time_base);

// The time base of the codec in the copy. Containers that store a rate rather than times (AVI above all) get one that
// comes near to the rate where the source's clock is much finer; all others keep the source's.
AVRational codec_time_base_of_copy(const AVOutputFormat& format, const SourceTimes& times);

// What the muxer is asked to use for the packets' times; it may choose another when it writes the header.
AVRational stream_time_base_of_copy(const AVOutputFormat& format, const SourceTimes& times);

// Gives `target` what describes the packets of `source`: codec, tag, extradata, rates, sizes, side data, disposition.
// False when memory is short.
bool copy_description(AVStream& target, const AVStream& source, const AVOutputFormat& format);

// The tag that the codec keeps in a container; 0 leaves it to the muxer, which has another one for it.
uint32_t tag_of_copy(const AVOutputFormat& format, AVCodecID codec, uint32_t tag);

}  // namespace qmio::ffmpeg
