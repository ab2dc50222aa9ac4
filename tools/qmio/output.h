// A file that the library writes.
#pragma once

#include <qmio.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "failure.h"
#include "platform/console.h"
#include "target.h"

namespace host {

class Output {
  public:
    using Make = std::function<MediaHandle*(const char* name, const char* options)>;

    // Makes the file from an option string of the library, by `make` or, without it, for pictures and sound to be encoded.
    // A plain file is written under a temporary name beside its own, which keep() gives it. Throws a Failure that names the
    // file.
    Output(const Target& target, const std::string& options, const Make& make = {});
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output();  // what was not kept is removed

    const std::string& name() const { return target_.name; }
    MediaHandle* handle() const { return handle_.get(); }
    int width() const { return static_cast<int>(qmio_get_file_param(handle(), "width")); }
    int height() const { return static_cast<int>(qmio_get_file_param(handle(), "height")); }
    bool has_video() const { return qmio_get_file_param(handle(), "nvideo") > 0; }
    int track_count() const { return static_cast<int>(qmio_get_file_param(handle(), "naudio")); }
    int track_param(const char* key, int track) const {
        return static_cast<int>(qmio_get_stream_param(handle(), key, track));
    }

    // Write what is in the form that the file was made for; throw a Failure when it is not taken.
    void write(imio_picture& picture);
    void write(int track, const uint8_t* samples, int bytes);

    // The last failed call of the library, about the file by its own name.
    Failure failure(const std::string& otherwise) const;

    // Completes the file. Throws a Failure when not all of it was written.
    void finish();

    // The name under which a finished file can be read until it is kept; empty where it cannot.
    std::string readable_name() const { return place_.final ? place_.name : std::string(); }

    // Throws a Failure when what was finished cannot be opened: so shows a container that could not be completed.
    void require_readable() const;

    // Gives a finished file its name.
    void keep();

    void close() {
        finish();
        keep();
    }

  private:
    struct Closer {
        void operator()(MediaHandle* handle) const { qmio_close(handle); }
    };

    void require_written() const;

    Target target_;
    Place place_;
    bool kept_ = false;
    // Ends before the handle does, which it cancels.
    std::unique_ptr<MediaHandle, Closer> handle_;
    std::unique_ptr<qmio::platform::RemovedWhenStopped> removed_;
};

}  // namespace host
