#include "sound.h"

#include "failure.h"

namespace host {

namespace {

// No common codec gives more samples of a channel at a time.
constexpr int64_t kLongestFrame = 1 << 18;

std::size_t buffer_size(int file_rate, const SoundForm& form, int sample_size) {
    const int64_t longer = form.rate / (file_rate > 0 ? file_rate : form.rate) + 1;
    return static_cast<std::size_t>(kLongestFrame * longer * form.channels * sample_size);
}

}  // namespace

int sample_format_code(const std::string& name) {
    if (qmio_get_id(name.c_str(), "sample_fmt") < 0)
        throw Failure(name, "is no sample format (u8, s16, s32, flt, dbl, s64; with p: planar)");
    return static_cast<int>(qmio_get_id(name.c_str(), "sample_bits"));
}

Sound::Sound(const std::string& file, int track, const SoundForm& form) : source_(file), form_(form) {
    if (track >= source_.file_param("naudio"))
        throw Failure(file, "has no track " + std::to_string(track));
    qmio_set_track(source_.handle(), track);
    const int file_rate = static_cast<int>(source_.track_param("file_sample_rate", track));
    if (qmio_set_dst_audio(source_.handle(), form.channels, form.rate, form.format) == 0)
        throw Failure(file, "its sound cannot be decoded");
    buffer_.resize(buffer_size(file_rate, form, qmio_sample_size(source_.handle())));
}

bool Sound::next_packet() {
    qmio_release_frame(source_.handle());
    int kind = QMIO_PACKET_OTHER;
    while (kind != QMIO_PACKET_AUDIO && kind >= 0)
        kind = qmio_get_frame(source_.handle());
    return kind == QMIO_PACKET_AUDIO;
}

Sound::Piece Sound::next() {
    for (;;) {
        if (!in_packet_ && !next_packet())
            return {};
        const int bytes = qmio_audio_frame(source_.handle(), buffer_.data());
        in_packet_ = bytes > 0;
        if (bytes > 0) {
            delivered_frames_ += bytes / bytes_per_frame();
            return {buffer_.data(), bytes};
        }
    }
}

}  // namespace host
