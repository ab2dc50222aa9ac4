#include "output.h"

#include <filesystem>
#include <system_error>

#include "failure.h"
#include "text.h"

namespace host {

namespace {

MediaHandle* create(const char* name, const char* options) {
    return qmio_create_u8(name, options, QMIO_CREATE_INTERLEAVED);
}

MediaHandle* make_by(const Output::Make& make, const std::string& name, const std::string& options) {
    // Such a name is not a text but a block of the caller's memory, which a command line has not got.
    if (has_prefix(name, "mem:"))
        throw Failure(name, "memory cannot be named on a command line");
    return (make ? make : create)(name.c_str(), options.c_str());
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
    std::error_code ignored;
    if (!existed_)
        std::filesystem::remove(path(), ignored);
    throw failure_of_library(name, "cannot be made with these options");
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

void Output::write(imio_picture& picture) {
    if (imio_write_frame(handle(), &picture) < 0)
        throw failure_of_library(name_, "cannot be written");
}

void Output::write(int track, const uint8_t* samples, int bytes) {
    if (qmio_write_track(handle(), track, samples, bytes) < 0)
        throw failure_of_library(name_, "does not take the sound of track " + std::to_string(track));
}

void Output::close() {
    if (qmio_finish(handle()) < 0)
        throw failure_of_library(name_, "cannot be written whole");
    handle_.reset();
    whole_ = true;
}

void Output::require_readable() {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path(), ignored))
        return;
    const std::unique_ptr<MediaHandle, Closer> reader(qmio_open_u8(name_.substr(0, name_.find('|')).c_str(), nullptr));
    whole_ = reader != nullptr;
    if (!whole_)
        throw failure_of_library(name_, "cannot be written whole");
}

void require_other_file(const std::string& in, const std::string& out) {
    std::error_code ignored;
    if (std::filesystem::equivalent(path_of(in), file_of(out), ignored))
        throw Failure(out, "is the file that is read");
}

}  // namespace host
