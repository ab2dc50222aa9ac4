#include "ffmpeg/display_rotation.h"

#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/display.h>
}

namespace qmio::ffmpeg {

namespace {

// Since FFmpeg 6.1 it is part of the parameters.
#if LIBAVFORMAT_VERSION_INT < AV_VERSION_INT(60, 15, 100)
const AVPacketSideData* find(const AVStream& stream) {
    for (int entry = 0; entry < stream.nb_side_data; ++entry)
        if (stream.side_data[entry].type == AV_PKT_DATA_DISPLAYMATRIX)
            return &stream.side_data[entry];
    return nullptr;
}
#else
const AVPacketSideData* find(const AVStream& stream) {
    return av_packet_side_data_get(stream.codecpar->coded_side_data, stream.codecpar->nb_coded_side_data,
                                   AV_PKT_DATA_DISPLAYMATRIX);
}
#endif

}  // namespace

std::optional<DisplayMatrix> display_matrix(const AVStream& stream) {
    DisplayMatrix matrix;
    const AVPacketSideData* const entry = find(stream);
    if (entry == nullptr || entry->size < sizeof matrix)
        return std::nullopt;
    std::memcpy(matrix.data(), entry->data, sizeof matrix);
    return matrix;
}

int display_rotation(const AVStream& stream) {
    const std::optional<DisplayMatrix> matrix = display_matrix(stream);
    if (!matrix)
        return 0;
    const double counterclockwise = av_display_rotation_get(matrix->data());
    // A matrix that maps everything to one line has no angle.
    if (std::isnan(counterclockwise))
        return 0;
    const int clockwise = static_cast<int>(std::lround(-counterclockwise)) % 360;
    return clockwise < 0 ? clockwise + 360 : clockwise;
}

}  // namespace qmio::ffmpeg
