#include "source.h"

#include "failure.h"
#include "text.h"

namespace host {

namespace {

MediaHandle* open(const std::string& name, const std::string& options) {
    // Such a name is not a text but a block of the caller's memory, which a command line has not got.
    if (has_prefix(name, "mem:"))
        throw Failure(name, "memory cannot be named on a command line");
    return qmio_open_u8(name.c_str(), options.c_str());
}

}  // namespace

Source::Source(const std::string& name, const std::string& options) : name_(name), handle_(open(name, options)) {
    if (handle_ == nullptr)
        throw failure_of_library(name, "cannot be opened");
    if (has_video())
        qmio_set_dst_fmt(handle(), AV_PIX_FMT_RGBA);
}

int64_t Source::file_param(const char* key) const {
    return qmio_get_file_param(handle(), key);
}

int64_t Source::track_param(const char* key, int track) const {
    return qmio_get_stream_param(handle(), key, track);
}

std::optional<std::string> Source::text(int part, const std::string& key) const {
    const int length = qmio_get_text(handle(), part, key.c_str(), nullptr, 0);
    if (length < 0)
        return {};
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    qmio_get_text(handle(), part, key.c_str(), text.data(), length + 1);
    text.pop_back();
    return text;
}

std::optional<std::string> Source::time_code(int64_t frame) const {
    char text[32];
    if (qmio_timecode(handle(), frame, text, sizeof text) < 0)
        return {};
    return text;
}

// The decoder knows best; some files tell it in the container alone.
double Source::pixel_aspect() const {
    for (const char* key : {"par", "sar"}) {
        const int64_t thousandths = track_param(key, 0);
        if (thousandths > 0)
            return static_cast<double>(thousandths) / 1000;
    }
    return 1.0;
}

void Source::require_pictures() const {
    if (!has_video())
        throw Failure(name_, "has no video stream");
    if (width() <= 0 || height() <= 0)
        throw Failure(name_, "its video stream tells no picture size");
}

bool Source::read_frame(int number, Picture& picture) {
    imio_picture record = picture.record();
    if (number == held_)
        return imio_get_buf(handle(), &record) > 0;
    held_ = kNone;
    if (!seek(number))
        return false;
    int result = read_next(record);
    // A still picture is read once, and held from then on.
    if (result <= QMIO_PICTURE_HELD && last_decoded() == number)
        result = imio_get_buf(handle(), &record);
    if (result > 0)
        held_ = number;
    return result > 0;
}

// The library answers with the frame it stands on, which is another one when the file has no such frame.
bool Source::seek(int number) {
    const int answer = qmio_seek_frame(handle(), number);
    if (answer < 0)
        throw failure_of_library(name_, "cannot be positioned at frame " + std::to_string(number));
    return answer == number;
}

int Source::read_next(imio_picture& record) {
    int result = QMIO_DECODER_ERROR;
    while (result == QMIO_DECODER_ERROR)
        result = imio_read_frame(handle(), &record);
    return result;
}

}  // namespace host
