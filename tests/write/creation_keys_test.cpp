// Which pairs of an option text FFmpeg gets, and what becomes of metadata and time code.
#include "write/creation_keys.h"

#include <gtest/gtest.h>

#include <vector>

#include "write/create.h"

namespace qmio::write {
namespace {

using Pairs = std::vector<Option>;

Pairs handed_on(const char* text) {
    const Options options = for_ffmpeg(Options(text));
    return Pairs(options.begin(), options.end());
}

Pairs entries_of(const AVDictionary* dictionary) {
    Pairs entries;
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(dictionary, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr)
        entries.push_back({entry->key, entry->value});
    return entries;
}

Pairs metadata_of(const char* text) {
    ffmpeg::Dictionary dictionary;
    add_metadata(dictionary.address(), Options(text));
    return entries_of(dictionary.entries());
}

TEST(ForFfmpeg, AreThePairsThatTheLibraryDoesNotKnow) {
    EXPECT_EQ(handed_on("g=12,movflags=faststart,b:v=2M"),
              (Pairs{{"g", "12"}, {"movflags", "faststart"}, {"b:v", "2M"}}));
}

TEST(ForFfmpeg, AreNotThoseThatDescribeTheNewFile) {
    EXPECT_EQ(handed_on("fmt=mp4,f=mp4,vcodec=mpeg4,c:v=mpeg4,size=64x64,width=1,height=1,vtag=a,atag=b"), Pairs{});
}

TEST(ForFfmpeg, AreNotTheTracksOwnAlsoWithASuffix) {
    EXPECT_EQ(handed_on("acodec=aac,ar=48000,ac=2,sample_rate=1,channels=1"), Pairs{});
    EXPECT_EQ(handed_on("ar:a=48000,ac:a=2"), Pairs{});
}

TEST(ForFfmpeg, AreThoseThatFfmpegSharesWithTheLibrary) {
    EXPECT_EQ(handed_on("strict:v=experimental,b:a=128k,ab=64k"),
              (Pairs{{"strict:v", "experimental"}, {"b:a", "128k"}, {"ab", "64k"}}));
}

TEST(CreationKeys, AreFoundByTheirMeaning) {
    const Options options("b:a=128k,codec:v=a,vcodec=b");
    EXPECT_EQ(*find(options, CreationKey::video_encoder), "a");
    EXPECT_EQ(find(options, CreationKey::frame_rate), nullptr);
    EXPECT_EQ(find_number(options, CreationKey::audio_bit_rate), 128000);
    EXPECT_EQ(find_number(Options("b:a=128k,ab=64k"), CreationKey::audio_bit_rate), 64000);
    EXPECT_EQ(find_number(Options("b:a=128k,ab=0"), CreationKey::audio_bit_rate), 128000);
}

TEST(MetadataOptions, QuotedListGivesOneTagPerPair) {
    EXPECT_EQ(metadata_of("metadata=\"title=A,artist=C\""), (Pairs{{"title", "A"}, {"artist", "C"}}));
}

TEST(MetadataOptions, SpaceEndsAValueOfTheInnerList) {
    EXPECT_EQ(metadata_of("metadata=\"title=A B\""), (Pairs{{"title", "A"}, {"B", ""}}));
}

TEST(MetadataOptions, EveryListCounts) {
    EXPECT_EQ(metadata_of("metadata=title=A,fmt=mp4,metadata=artist=C,title=X"),
              (Pairs{{"title", "A"}, {"artist", "C"}}));
}

TEST(MetadataOptions, BlanksAndDoubledCommasAreNoTags) {
    EXPECT_EQ(metadata_of("metadata=\"title=A,, \""), (Pairs{{"title", "A"}}));
    EXPECT_EQ(metadata_of("metadata="), Pairs{});
    EXPECT_EQ(metadata_of(nullptr), Pairs{});
}

TEST(TimecodeOption, IsTheOnlyKeyTaken) {
    ffmpeg::Dictionary dictionary;
    add_timecode(dictionary.address(), Options("fmt=mp4,timecode=10:00:00:00,title=x,Timecode=1"));
    EXPECT_EQ(entries_of(dictionary.entries()), (Pairs{{"timecode", "10:00:00:00"}}));
}

TEST(TimecodeOption, WithoutItTheDictionaryStaysEmpty) {
    ffmpeg::Dictionary dictionary;
    add_timecode(dictionary.address(), Options("fmt=mp4"));
    add_timecode(dictionary.address(), Options());
    EXPECT_EQ(dictionary.entries(), nullptr);
}

}  // namespace
}  // namespace qmio::write
