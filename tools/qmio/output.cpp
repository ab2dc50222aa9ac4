#include "output.h"

#include <filesystem>
#include <system_error>

#include "container.h"
#include "text.h"

namespace host {

namespace {

namespace fs = std::filesystem;

MediaHandle* create(const char* name, const char* options) {
    return qmio_create_u8(name, options, QMIO_CREATE_INTERLEAVED);
}

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    for (std::size_t place = text.find(what); place != std::string::npos; place = text.find(what, place + by.size()))
        text.replace(place, what.size(), by);
    return text;
}

}  // namespace

Output::Output(const Target& target, const std::string& options, const Make& make)
    : target_(target), place_(place_of(target, container_of(OptionList(options)))) {
    require_free(target);
    // There is nothing to let go of before there is a handle.
    if (place_.final)
        removed_ = std::make_unique<qmio::platform::RemovedWhenStopped>(path_of(place_.name), [this] {
            if (handle_ != nullptr)
                qmio_cancel(handle());
        });
    handle_.reset((make ? make : create)(place_.name.c_str(), options.c_str()));
    if (handle_ != nullptr)
        return;
    const Failure why = failure("cannot be made with these options");
    std::error_code ignored;
    if (place_.final)
        fs::remove(path_of(place_.name), ignored);
    throw why;
}

Output::~Output() {
    removed_.reset();
    handle_.reset();
    std::error_code ignored;
    if (place_.final && !kept_)
        fs::remove(path_of(place_.name), ignored);
}

Failure Output::failure(const std::string& otherwise) const {
    const Failure told = failure_of_library(name(), otherwise);
    return Failure(replaced(told.what(), place_.name, name()));
}

void Output::require_written() const {
    if (qmio_get_file_param(handle(), "write_error") < 0)
        throw failure("cannot be written");
}

void Output::write(imio_picture& picture) {
    if (imio_write_frame(handle(), &picture) < 0)
        throw failure("cannot be written");
    require_written();
}

void Output::write(int track, const uint8_t* samples, int bytes) {
    if (qmio_write_track(handle(), track, samples, bytes) < 0)
        throw failure("does not take the sound of track " + std::to_string(track));
    require_written();
}

void Output::finish() {
    if (qmio_finish(handle()) < 0)
        throw failure("cannot be written whole");
}

void Output::require_readable() const {
    if (readable_name().empty())
        return;
    const std::unique_ptr<MediaHandle, Closer> reader(qmio_open_u8(readable_name().c_str(), nullptr));
    if (reader == nullptr)
        throw failure("cannot be written whole");
}

// What another program has put there meanwhile is kept like what was there before.
void Output::keep() {
    if (place_.final) {
        require_free(target_);
        std::error_code error;
        const fs::path written = path_of(place_.name);
        if (const fs::file_status there = fs::status(*place_.final, error); fs::exists(there))
            fs::permissions(written, there.permissions(), error);
        fs::rename(written, *place_.final, error);
        if (error)
            throw Failure(name(), "cannot get its name: " + error.message());
    }
    kept_ = true;
    removed_.reset();
    handle_.reset();
}

}  // namespace host
