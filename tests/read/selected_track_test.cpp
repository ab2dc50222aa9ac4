// Reading packets with one audio track selected.
#include <gtest/gtest.h>

#include <map>

#include "core/handle/media_handle.h"
#include "support/media.h"

namespace qmio::test {
namespace {

// How often qmio_get_frame gave each result for packets of each stream.
std::map<std::pair<int, int>, int> results_by_stream(MediaHandle* handle) {
    std::map<std::pair<int, int>, int> results;
    for (int kind = qmio_get_frame(handle); kind >= 0; kind = qmio_get_frame(handle)) {
        ++results[{qmio_get_vstream(handle), kind}];
        qmio_release_frame(handle);
    }
    return results;
}

TEST(SelectedTrack, OnlyItsPacketsCountAsSound) {
    Player player(media_path("two_audio_tracks.mp4"));
    player.handle()->sound.cur_track = 1;
    auto results = results_by_stream(player.handle());
    EXPECT_EQ(results.size(), 3U);
    EXPECT_EQ((results[{0, 1}]), 150);
    EXPECT_GT((results[{1, 0}]), 0);
    EXPECT_GT((results[{2, 2}]), 0);
}

TEST(SelectedTrack, NegativeMeansEveryTrack) {
    Player player(media_path("two_audio_tracks.mp4"));
    player.handle()->sound.cur_track = -1;
    auto results = results_by_stream(player.handle());
    EXPECT_EQ(results.size(), 3U);
    EXPECT_GT((results[{1, 2}]), 0);
    EXPECT_GT((results[{2, 2}]), 0);
}

TEST(SelectedTrack, TheStreamOfItsLastPacketIsTold) {
    Player player(media_path("two_audio_tracks.mp4"));
    player.handle()->sound.cur_track = 1;
    while (qmio_get_frame(player.handle()) != 2)
        qmio_release_frame(player.handle());
    EXPECT_EQ(qmio_get_astream(player.handle()), 2);
    qmio_release_frame(player.handle());
}

}  // namespace
}  // namespace qmio::test
