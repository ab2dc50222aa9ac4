#include "ffmpeg/option_names.h"

#include <string_view>

namespace qmio::ffmpeg {

namespace {

struct Renamed {
    std::string_view before;
    const char* now;
};

constexpr Renamed kRenamed[] = {{"channel_layout", "ch_layout"}};

}  // namespace

const AVOption* find_option(void* object, const char* key, int search_flags) {
    const AVOption* option = av_opt_find(object, key, nullptr, 0, search_flags);
    for (const Renamed& renamed : kRenamed)
        if (option == nullptr && key == renamed.before)
            option = av_opt_find(object, renamed.now, nullptr, 0, search_flags);
    return option;
}

}  // namespace qmio::ffmpeg
