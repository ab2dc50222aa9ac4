#include "source.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include "failure.h"
#include "text.h"

namespace host {

namespace {

bool is_address(const std::string& name) {
    return name.find("://") != std::string::npos || has_prefix(name, "ftp:") || has_prefix(name, "dshow:") ||
           has_prefix(name, "avio:");
}

// The library tells of missing decoders; the rest can be seen on the file itself.
std::string reason_of_failed_open(const std::string& name) {
    char message[512] = {};
    if (qmio_get_error(message) != 0 && message[0] != '\0')
        return message;
    if (is_address(name))
        return "cannot be opened";
    std::error_code ignored;
    if (!std::filesystem::exists(path_of(name), ignored))
        return "no such file";
    if (std::filesystem::is_directory(path_of(name), ignored))
        return "is a folder, not a media file";
    if (!std::ifstream(path_of(name), std::ios::binary))
        return "cannot be read";
    return "is not a media file, or is damaged beyond reading";
}

MediaHandle* open(const std::string& name, const wchar_t* options) {
    // Such a name is not a text but a block of the caller's memory, which a command line has not got.
    if (has_prefix(name, "mem:"))
        throw Failure(name, "memory cannot be named on a command line");
    try {
        return qmio_open_ex_w(wide_of(name).c_str(), options);
    } catch (const std::system_error&) {
        throw Failure(name, "the name is not valid UTF-8");
    }
}

}  // namespace

Source::Source(const std::string& name, const wchar_t* options) : name_(name), handle_(open(name, options)) {
    if (handle_ == nullptr)
        throw Failure(name, reason_of_failed_open(name));
    if (has_video())
        qmio_set_dst_fmt(handle(), AV_PIX_FMT_RGBA);
}

Source::Source(const std::string& name, const std::string& options)
    : Source(name, options.empty() ? nullptr : wide_of(options).c_str()) {}

int64_t Source::file_param(const char* key) const {
    return qmio_get_file_param(handle(), key);
}

int64_t Source::track_param(const char* key, int track) const {
    return qmio_get_stream_param(handle(), key, track);
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
        throw Failure(name_, "cannot be positioned at frame " + std::to_string(number));
    return answer == number;
}

int Source::read_next(imio_picture& record) {
    int result = QMIO_DECODER_ERROR;
    while (result == QMIO_DECODER_ERROR)
        result = imio_read_frame(handle(), &record);
    return result;
}

}  // namespace host
