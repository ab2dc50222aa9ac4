// Small films for targets that are about something else than a file's bytes.
#pragma once

#include <qmio.h>

#include <cstdint>
#include <vector>

namespace qmio::fuzz {

inline constexpr int kFilmWidth = 32, kFilmHeight = 32, kFilmFrames = 12;

inline void write_film(MediaHandle* writer) {
    const int bytes = kFilmWidth * kFilmHeight * 3 / 2;
    for (int frame = 0; frame < kFilmFrames; ++frame)
        qmio_write_frame(writer, std::vector<uint8_t>(static_cast<std::size_t>(bytes), uint8_t(frame * 20)).data());
    qmio_close(writer);
}

}  // namespace qmio::fuzz
