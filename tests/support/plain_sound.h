// Sound by FFmpeg's plain calls: what the library's deliveries are held against.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include "support/open_media.h"
#include "support/plain_file.h"

namespace qmio::test {

struct SoundForm {
    int channels = 0;
    int rate = 0;
    AVSampleFormat format = AV_SAMPLE_FMT_NONE;
    bool operator==(const SoundForm&) const = default;
};
SoundForm form_of(const AVFrame& frame);

// The number that stands for a sample format in the interface, by the table of its documentation.
int code_of(AVSampleFormat format);

// Samples channel by channel, whatever layout they came in.
struct Block {
    std::size_t bytes = 0;  // of one sample
    std::size_t count = 0;  // per channel
    std::vector<Bytes> channels;
};
Block block_of(const AVFrame& frame);
Block block_of(const uint8_t* const* planes, const SoundForm& form, std::size_t count);

// As they lie in a host's buffer. `sources` names the block's channel for each of the host's, -1 for silence.
Bytes interleaved(const Block& block, const std::vector<int>& sources, uint8_t silence = 0);
Bytes interleaved(const Block& block);
Bytes plane_by_plane(const Block& block);
Bytes delivered(const Block& block, AVSampleFormat format);  // every channel, in the format's layout

// An audio stream with all that its decoder gives without being drained.
struct PlainTrack {
    int stream = -1;
    SoundForm form;  // of the decoder before the first packet
    std::vector<Frame> frames;
    std::vector<std::size_t> frames_per_packet;
};

// A seek after some packets of sound have been decoded: of what comes, only that behind it is given.
struct Move {
    int after_packets = 0;  // or at the end of the input
    std::function<void(AVFormatContext&)> seek;
};

// The first 16 audio streams.
std::vector<PlainTrack> decode_plainly(const std::filesystem::path& path, const Move& move = {});

// libswresample with the default layout of the channel counts on both sides.
class PlainResampler {
  public:
    PlainResampler(const SoundForm& from, const SoundForm& to);
    bool works() const { return context_ != nullptr; }

    // `rate`: by which the length of the result is worked out.
    Block convert(const uint8_t* const* planes, int count, int rate);
    Block convert(const AVFrame& frame) { return convert(frame.extended_data, frame.nb_samples, frame.sample_rate); }

  private:
    SoundForm from_;
    SoundForm to_;
    std::unique_ptr<SwrContext, FreeAv> context_;
};

// All of a track converted to a form, frame by frame, as one piece.
Bytes converted_plainly(const PlainTrack& track, const SoundForm& to);

}  // namespace qmio::test
