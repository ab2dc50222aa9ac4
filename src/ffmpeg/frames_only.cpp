#include "ffmpeg/frames_only.h"

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

namespace qmio::ffmpeg {

namespace {

using Bytes = std::span<const uint8_t>;

constexpr int kCountAt = 5;  // in the record of an MP4: the number of sequence headers, each with its length before it
constexpr unsigned kMostBits = 31;

// Bits of a header, from the highest of each byte on. Behind the end come zeros.
class Bits {
  public:
    explicit Bits(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}

    bool is_over() const { return at_ > bytes_.size() * 8; }

    unsigned take(unsigned count) {
        unsigned value = 0;
        for (; count > 0; --count, ++at_)
            value = value << 1 | bit();
        return value;
    }

    // A number with as many zeros before it as it has digits behind its first.
    unsigned take_number() {
        unsigned zeros = 0;
        while (zeros < kMostBits && !is_over() && take(1) == 0)
            ++zeros;
        return (1U << zeros) - 1 + take(zeros);
    }

    void pass_numbers(unsigned count) {
        for (; count > 0 && !is_over(); --count)
            take_number();
    }

  private:
    unsigned bit() const {
        const unsigned byte = at_ / 8 < bytes_.size() ? bytes_[at_ / 8] : 0U;
        return byte >> (7 - at_ % 8) & 1U;
    }

    std::vector<uint8_t> bytes_;
    std::size_t at_ = 0;
};

// Two zeros are followed by a 3 that does not belong to them.
std::vector<uint8_t> without_guards(Bytes bytes) {
    std::vector<uint8_t> plain;
    int zeros = 0;
    for (const uint8_t byte : bytes) {
        const bool guard = byte == 3 && zeros >= 2;
        zeros = byte == 0 ? zeros + 1 : 0;
        if (!guard)
            plain.push_back(byte);
    }
    return plain;
}

constexpr unsigned kFormsProfiles[] = {100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134, 135};

// Scaling lists are rare, and long to read: nothing is known of streams that have them.
bool passes_form(Bits& bits) {
    if (bits.take_number() == 3)  // 4:4:4
        bits.take(1);
    bits.pass_numbers(2);
    bits.take(1);
    return bits.take(1) == 0;
}

void pass_order_count(Bits& bits) {
    const unsigned kind = bits.take_number();
    if (kind == 0)
        bits.pass_numbers(1);
    if (kind != 1)
        return;
    bits.take(1);
    bits.pass_numbers(2);
    bits.pass_numbers(bits.take_number());
}

bool says_frames_only(Bytes header) {
    Bits bits(without_guards(header));
    bits.take(8);
    const unsigned profile = bits.take(8);
    bits.take(16);
    bits.pass_numbers(1);
    const bool has_form =
        std::find(std::begin(kFormsProfiles), std::end(kFormsProfiles), profile) != std::end(kFormsProfiles);
    if (has_form && !passes_form(bits))
        return false;
    bits.pass_numbers(1);
    pass_order_count(bits);
    bits.pass_numbers(1);
    bits.take(1);
    bits.pass_numbers(2);  // the size
    const bool frames_only = bits.take(1) != 0;
    return frames_only && !bits.is_over();
}

}  // namespace

bool holds_whole_frames_only(const AVCodecParameters& parameters) {
    const Bytes record(parameters.extradata, static_cast<std::size_t>(std::max(parameters.extradata_size, 0)));
    if (parameters.codec_id != AV_CODEC_ID_H264 || record.size() < 8 || record[0] != 1)
        return false;
    const int headers = record[kCountAt] & 0x1F;
    std::size_t at = kCountAt + 1;
    for (int header = 0; header < headers; ++header) {
        if (at + 2 > record.size())
            return false;
        const std::size_t length = std::size_t{record[at]} << 8 | record[at + 1];
        at += 2;
        if (length > record.size() - at || !says_frames_only(record.subspan(at, length)))
            return false;
        at += length;
    }
    return headers > 0;
}

}  // namespace qmio::ffmpeg
