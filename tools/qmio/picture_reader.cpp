#include "picture_reader.h"

#include <limits>

#include "failure.h"

namespace host {

namespace {

constexpr int64_t kUnknown = std::numeric_limits<int64_t>::min();

double time_base_of(const Source& source) {
    qmio_time_param times{};
    if (qmio_get_time_param(source.handle(), "video", &times) == 0 || times.time_base_den == 0)
        return 0;
    return static_cast<double>(times.time_base_num) / times.time_base_den;
}

// In seconds, as far as the container knows it.
double end_of(const Source& source) {
    const int64_t start = source.track_param("start_us", QMIO_CONTAINER);
    const int64_t duration = source.track_param("duration_us", QMIO_CONTAINER);
    if (duration == kUnknown || duration <= 0)
        return std::numeric_limits<double>::infinity();
    return static_cast<double>((start != kUnknown ? start : 0) + duration) / 1e6;
}

}  // namespace

Rate rate_of(const Source& source) {
    qmio_time_param times{};
    if (qmio_get_time_param(source.handle(), "video", &times) == 0 || times.frame_rate_num < 1 ||
        times.frame_rate_den < 1)
        return {};
    return {times.frame_rate_num, times.frame_rate_den};
}

PictureReader::PictureReader(const Source& source)
    : source_(source),
      time_base_(time_base_of(source)),
      period_(1 / rate_of(source).value()),
      clock_(period_, end_of(source)),
      last_pts_(kUnknown) {}

int PictureReader::decode_packet() {
    imio_picture nowhere{};
    qmio_release_frame(source_.handle());
    const int kind = qmio_get_frame(source_.handle());
    draining_ = kind < 0;
    if (kind != QMIO_PACKET_VIDEO)
        return QMIO_NO_PICTURE;
    qmio_time_param times{};
    qmio_get_time_param(source_.handle(), "packet", &times);
    if (times.pts != kUnknown && times.pts >= last_pts_) {
        last_pts_ = times.pts;
        last_duration_ = times.duration > 0 ? static_cast<double>(times.duration) * time_base_ : 0;
    }
    return imio_video_frame(source_.handle(), &nowhere);
}

int PictureReader::decode() {
    imio_picture nowhere{};
    int result = QMIO_NO_PICTURE;
    while (!draining_ && result <= QMIO_PICTURE_HELD)
        result = decode_packet();
    return result > QMIO_PICTURE_HELD ? result : imio_video_pkt(source_.handle(), &nowhere, nullptr);
}

bool PictureReader::next() {
    const int result = decode();
    if (result <= QMIO_PICTURE_HELD)
        return false;
    fields_ = result;
    time_ = clock_.take(told_time());
    return true;
}

std::optional<double> PictureReader::told_time() const {
    const int64_t pts = source_.track_param("vpts", 0);
    return pts != kUnknown ? std::optional(static_cast<double>(pts) * time_base_) : std::nullopt;
}

double PictureReader::end() const {
    const bool is_last = last_pts_ != kUnknown && source_.track_param("vpts", 0) == last_pts_;
    return time_ + (is_last && last_duration_ > 0 ? last_duration_ : period_);
}

void PictureReader::deliver(int format, imio_picture& record) {
    qmio_set_dst_fmt(source_.handle(), format);
    if (imio_get_buf(source_.handle(), &record) <= 0)
        throw failure_of_library(source_.name(), "a picture cannot be converted");
}

}  // namespace host
