// The pictures of a file one after the other, with their times.
#pragma once

#include <qmio.h>

#include <cstdint>
#include <optional>

#include "picture_times.h"
#include "source.h"

namespace host {

class PictureReader {
  public:
    explicit PictureReader(const Source& source);

    // Decodes the next picture; false at the end. Damaged packets are passed over.
    bool next();

    // Gives it in a pixel format of the library's, in the size of `record`. Throws a Failure when it cannot be converted.
    void deliver(int format, imio_picture& record);

    // Of the picture decoded last, in seconds on the file's clock: when it is shown, and until when as far as it tells.
    double time() const { return time_; }
    double end() const;

    // QMIO_PICTURE_PROGRESSIVE and so on; QMIO_NO_PICTURE before the first.
    int fields() const { return fields_; }

  private:
    int decode_packet();
    int decode();
    std::optional<double> told_time() const;

    const Source& source_;
    double time_base_ = 0;
    double period_ = 0;
    PictureClock clock_;
    bool draining_ = false;
    int fields_ = QMIO_NO_PICTURE;
    double time_ = 0;
    int64_t last_pts_;  // of the packets read, the one that is shown last
    double last_duration_ = 0;
};

// Pictures a second; 25 where a file does not tell.
struct Rate {
    int64_t num = 25;
    int64_t den = 1;
    double value() const { return static_cast<double>(num) / static_cast<double>(den); }
};
Rate rate_of(const Source& source);

}  // namespace host
