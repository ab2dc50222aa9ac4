// What tests of writing put into files: pictures that carry their number, sound that tells its place.
#pragma once

#include <filesystem>
#include <string>

#include "support/open_media.h"
#include "support/plain_sound.h"

namespace qmio::test {

// Makes pictures of one form; rows and planes follow one another without gaps.
class PictureMaker {
  public:
    // `format`: its full name in FFmpeg's list, "AV_PIX_FMT_YUV420P".
    PictureMaker(const std::string& format, int width, int height);

    int format() const { return format_; }
    int width() const { return width_; }
    int height() const { return height_; }
    std::size_t size(int alignment = 1) const;

    Bytes picture(int number) const;

    // The same picture with rows aligned as a record says; what lies between the rows is noise.
    Bytes aligned_picture(int number, int alignment) const;

  private:
    int format_;
    int width_;
    int height_;
};

imio_picture record_of(Bytes& pixels, int alignment = 1);

// A sound of one form that never repeats: every sample of every channel follows from its place and the seed.
class SoundMaker {
  public:
    explicit SoundMaker(const SoundForm& form, int seed = 0) : form_(form), seed_(seed) {}

    const SoundForm& form() const { return form_; }
    int block() const;  // bytes of one sample of all channels

    // `count` samples from `first` on, packed or plane behind plane as the form is.
    Bytes samples(int64_t first, int count) const;

    // The same, silent from sample `end` on.
    Bytes samples_until(int64_t end, int64_t first, int count) const;

  private:
    SoundForm form_;
    int seed_;
};

// A file that is being written.
class Writer {
  public:
    Writer(const std::filesystem::path& path, const std::string& options, uint32_t flags = 0);

    bool is_open() const { return media_ != nullptr; }
    MediaHandle* handle() const { return media_.get(); }
    int write_picture(const PictureMaker& maker, int number) const;
    int write_sound(int track, const Bytes& samples) const;
    void close() { media_.reset(); }

  private:
    Media media_;
};

// Writes `pictures` pictures from number 0 on, and drops how each went.
void write_pictures(const Writer& writer, const PictureMaker& maker, int pictures);

std::wstring wide_text(const std::string& ascii);

}  // namespace qmio::test
