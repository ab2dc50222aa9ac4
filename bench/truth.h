// What the pictures of a clip are: those that a plain loop decodes from its start to its end.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "reader.h"

namespace bench {

class Truth {
  public:
    explicit Truth(const std::string& path);

    int frames() const { return static_cast<int>(pictures_.size()); }

    // True when every byte is that of frame `number`.
    bool is_exactly(const PictureView& picture, int number) const;

    // True when the picture looks like frame `number` more than like any other, whatever made its colours.
    bool looks_like(const PictureView& picture, int number) const;

  private:
    static constexpr int kColumns = 32;
    static constexpr int kRows = 18;
    using Likeness = std::array<int, std::size_t{kColumns} * kRows>;  // green of patches all over the picture

    struct Picture {
        uint64_t hash;
        Likeness likeness;
    };

    static Likeness likeness_of(const PictureView& picture);

    std::vector<Picture> pictures_;
};

}  // namespace bench
