// What a new file needs to be told, where the user left it out.
#pragma once

#include <string>

#include "option_list.h"

namespace host {

inline const std::vector<std::string> kVideoEncoderKeys = {"vcodec", "codec:v", "codec", "c:v"};
inline const std::vector<std::string> kPixelFormatKeys = {"pix", "pix_fmt"};

struct PictureForm {
    int width = 0;
    int height = 0;
    std::string rate;               // N or N/D
    std::string pixel_format = {};  // FFmpeg's name; empty when unknown
    bool is_full = false;           // told to be in full range
};

struct TrackForm {
    int channels = 2;
    int rate = 48000;
    std::string sample_format = {};  // FFmpeg's name; empty when unknown
};

struct PictureSize {
    int width = 0;
    int height = 0;
};

// Size, frame rate and the encoder's pixel format that is nearest. Nothing when no video is asked for. Throws a Failure
// for an encoder that there is not.
void add_picture_defaults(OptionList& options, const PictureForm& form);

// How long each picture is shown; of a rate that was not given, the usual one.
double seconds_per_picture(const OptionList& options);

// The size that the options give.
PictureSize picture_size(const OptionList& options);

// "ac=2,ar=48000,afmt=fltp" for an encoder, the rate and the sample format the nearest that it takes. Throws a Failure as
// above.
std::string track_defaults(const std::string& encoder, const TrackForm& form);

// The number of the pixel format in which the pictures have to come.
int pixel_format_of(const OptionList& options);

}  // namespace host
