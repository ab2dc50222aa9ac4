// A track of a file that is read into a track of one that is written.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "output.h"
#include "sound.h"

namespace host {

// Samples in the form of the track, however many: the library takes a limited number at a time.
void write_samples(Output& output, int track, const SoundForm& form, const uint8_t* samples, int bytes);

// The form that a track of the output takes.
SoundForm form_of_track(const Output& output, int track);

class SoundWriter {
  public:
    // `silence`: seconds of it that come first.
    SoundWriter(Output& output, int track, const std::string& file, int file_track, double silence = 0);

    // Writes on to this time, counted from the start; to the end.
    void write_until(double seconds);
    void write_rest();

  private:
    bool write_piece();
    void write_silence(int64_t frames);

    Output& output_;
    int track_;
    std::unique_ptr<Sound> sound_;
    double silence_ = 0;  // seconds in front of the sound
};

}  // namespace host
