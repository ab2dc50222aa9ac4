// Sources that are read in the background, and a host that takes what comes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "packet/background_model.h"
#include "support/media.h"
#include "support/open_media.h"
#include "support/seed.h"

namespace qmio::test {

inline constexpr std::string_view kFiles[] = {
    "plain.mp4",      "bframes_open_gop.mp4",       "h264.ts",   "mpeg2.ts",
    "hevc.ts",        "two_audio_tracks.mp4",       "mjpeg.avi", "starts_at_8s.ts",
    "h264.mkv",       "two_tracks_pcm_mp2.mkv",     "vfr.mp4",   "starts_at_8s.mp4",
    "fragmented.mp4", "seventeen_audio_tracks.mkv", "tone.wav",  "edit_list.mp4"};
inline constexpr std::size_t kBound = 20000;

// The thread sanitizer knows nothing of how an FFmpeg that was built without it lets its threads wait for one another.
inline constexpr const wchar_t* kOneThread = L"threads=1";
#ifdef __SANITIZE_THREAD__
inline constexpr const wchar_t* kThreads[] = {kOneThread};
#else
inline constexpr const wchar_t* kThreads[] = {kOneThread, L"threads=3"};
#endif

Media open_file(std::string_view name);

// What comes out of the queue.
std::vector<Seen> taken(std::string_view file, const packet::Range& range, std::size_t bound);

int64_t any_time(Dice& dice);
std::string description(std::string_view file, const packet::Range& range);
std::string first_difference(const std::vector<Seen>& actual, const std::vector<Seen>& expected);

struct Played {
    std::vector<int> kinds;
    std::vector<Picture> pictures;
    int sync_points = 0;
};

Played play(Player& player, std::size_t bound = 4000);

std::vector<uint64_t> hashes(const std::vector<Picture>& pictures, std::size_t first, std::size_t count);

}  // namespace qmio::test
