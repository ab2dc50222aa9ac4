// The tests' lists of keys are the library's: a key that is added there is asked for everywhere, or this fails. (That the
// command-line host lists the same keys is tested with the host.)
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "info/keys.h"
#include "support/parameter_keys.h"

namespace qmio::info {
namespace {

using Names = std::vector<std::string>;

Names sorted(const std::vector<std::string_view>& keys) {
    Names names(keys.begin(), keys.end());
    std::sort(names.begin(), names.end());
    return names;
}

Names sorted(std::initializer_list<Names> lists) {
    Names names;
    for (const Names& list : lists)
        names.insert(names.end(), list.begin(), list.end());
    std::sort(names.begin(), names.end());
    return names;
}

TEST(KeyLists, OfTextsAreTheLibrarys) {
    EXPECT_EQ(sorted({test::kTextKeys}), sorted(text_keys()));
}

TEST(KeyLists, OfFilesAreTheLibrarys) {
    EXPECT_EQ(sorted({test::kFileKeys, test::kSharedKeys}), sorted(file_keys()));
    for (const std::string& key : test::kFileKeys)
        EXPECT_FALSE(find_file_key(key.c_str())->of_streams) << key;
    for (const std::string& key : test::kSharedKeys)
        EXPECT_TRUE(find_file_key(key.c_str())->of_streams) << key;
}

TEST(KeyLists, OfTracksAreTheLibrarys) {
    EXPECT_EQ(sorted({test::kTrackKeys, test::kSharedTrackKeys}), sorted(track_keys()));
}

TEST(KeyLists, OfStreamsAreTheLibrarys) {
    EXPECT_EQ(sorted({test::kStreamKeys, {"gop", "set_gop"}}), sorted(stream_keys()));
}

TEST(KeyLists, OfPartsAreTheLibrarys) {
    EXPECT_EQ(sorted({test::kPartKeys}), sorted(part_keys()));
    Names texts = sorted({test::kContainerTextKeys, test::kVideoTextKeys, test::kTrackTextKeys});
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    EXPECT_EQ(texts, sorted(part_text_keys()));
}

TEST(KeyLists, NoKeyHasTwoMeanings) {
    for (const std::string_view key : part_keys()) {
        const std::string name(key);
        EXPECT_EQ(find_file_key(name.c_str()), nullptr) << name;
        for (const auto& others : {track_keys(), stream_keys()})
            EXPECT_EQ(std::count(others.begin(), others.end(), key), 0) << name;
    }
}

TEST(KeyLists, OfTimesAreTheLibrarys) {
    EXPECT_EQ(sorted({test::kTimeKeys}), sorted(time_keys()));
}

}  // namespace
}  // namespace qmio::info
