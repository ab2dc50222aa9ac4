#include "ffmpeg/display_rotation.h"

#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/display.h>
}

namespace qmio::ffmpeg {

namespace {

constexpr std::size_t kMatrixBytes = 9 * sizeof(int32_t);

// Since FFmpeg 6.1 it is part of the parameters.
#if LIBAVFORMAT_VERSION_INT < AV_VERSION_INT(60, 15, 100)
const uint8_t* matrix_of(const AVStream& stream) {
    for (int entry = 0; entry < stream.nb_side_data; ++entry)
        if (stream.side_data[entry].type == AV_PKT_DATA_DISPLAYMATRIX && stream.side_data[entry].size >= kMatrixBytes)
            return stream.side_data[entry].data;
    return nullptr;
}
#else
const uint8_t* matrix_of(const AVStream& stream) {
    const AVPacketSideData* const entry = av_packet_side_data_get(
        stream.codecpar->coded_side_data, stream.codecpar->nb_coded_side_data, AV_PKT_DATA_DISPLAYMATRIX);
    return entry != nullptr && entry->size >= kMatrixBytes ? entry->data : nullptr;
}
#endif

}  // namespace

int display_rotation(const AVStream& stream) {
    const uint8_t* const bytes = matrix_of(stream);
    if (bytes == nullptr)
        return 0;
    int32_t matrix[9];
    std::memcpy(matrix, bytes, sizeof matrix);
    const double counterclockwise = av_display_rotation_get(matrix);
    // A matrix that maps everything to one line has no angle.
    if (std::isnan(counterclockwise))
        return 0;
    const int clockwise = static_cast<int>(std::lround(-counterclockwise)) % 360;
    return clockwise < 0 ? clockwise + 360 : clockwise;
}

}  // namespace qmio::ffmpeg
