// Decoders with holes that are known to be open in the FFmpeg that is linked.
#pragma once

#include <string>
#include <vector>

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

// True for a release up to 5.1.9 where `last` is that: `version` as av_version_info tells it ("5.1.9-0+deb12u1"). False for
// what is no release.
bool is_up_to_release(const char* version, const char* last);

// Takes the decoders with open holes out of lookups by id, but for those that are named here. Start-up only.
void veto_open_holes(const std::vector<std::string>& allowed);

// The hole because of which the decoder of this codec is not used, as it is known publicly; null where there is none.
const char* open_hole(AVCodecID codec);

// The names of all decoders but those that are not used because of a hole, separated by commas; empty where that is none.
std::string decoders_without_holes();

}  // namespace qmio::ffmpeg
