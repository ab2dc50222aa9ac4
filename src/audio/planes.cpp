#include "audio/planes.h"

#include <algorithm>

#include "audio/sample_formats.h"

namespace qmio::audio {

std::size_t plane_size(AVSampleFormat format, int count) {
    return static_cast<std::size_t>(sample_bytes(format)) * static_cast<std::size_t>(std::max(count, 0));
}

std::size_t block_size(const ffmpeg::SoundForm& form, int count) {
    return plane_size(form.format, count) * static_cast<std::size_t>(std::max(form.channels, 0));
}

void find_planes(Planes& planes, uint8_t* block, const ffmpeg::SoundForm& form, int count) {
    const bool planar = av_sample_fmt_is_planar(form.format) != 0;
    const int number = planar ? std::clamp(form.channels, 0, kMaxPlanes) : 1;
    for (int plane = 0; plane < number; ++plane)
        planes[static_cast<std::size_t>(plane)] =
            block + plane_size(form.format, count) * static_cast<std::size_t>(plane);
}

}  // namespace qmio::audio
