// A file that the library writes.
#pragma once

#include <qmio.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace host {

class Output {
  public:
    using Make = std::function<MediaHandle*(const char* name, const char* options)>;

    // Makes the file `name` (UTF-8) from an option string of the library, by `make` or, without it, for pictures and
    // sound to be encoded. Throws a Failure that names the file.
    Output(const std::string& name, const std::string& options, const Make& make = {});
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output();  // a file that was not there before and did not become whole is removed

    const std::string& name() const { return name_; }
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

    // Completes the file. Throws a Failure when not all of it was written.
    void close();

    // Throws a Failure when what was closed cannot be opened: so shows a container that could not be completed.
    void require_readable();

  private:
    struct Closer {
        void operator()(MediaHandle* handle) const { qmio_close(handle); }
    };

    std::filesystem::path path() const;

    std::string name_;
    bool existed_;
    bool whole_ = false;
    std::unique_ptr<MediaHandle, Closer> handle_;
};

// Throws a Failure when both names are one file, which writing would destroy before it is read.
void require_other_file(const std::string& in, const std::string& out);

}  // namespace host
