#include "output.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include "failure.h"
#include "text.h"

namespace host {

namespace {

MediaHandle* create(const wchar_t* name, const wchar_t* options) {
    return qmio_create_ex_w(name, options, QMIO_CREATE_INTERLEAVED);
}

MediaHandle* make_by(const Output::Make& make, const std::string& name, const std::string& options) {
    try {
        return (make ? make : create)(wide_of(name).c_str(), wide_of(options).c_str());
    } catch (const std::system_error&) {
        throw Failure(name, "the name or the options are not valid UTF-8");
    }
}

// What stands behind a '|' is no part of the file's name.
std::filesystem::path file_of(const std::string& name) {
    return path_of(name.substr(0, name.find('|')));
}

bool is_there(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

}  // namespace

Output::Output(const std::string& name, const std::string& options, const Make& make)
    : name_(name), existed_(is_there(file_of(name))), handle_(make_by(make, name, options)) {
    if (handle_ != nullptr)
        return;
    const std::string reason = reason_of_failure();
    std::error_code ignored;
    if (!existed_)
        std::filesystem::remove(path(), ignored);
    throw Failure(name, reason);
}

Output::~Output() {
    handle_.reset();
    std::error_code ignored;
    if (!whole_ && !existed_)
        std::filesystem::remove(path(), ignored);
}

std::filesystem::path Output::path() const {
    return file_of(name_);
}

// The library says on standard error why it failed; what is wrong with the place itself can be seen from here.
std::string Output::reason_of_failure() const {
    std::error_code error;
    if (std::filesystem::is_directory(path(), error))
        return "cannot be written: it is a folder";
    if (path().has_parent_path() && !std::filesystem::is_directory(path().parent_path(), error))
        return "cannot be written: there is no such folder";
    if (!std::ofstream(path(), std::ios::binary | std::ios::app))
        return "cannot be written: no permission, or no room";
    return "cannot be made with these options";
}

void Output::write(imio_picture& picture) {
    AVPacket* packet = imio_encode_frame(handle(), &picture);
    if (packet == nullptr)
        return;
    const int bytes = qmio_pkt_time(nullptr, packet, nullptr);
    const int result = qmio_put_frame(handle(), packet);
    qmio_pkt_free(packet);
    if (result < 0)
        throw Failure(name_, "cannot be written: error " + std::to_string(result));
    written_ += static_cast<std::uintmax_t>(bytes);
}

void Output::write(int track, const uint8_t* samples, int bytes) {
    const int result = qmio_write_track(handle(), track, samples, bytes);
    if (result < 0)
        throw Failure(name_, "track " + std::to_string(track) + " does not take its sound: " + std::to_string(result));
}

void Output::close() {
    handle_.reset();
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path(), error);
    if (!error && size < written_)
        throw Failure(name_, "cannot be written whole");
    whole_ = true;
}

void Output::require_readable() {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path(), ignored))
        return;
    const std::unique_ptr<MediaHandle, Closer> reader(qmio_open_w(wide_of(name_.substr(0, name_.find('|'))).c_str()));
    whole_ = reader != nullptr;
    if (!whole_)
        throw Failure(name_, "cannot be written whole");
}

void require_other_file(const std::string& in, const std::string& out) {
    std::error_code ignored;
    if (std::filesystem::equivalent(path_of(in), file_of(out), ignored))
        throw Failure(out, "is the file that is read");
}

}  // namespace host
