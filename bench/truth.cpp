#include "truth.h"

#include <cstdlib>
#include <string_view>

namespace bench {

namespace {

constexpr int kPatch = 8;

uint64_t hash_of(const PictureView& picture) {
    const auto bytes = static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height) *
                       static_cast<std::size_t>(picture.pixel_bytes);
    return std::hash<std::string_view>{}({reinterpret_cast<const char*>(picture.data), bytes});
}

int green_of_patch(const PictureView& picture, int left, int top) {
    int sum = 0;
    for (int y = top; y < top + kPatch; ++y)
        for (int x = left; x < left + kPatch; ++x)
            sum += picture.data[(static_cast<std::ptrdiff_t>(y) * picture.width + x) * picture.pixel_bytes + 1];
    return sum;
}

template <class Likeness>
int64_t distance(const Likeness& one, const Likeness& other) {
    int64_t sum = 0;
    for (std::size_t at = 0; at < one.size(); ++at)
        sum += std::abs(one[at] - other[at]);
    return sum;
}

}  // namespace

Truth::Truth(const std::string& path) {
    const std::unique_ptr<Reader> reader = open_plain_reader(path);
    while (reader->next())
        pictures_.push_back({hash_of(reader->picture()), likeness_of(reader->picture())});
}

Truth::Likeness Truth::likeness_of(const PictureView& picture) {
    Likeness likeness{};
    std::size_t patch = 0;
    for (int row = 0; row < kRows; ++row)
        for (int column = 0; column < kColumns; ++column)
            likeness[patch++] = green_of_patch(picture, (picture.width - kPatch) * column / kColumns,
                                               (picture.height - kPatch) * row / kRows);
    return likeness;
}

bool Truth::is_exactly(const PictureView& picture, int number) const {
    return hash_of(picture) == pictures_[static_cast<std::size_t>(number)].hash;
}

bool Truth::looks_like(const PictureView& picture, int number) const {
    const Likeness likeness = likeness_of(picture);
    const int64_t nearest = distance(likeness, pictures_[static_cast<std::size_t>(number)].likeness);
    for (const Picture& other : pictures_)
        if (distance(likeness, other.likeness) < nearest)
            return false;
    return true;
}

}  // namespace bench
