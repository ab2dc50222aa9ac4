#include "sound.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

#include "failure.h"

namespace host {

namespace {

// A codec that compresses gives no longer frames than this.
constexpr int64_t kLongestFrame = 1 << 18;
// One that does not gives as many samples as its packet holds.
constexpr int64_t kSamplesPerByte = 8;

int planar(int format) {
    return format == 0 ? -1 : format > 0 ? -format : format;
}

}  // namespace

int sample_format_code(const std::string& name) {
    if (qmio_get_id(name.c_str(), "sample_fmt") < 0)
        throw Failure(name, "is no sample format (u8, s16, s32, flt, dbl, s64; with p: planar)");
    return static_cast<int>(qmio_get_id(name.c_str(), "sample_bits"));
}

int sample_size(int format) {
    const int bits = format < -1 ? -format : format;
    return bits == 128 ? 8 : bits <= 0 ? 4 : bits / 8;
}

Sound::Sound(const std::string& file, int track, const SoundForm& form) : source_(file), form_(form), track_(track) {
    if (track >= source_.file_param("naudio"))
        throw Failure(file, "has no track " + std::to_string(track));
    qmio_set_track(source_.handle(), track);
    file_rate_ = source_.track_param("file_sample_rate", track);
    // The library gives channels that the file does not have out of the mixer in planes alone.
    interleave_ = form.format >= 0 && form.channels > source_.track_param("file_channels", track);
    const int format = interleave_ ? planar(form.format) : form.format;
    if (qmio_set_dst_audio(source_.handle(), form.channels, form.rate, format) == 0)
        throw Failure(file, "its sound cannot be decoded");
}

bool Sound::next_packet() {
    qmio_release_frame(source_.handle());
    int kind = QMIO_PACKET_OTHER;
    while (kind != QMIO_PACKET_AUDIO && kind >= 0)
        kind = qmio_get_frame(source_.handle());
    if (kind == QMIO_PACKET_AUDIO)
        make_room();
    return kind == QMIO_PACKET_AUDIO;
}

// For the longest frame that the packet may hold.
void Sound::make_room() {
    const int64_t frames =
        std::max({kLongestFrame, 2 * file_rate_, kSamplesPerByte * source_.track_param("pkt_size", track_)});
    const int64_t longer = form_.rate / std::max<int64_t>(file_rate_, 1) + 1;
    const auto size = static_cast<std::size_t>(frames * longer * bytes_per_frame());
    if (buffer_.size() < size)
        buffer_.resize(size);
}

Sound::Piece Sound::in_form(int bytes) {
    if (!interleave_)
        return {buffer_.data(), bytes};
    const int size = sample_size(form_.format);
    const int frames = bytes / bytes_per_frame();
    interleaved_.resize(static_cast<std::size_t>(bytes));
    for (int channel = 0; channel < form_.channels; ++channel)
        for (int frame = 0; frame < frames; ++frame)
            std::memcpy(interleaved_.data() + (std::ptrdiff_t{frame} * form_.channels + channel) * size,
                        buffer_.data() + (std::ptrdiff_t{channel} * frames + frame) * size,
                        static_cast<std::size_t>(size));
    return {interleaved_.data(), bytes};
}

int64_t Sound::duration_ms() const {
    qmio_time_param times{};
    if (qmio_get_time_param(source_.handle(), "audio", &times) == 0 || times.container_duration <= 0)
        return qmio_get_dur(source_.handle());
    return times.container_duration / 1000;
}

// Of the sound decoded last, which is not always that of the packet: its time base is.
std::optional<double> Sound::time_of_packet() const {
    constexpr int64_t unknown = std::numeric_limits<int64_t>::min();
    qmio_time_param times{};
    const int64_t pts = source_.track_param("apts", track_);
    if (qmio_get_time_param(source_.handle(), "packet", &times) == 0 || times.time_base_den == 0 || pts == unknown)
        return {};
    return static_cast<double>(pts) * times.time_base_num / times.time_base_den;
}

Sound::Piece Sound::take() {
    for (;;) {
        if (!in_packet_ && !next_packet())
            return {};
        const int bytes = qmio_audio_frame(source_.handle(), buffer_.data());
        in_packet_ = bytes > 0;
        if (bytes > 0)
            return in_form(bytes);
    }
}

std::optional<double> Sound::start() {
    if (!ahead_ && delivered_frames_ == 0) {
        ahead_ = take();
        if (ahead_->bytes > 0)
            start_ = time_of_packet();
    }
    return start_;
}

Sound::Piece Sound::next() {
    const Piece piece = ahead_ ? *ahead_ : take();
    ahead_.reset();
    delivered_frames_ += piece.bytes / bytes_per_frame();
    return piece;
}

}  // namespace host
