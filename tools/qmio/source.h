// An opened media file.
#pragma once

#include <qmio.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "picture.h"

namespace host {

// What verbs say of the options that they open a file with.
inline constexpr const char* kOpeningOptions =
    "Options of opening, as \"count=1,rotate=1\": the library's own, the demuxer's and the decoder's";

class Source {
  public:
    // Opens the file or address `name` (UTF-8) with options of the library. Throws a Failure that says
    // why it cannot be opened.
    explicit Source(const std::string& name, const std::string& options = {});

    const std::string& name() const { return name_; }
    MediaHandle* handle() const { return handle_.get(); }

    // The library's answers about the file and about one of its audio tracks; -1 where it has none.
    int64_t file_param(const char* key) const;
    int64_t track_param(const char* key, int track) const;

    // What the library tells of a part of the file: QMIO_CONTAINER, QMIO_VIDEO or a track. Nothing where it knows nothing.
    std::optional<std::string> text(int part, const std::string& key) const;

    // The time code of a frame; nothing without a frame rate.
    std::optional<std::string> time_code(int64_t frame) const;

    bool has_video() const { return file_param("nvideo") > 0; }
    int width() const { return static_cast<int>(file_param("width")); }
    int height() const { return static_cast<int>(file_param("height")); }
    // As the file tells it, which need not be true.
    int frame_count() const { return static_cast<int>(file_param("frames")); }
    // Width of a pixel divided by its height; 1 when the file tells nothing.
    double pixel_aspect() const;

    // Throws a Failure when there are no pictures to ask for.
    void require_pictures() const;

    // Delivers frame `number`, scaled to the size of `picture`. False when the file has no such frame.
    bool read_frame(int number, Picture& picture);

    // Number of the picture that was decoded last, delivered or not; -1 when there is none.
    int last_decoded() const { return static_cast<int>(file_param("dts_frame")); }

  private:
    struct Closer {
        void operator()(MediaHandle* handle) const { qmio_close(handle); }
    };

    bool seek(int number);
    int read_next(imio_picture& record);

    static constexpr int kNone = -1;

    std::string name_;
    std::unique_ptr<MediaHandle, Closer> handle_;
    int held_ = kNone;  // number of the picture that the library still holds decoded
};

}  // namespace host
