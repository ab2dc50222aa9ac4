// Blocks of the host's memory as sources and targets: 32 bytes of header, then the data. The header is a text ended by
// a NUL: "mem:" and the size of the data in hexadecimal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace qmio::memory_block {

inline constexpr const char* kPrefix = "mem:";
inline constexpr std::size_t kHeaderSize = 32;

bool is_block(const char* name);

// False when the header tells no size, or one that no block can have.
bool parse_size(const char* block, int64_t& size);

// The header, which may lack its end.
std::string header_text(const char* block);

inline uint8_t* data(char* block) {
    return reinterpret_cast<uint8_t*>(block) + kHeaderSize;
}
inline const uint8_t* data(const char* block) {
    return reinterpret_cast<const uint8_t*>(block) + kHeaderSize;
}

}  // namespace qmio::memory_block
