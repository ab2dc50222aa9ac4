#include "qmpixlib/scale_linear.h"

#include <libyuv/planar_functions.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstring>
#include <vector>

namespace qmio {

namespace {

constexpr int kPixelBytes = 4;
// What libyuv counts as all of one neighbour and nothing of the other. libyuv's own scaling of columns has weights that
// sum to 127 of 128; its blending of two rows, by one weight for all bytes or by one for each, loses nothing.
constexpr int kAllOfARow = 256;
constexpr int kAllOfAColumn = 255;

struct Pixels {
    uint8_t* data;
    ptrdiff_t line;  // bytes from one row to the next
    int width;
    int height;

    uint8_t* row(int number) const { return data + number * line; }
};

// A sample between two neighbours of the source: `weight` of the second, the rest of the first.
struct Place {
    int first;
    int weight;
};

// Centres lie on centres: sample i of the target lies at (i + 1/2) * source / target - 1/2.
Place place_of(int sample, int target, int source, int all) {
    const int64_t denominator = int64_t{2} * target;
    const int64_t place =
        std::clamp<int64_t>((int64_t{2} * sample + 1) * source - target, 0, denominator * (source - 1));
    const auto first = std::min(static_cast<int>(place / denominator), std::max(source - 2, 0));
    const int64_t rest = place - first * denominator;
    return {first, static_cast<int>((rest * all + target) / denominator)};
}

// Scales rows to another width.
class Columns {
  public:
    Columns(int width, int source_width)
        : bytes_(static_cast<std::size_t>(width) * kPixelBytes),
          same_width_(width == source_width),
          to_second_(source_width > 1 ? kPixelBytes : 0),
          offsets_(static_cast<std::size_t>(width)),
          weights_(bytes_),
          first_(bytes_),
          second_(bytes_) {
        for (int column = 0; column < width; ++column) {
            const Place place = place_of(column, width, source_width, kAllOfAColumn);
            const auto index = static_cast<std::size_t>(column);
            offsets_[index] = place.first * kPixelBytes;
            std::fill_n(&weights_[index * kPixelBytes], kPixelBytes,
                        static_cast<uint8_t>(kAllOfAColumn - place.weight));
        }
    }

    void scale(const uint8_t* source, uint8_t* target) {
        if (same_width_) {
            std::memcpy(target, source, bytes_);
            return;
        }
        uint8_t *first = first_.data(), *second = second_.data();
        for (const int offset : offsets_) {
            std::memcpy(first, source + offset, kPixelBytes);
            std::memcpy(second, source + offset + to_second_, kPixelBytes);
            first += kPixelBytes;
            second += kPixelBytes;
        }
        libyuv::BlendPlane(first_.data(), 0, second_.data(), 0, weights_.data(), 0, target, 0, static_cast<int>(bytes_),
                           1);
    }

    std::size_t bytes() const { return bytes_; }

  private:
    std::size_t bytes_;  // of a scaled row
    bool same_width_;
    int to_second_;                        // bytes between a column's two neighbours
    std::vector<int> offsets_;             // in bytes, of the first of them
    std::vector<uint8_t> weights_;         // of the first, for every byte
    std::vector<uint8_t> first_, second_;  // each column's neighbours
};

void blend_rows(const uint8_t* first, const uint8_t* second, int weight, uint8_t* target, std::size_t bytes) {
    if (weight == kAllOfARow) {  // more than libyuv's routine takes
        std::memcpy(target, second, bytes);
        return;
    }
    libyuv::InterpolatePlane(first, 0, second, 0, target, 0, static_cast<int>(bytes), 1, weight);
}

// Fewer rows than there were: they are blended before they get another width.
void scale_rows_first(const Pixels& source, const Pixels& target, Columns& columns) {
    std::vector<uint8_t> blended(static_cast<std::size_t>(source.width) * kPixelBytes);
    for (int row = 0; row < target.height; ++row) {
        const Place place = place_of(row, target.height, source.height, kAllOfARow);
        const int second = std::min(place.first + 1, source.height - 1);
        blend_rows(source.row(place.first), source.row(second), place.weight, blended.data(), blended.size());
        columns.scale(blended.data(), target.row(row));
    }
}

// Each row of the source gets its width once: of two neighbours one has an even number and one an odd.
void scale_columns_first(const Pixels& source, const Pixels& target, Columns& columns) {
    struct Row {
        int number = -1;
        std::vector<uint8_t> bytes;
    };
    std::array<Row, 2> latest;
    const auto scaled = [&](int number) {
        Row& row = latest[static_cast<std::size_t>(number % 2)];
        row.bytes.resize(columns.bytes());
        if (row.number != number)
            columns.scale(source.row(number), row.bytes.data());
        row.number = number;
        return row.bytes.data();
    };
    for (int row = 0; row < target.height; ++row) {
        const Place place = place_of(row, target.height, source.height, kAllOfARow);
        const uint8_t* first = scaled(place.first);
        const uint8_t* second = scaled(std::min(place.first + 1, source.height - 1));
        blend_rows(first, second, place.weight, target.row(row), columns.bytes());
    }
}

// A row that libyuv can count the bytes of.
bool is_size(int width, int height) {
    return width > 0 && height > 0 && width <= INT_MAX / kPixelBytes;
}

}  // namespace

bool qm_scale_linear(void* dst, int dst_width, int dst_height, int dst_pitch, const void* src, int src_width,
                     int src_height, int src_pitch) {
    if (dst == nullptr || src == nullptr || !is_size(dst_width, dst_height) || !is_size(src_width, src_height))
        return false;
    const Pixels target{static_cast<uint8_t*>(dst), ptrdiff_t{dst_pitch} * kPixelBytes, dst_width, dst_height};
    // Only read from.
    auto* const pixels = static_cast<uint8_t*>(const_cast<void*>(src));
    const Pixels source{pixels, ptrdiff_t{src_pitch} * kPixelBytes, src_width, src_height};
    Columns columns(dst_width, src_width);
    if (dst_height < src_height)
        scale_rows_first(source, target, columns);
    else
        scale_columns_first(source, target, columns);
    return true;
}

}  // namespace qmio
