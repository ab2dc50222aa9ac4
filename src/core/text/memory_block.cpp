#include "core/text/memory_block.h"

#include <charconv>
#include <cstring>
#include <limits>

#include "core/text/names.h"
#include "ffmpeg/ffmpeg.h"

namespace qmio::memory_block {

bool is_block(const char* name) {
    return has_prefix(name, kPrefix);
}

bool parse_size(const char* block, int64_t& size) {
    const char* end = block + av_strnlen(block, kHeaderSize);
    const char* digits = block + std::strlen(kPrefix);
    while (digits < end && av_isspace(*digits) != 0)
        ++digits;
    const std::from_chars_result result = std::from_chars(digits, end, size, 16);
    // No block reaches beyond the end of the address space.
    const auto room = std::numeric_limits<intptr_t>::max() - reinterpret_cast<intptr_t>(block) - int64_t{kHeaderSize};
    return result.ec == std::errc() && size >= 0 && size <= room;
}

std::string header_text(const char* block) {
    return std::string(block, av_strnlen(block, kHeaderSize));
}

}  // namespace qmio::memory_block
