// What the public interface does not show yet: trace lines, the time of the frame decoded last, channels left as they
// were, and the way back, from a host's sound into a file's form.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <regex>

#include "core/handle/media_handle.h"
#include "support/guarded_memory.h"
#include "support/media.h"
#include "support/sound_files.h"
#include "support/sound_host.h"
#include "support/trace_lines.h"

namespace qmio::test {
namespace {

using Lines = std::vector<std::string>;

// Lines of one tag, addresses replaced.
Lines lines_of(const TraceLines& trace, const std::string& tag) {
    static const std::regex address("ctx .*$");
    Lines lines;
    for (const std::string& line : trace.read())
        if (line.starts_with(tag + ": "))
            lines.push_back(std::regex_replace(line.substr(tag.size() + 2), address, "ctx *"));
    return lines;
}

// ---- trace lines ----

TEST(AudioTrace, TellsOfChoosingAFormWithoutConversion) {
    const Media media = open_sound(sound("stereo_s16.wav"));
    const TraceLines trace(TraceSwitch::audio);
    ASSERT_TRUE(choose(media, 0, {2, 44100, AV_SAMPLE_FMT_S16}));
    EXPECT_EQ(lines_of(trace, "qmio_set_dst_audio"), Lines{"dst channels 2, src streams 1, channels 2"});
}

TEST(AudioTrace, TellsOfTheResampler) {
    const Media media = open_sound(sound("tracks_3.mkv"));
    const TraceLines trace(TraceSwitch::audio);
    ASSERT_TRUE(choose(media, 2, {2, 48000, AV_SAMPLE_FMT_S16}));
    EXPECT_EQ(lines_of(trace, "qmio_set_dst_audio"), (Lines{"track 2: file -> user, ctx *", "need resample, ctx *",
                                                            "dst channels 2, src streams 3, channels 9"}));
}

TEST(AudioTrace, TellsOfResamplersThatCannotBe) {
    const Media media = open_sound(sound("tracks_1.mkv"));
    const TraceLines trace(TraceSwitch::audio);
    ASSERT_TRUE(choose(media, 0, {9, 48000, AV_SAMPLE_FMT_S16}));
    EXPECT_EQ(lines_of(trace, "qmio_set_dst_audio"),
              (Lines{"track 0: file -> user, ctx *", "swr_init failed", "need resample, ctx *",
                     "dst channels 9, src streams 1, channels 1"}));
    EXPECT_EQ(media->sound.need_resample, 0);
}

TEST(AudioTrace, TellsOfTracksWhoseResamplersCannotBe) {
    const Media media = open_sound(sound("tracks_2.mkv"));
    const TraceLines trace(TraceSwitch::audio);
    ASSERT_TRUE(choose(media, -1, {2, 0, AV_SAMPLE_FMT_S16}));
    EXPECT_EQ(lines_of(trace, "qmio_set_dst_audio"),
              (Lines{"track 0: file -> user, ctx *", "swr_init failed on track 0", "swr_init failed on track 1",
                     "swr_init failed", "need resample, ctx *", "dst channels 2, src streams 2, channels 3"}));
}

TEST(AudioTrace, TellsTheMapOfAChoiceWhenOpeningIsTracedToo) {
    const Media media = open_sound(sound("stereo_s16.wav"));
    const TraceLines trace(TraceSwitch::audio);
    const_cast<Settings&>(settings()).trace[static_cast<std::size_t>(TraceSwitch::open)] = 1;
    ASSERT_TRUE(choose(media, 0, {2, 44100, AV_SAMPLE_FMT_S16}));
    const_cast<Settings&>(settings()).trace[static_cast<std::size_t>(TraceSwitch::open)] = 0;
    EXPECT_EQ(lines_of(trace, "qmio_set_dst_audio"),
              (Lines{"dst channels 2, src streams 1, channels 2", "mapping 0 1 "}));
}

TEST(AudioTrace, TellsTheMapWithTheFirstPacketAlone) {
    const Media media = open_sound(sound("stereo_s16.wav"));
    ASSERT_TRUE(choose(media, 0, {2, 44100, AV_SAMPLE_FMT_S16}));
    qmio_map_audio(media.get(), 1, -1);
    const TraceLines trace(TraceSwitch::audio);
    read_pieces(media, 2);
    const Lines lines = lines_of(trace, "qmio_audio_pkt");
    ASSERT_GE(lines.size(), 3U);
    EXPECT_EQ(lines[0], "file (s16) bps 2, user (s16) bps 2");
    EXPECT_EQ(lines[1], "mapping 0 -1 ");
    EXPECT_EQ(lines[2], "file (s16) bps 2, user (s16) bps 2");
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [](const auto& line) { return line.starts_with("map"); }), 1);
}

TEST(AudioTrace, TheMapIsNotToldLaterWhenTheFirstPacketWasNotTraced) {
    const Media media = open_sound(sound("stereo_s16.wav"));
    Bytes buffer(1 << 20);
    ASSERT_EQ(qmio_get_frame(media.get()), 2);
    ASSERT_GT(qmio_audio_frame(media.get(), buffer.data()), 0);
    qmio_release_frame(media.get());
    const TraceLines trace(TraceSwitch::audio);
    read_pieces(media, 1);
    for (const std::string& line : lines_of(trace, "qmio_audio_pkt"))
        EXPECT_FALSE(line.starts_with("mapping")) << line;
}

TEST(AudioTrace, TellsOfEveryConversion) {
    const Media media = open_sound(sound("stereo_s16.wav"));
    ASSERT_TRUE(choose(media, 0, {2, 22050, AV_SAMPLE_FMT_FLTP}));
    const std::vector<PlainTrack> tracks = decode_plainly(sound("stereo_s16.wav"));
    PlainResampler resampler(tracks[0].form, {2, 22050, AV_SAMPLE_FMT_FLTP});
    const Block block = resampler.convert(*tracks[0].frames[0]);
    const TraceLines trace(TraceSwitch::audio);
    Bytes buffer(1 << 20);
    ASSERT_EQ(qmio_get_frame(media.get()), 2);
    ASSERT_GT(qmio_audio_frame(media.get(), buffer.data()), 0);
    const int samples = tracks[0].frames[0]->nb_samples;
    EXPECT_EQ(lines_of(trace, "qmio_audio_pkt"), (Lines{"file (s16) bps 2, user (fltp) bps 4", "mapping 0 1 ",
                                                        "resample " + std::to_string(samples) + " samples -> " +
                                                            std::to_string((samples + 1) / 2) + " samples",
                                                        "swr_convert " + std::to_string(block.count) + " samples"}));
}

TEST(AudioTrace, TellsOfDamageAlsoWhenNothingElseIsTraced) {
    const Media media = open_sound(sound("stereo_16_bit.flac"));
    const TraceLines trace(TraceSwitch::open);
    const Packet noise(av_packet_alloc());
    ASSERT_EQ(av_new_packet(noise.get(), 100), 0);
    std::fill_n(noise->data, 100, uint8_t{0x5A});
    Bytes buffer(1 << 20);
    EXPECT_EQ(qmio_audio_pkt(media.get(), buffer.data(), noise.get()), 0);
    EXPECT_EQ(lines_of(trace, "qmio_audio_pkt"), Lines{"avcodec_decode_audio4 error"});
}

// A decoder that were given the rest of such a packet again would complain of it.
TEST(AudioTrace, HasNoComplaintsOfPacketsThatHoldSeveralFrames) {
    const Media media = open_sound(sound("three_frames_per_packet_mp2.mkv"));
    const TraceLines trace(TraceSwitch::open);
    EXPECT_GT(read_pieces(media).size(), 10U);
    EXPECT_EQ(trace.read(), Lines{});
}

// The resampler gets no memory of its own for a frame that is the first of its size.
// What taking a packet's sound tells while no piece of memory may be larger.
Lines told_with(std::size_t largest) {
    const Media media = open_sound(sound("stereo_s16.wav"));
    EXPECT_TRUE(choose(media, 0, {2, 22050, AV_SAMPLE_FMT_FLT}));
    Bytes buffer(1 << 20);
    EXPECT_EQ(qmio_get_frame(media.get()), 2);
    const TraceLines trace(TraceSwitch::open);
    av_max_alloc(largest);
    qmio_audio_frame(media.get(), buffer.data());
    av_max_alloc(INT_MAX);
    return lines_of(trace, "qmio_audio_pkt");
}

// How much decoding takes differs from release to release; converting takes more.
TEST(AudioTrace, TellsThatAConversionFailed) {
    std::size_t largest = 6000;
    while (largest < 100000 && told_with(largest) == Lines{"avcodec_decode_audio4 error"})
        largest += 1000;
    EXPECT_EQ(told_with(largest), Lines{"swr_convert error"});
}

TEST(AudioTrace, IsSilentWhileItsSwitchIsOff) {
    const Media media = open_sound(sound("stereo_s16.wav"));
    const TraceLines trace(TraceSwitch::open);
    ASSERT_TRUE(choose(media, 0, {1, 8000, AV_SAMPLE_FMT_FLT}));
    read_pieces(media, 2);
    EXPECT_EQ(lines_of(trace, "qmio_audio_pkt"), Lines{});
    EXPECT_EQ(lines_of(trace, "qmio_set_dst_audio"), Lines{});
}

// ---- channels without source ----

TEST(ChannelsWithoutSource, StayAsTheyWereWhenSilenceIsNotFilledIn) {
    const Media media = open_sound(sound("stereo_u8.wav"));
    ASSERT_TRUE(choose(media, 0, {2, 11025, AV_SAMPLE_FMT_U8}));
    qmio_map_audio(media.get(), 0, -1);
    EXPECT_TRUE(media->sound.fill_silence);
    media->sound.fill_silence = false;
    const std::vector<PlainTrack> tracks = decode_plainly(sound("stereo_u8.wav"));
    const Block block = block_of(*tracks[0].frames[0]);
    Bytes buffer(1 << 20, 0x77);
    ASSERT_EQ(qmio_get_frame(media.get()), 2);
    const int result = qmio_audio_frame(media.get(), buffer.data());
    ASSERT_EQ(result, static_cast<int>(2 * block.count));
    EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + result), interleaved(block, {-1, 1}, 0x77));
}

TEST(ChannelMap, WritesNothingBesideIt) {
    const Media media = open_sound(sound("stereo_u8.wav"));
    for (const int channel : {-1, 64, 65, 66})
        qmio_map_audio(media.get(), channel, 12345);
    EXPECT_EQ(media->sound.user.rate, 11025);
    EXPECT_EQ(media->sound.user.format, AV_SAMPLE_FMT_U8);
    EXPECT_EQ(media->sound.user.channels, 2);
    qmio_map_audio(media.get(), 63, 12345);
    EXPECT_EQ(media->sound.chan_map[63], 12345);
}

// ---- for writing ----

struct WriterCase {
    const char* encoder;
    SoundForm file;
    SoundForm user;
};
void PrintTo(const WriterCase& chosen, std::ostream* out) {
    *out << chosen.encoder;
}

Codec open_encoder(const char* name, const SoundForm& form) {
    const AVCodec* encoder = avcodec_find_encoder_by_name(name);
    Codec codec(avcodec_alloc_context3(encoder));
    codec->sample_fmt = form.format;
    codec->sample_rate = form.rate;
    codec->time_base = {1, form.rate};
    av_channel_layout_default(&codec->ch_layout, form.channels);
    return avcodec_open2(codec.get(), encoder, nullptr) < 0 ? nullptr : std::move(codec);
}

struct DestroyHandle {
    void operator()(MediaHandle* handle) const { destroy_handle(handle); }
};
using Writer = std::unique_ptr<MediaHandle, DestroyHandle>;

// A handle as one that writes has it, with one track.
Writer make_writer(const AVCodecContext& codec) {
    Writer writer(create_handle());
    writer->writing.mode = mode::writer;
    Track& track = writer->tracks.add();
    track.stream_index = 0;
    track.codec = const_cast<AVCodecContext*>(&codec);
    track.delivered = ffmpeg::form_of(codec);
    return writer;
}

// A host's sound: `count` samples of every channel, different in each, as its buffer holds them.
Bytes host_sound(const SoundForm& form, int count, int first) {
    const SoundForm plain{form.channels, form.rate, AV_SAMPLE_FMT_S16};
    Bytes bytes;
    for (int sample = first; sample < first + count; ++sample)
        for (int channel = 0; channel < form.channels; ++channel) {
            const auto value = static_cast<int16_t>(9000 * std::sin(0.01 * sample * (channel + 2)));
            bytes.insert(bytes.end(), {static_cast<uint8_t>(value & 0xFF), static_cast<uint8_t>((value >> 8) & 0xFF)});
        }
    const uint8_t* plane = bytes.data();
    return delivered(PlainResampler(plain, form).convert(&plane, count, form.rate), form.format);
}

class ConversionInto : public testing::TestWithParam<WriterCase> {
  protected:
    void SetUp() override {
        ASSERT_TRUE(codec_) << "no encoder " << GetParam().encoder;
        writer_ = make_writer(*codec_);
        ASSERT_EQ(qmio_set_dst_audio(writer_.get(), user_.channels, user_.rate, code_of(user_.format)), 1);
    }

    SoundForm file_ = GetParam().file;
    SoundForm user_ = GetParam().user;
    Codec codec_ = open_encoder(GetParam().encoder, file_);
    Writer writer_;
};
INSTANTIATE_TEST_SUITE_P(
    AFile, ConversionInto,
    testing::Values(WriterCase{"pcm_s16le", {2, 44100, AV_SAMPLE_FMT_S16}, {2, 48000, AV_SAMPLE_FMT_S16}},
                    WriterCase{"pcm_u8", {1, 8000, AV_SAMPLE_FMT_U8}, {2, 48000, AV_SAMPLE_FMT_FLTP}},
                    WriterCase{"pcm_s32le", {6, 96000, AV_SAMPLE_FMT_S32}, {2, 44100, AV_SAMPLE_FMT_S16P}},
                    WriterCase{"pcm_f64le", {8, 11025, AV_SAMPLE_FMT_DBL}, {8, 48000, AV_SAMPLE_FMT_S32}},
                    WriterCase{"aac", {2, 44100, AV_SAMPLE_FMT_FLTP}, {2, 48000, AV_SAMPLE_FMT_S16}},
                    WriterCase{"ac3", {6, 48000, AV_SAMPLE_FMT_FLTP}, {6, 44100, AV_SAMPLE_FMT_FLTP}},
                    WriterCase{"alac", {2, 48000, AV_SAMPLE_FMT_S16P}, {1, 16000, AV_SAMPLE_FMT_U8P}},
                    WriterCase{"wavpack", {6, 192000, AV_SAMPLE_FMT_FLTP}, {6, 8000, AV_SAMPLE_FMT_FLTP}},
                    WriterCase{"wavpack", {2, 192000, AV_SAMPLE_FMT_S16P}, {2, 11025, AV_SAMPLE_FMT_S16}},
                    WriterCase{"pcm_s32le", {3, 192000, AV_SAMPLE_FMT_S32}, {3, 8000, AV_SAMPLE_FMT_S16P}},
                    WriterCase{"wavpack", {1, 8000, AV_SAMPLE_FMT_S32P}, {1, 192000, AV_SAMPLE_FMT_S32}},
                    WriterCase{"aac", {6, 48000, AV_SAMPLE_FMT_FLTP}, {6, 48000, AV_SAMPLE_FMT_S64}}),
    [](const auto& chosen) { return chosen.param.encoder + std::string("_") + std::to_string(chosen.index); });

TEST_P(ConversionInto, IsWhatLibswresampleMakes) {
    PlainResampler model(user_, file_);
    const GuardedMemory memory(std::size_t{1} << 22);
    int first = 0;
    // Lengths that leave something inside, and some that are too short to give anything.
    for (const int count : {1024, 1000, 7, 1, 333, 4096, 1, 1024}) {
        const Bytes source = host_sound(user_, count, first);
        first += count;
        std::vector<const uint8_t*> planes(static_cast<std::size_t>(user_.channels));
        for (std::size_t channel = 0; channel < planes.size(); ++channel)
            planes[channel] = source.data() + channel * (source.size() / planes.size());
        const Bytes expected = delivered(model.convert(planes.data(), count, user_.rate), file_.format);
        const int result =
            qmio_resample_track(writer_.get(), 0, memory.at_start(), source.data(), static_cast<int>(source.size()));
        ASSERT_EQ(result, static_cast<int>(expected.size())) << count;
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), memory.at_start())) << count;
    }
}

// The room that a host is asked to have: as many samples as come in, times the ratio of the rates, and 256 more. In
// single samples much comes out at once when the filter is full.
TEST_P(ConversionInto, NeedsNoMoreRoomThanHostsAreAskedFor) {
    const std::size_t frame = static_cast<std::size_t>(file_.channels * av_get_bytes_per_sample(file_.format));
    std::vector<int> counts(60, 1);
    counts.insert(counts.end(), {10, 1000, 1, 5000});
    for (const int count : counts) {
        const Bytes source = host_sound(user_, count, 0);
        const std::size_t samples = static_cast<std::size_t>(int64_t{count} * file_.rate / user_.rate) + 256;
        const GuardedMemory target(samples * frame), origin(source.size());
        std::copy(source.begin(), source.end(), origin.at_end(source.size()));
        const int result = qmio_resample_track(writer_.get(), 0, target.at_end(samples * frame),
                                               origin.at_end(source.size()), static_cast<int>(source.size()));
        EXPECT_GE(result, 0);
        EXPECT_LE(static_cast<std::size_t>(result), samples * frame);
    }
}

// What a call has no room for comes with the next ones.
TEST_P(ConversionInto, LosesNothingInSingleSamples) {
    PlainResampler model(user_, file_);
    Bytes target(1 << 16);
    std::size_t converted = 0, expected = 0;
    for (int call = 0; call < 100; ++call) {
        const Bytes source = host_sound(user_, 1, call);
        std::vector<const uint8_t*> planes(static_cast<std::size_t>(user_.channels));
        for (std::size_t channel = 0; channel < planes.size(); ++channel)
            planes[channel] = source.data() + channel * (source.size() / planes.size());
        expected += delivered(model.convert(planes.data(), 1, user_.rate), file_.format).size();
        converted += static_cast<std::size_t>(
            qmio_resample_track(writer_.get(), 0, target.data(), source.data(), static_cast<int>(source.size())));
    }
    EXPECT_EQ(converted, expected);
}

TEST_P(ConversionInto, IsTraced) {
    PlainResampler model(user_, file_);
    const Bytes source = host_sound(user_, 1000, 0);
    std::vector<const uint8_t*> planes(static_cast<std::size_t>(user_.channels));
    for (std::size_t channel = 0; channel < planes.size(); ++channel)
        planes[channel] = source.data() + channel * (source.size() / planes.size());
    const std::size_t done = model.convert(planes.data(), 1000, user_.rate).count;
    const int expected = static_cast<int>(av_rescale_rnd(1000, file_.rate, user_.rate, AV_ROUND_UP));
    Lines lines;
    const auto add_planes = [&](const char* side, const SoundForm& form, int count) {
        if (av_sample_fmt_is_planar(form.format) == 0)
            return lines.push_back(std::string(side) + " packed");
        for (int plane = 0; plane < form.channels; ++plane)
            lines.push_back(side + (" plane " + std::to_string(plane)) + ": plane_size " +
                            std::to_string(count * av_get_bytes_per_sample(form.format)));
    };
    add_planes("dst", file_, expected);
    add_planes("src", user_, 1000);
    const auto form = [](const SoundForm& side, int count) {
        return std::to_string(side.channels) + " ch (" + av_get_sample_fmt_name(side.format) + ") " +
               std::to_string(side.rate) + " Hz " + std::to_string(count) + " samples";
    };
    lines.push_back("resample " + form(user_, 1000) + " ->  " + form(file_, expected));
    lines.push_back("done " + std::to_string(done) + " samples");
    const TraceLines trace(TraceSwitch::audio);
    Bytes target(1 << 20);
    qmio_resample_track(writer_.get(), 0, target.data(), source.data(), static_cast<int>(source.size()));
    EXPECT_EQ(lines_of(trace, "qmio_resample_track"), lines);
}

TEST_P(ConversionInto, LeavesTheTablesOfTheFileAlone) {
    EXPECT_EQ(qmio_track_chans(writer_.get(), 0), file_.channels);
    EXPECT_EQ(writer_->tracks.first().delivered.rate, file_.rate);
    EXPECT_EQ(writer_->tracks.first().delivered.format, file_.format);
    EXPECT_EQ(qmio_user_chans(writer_.get()), user_.channels);
}

TEST_P(ConversionInto, ForATrackThatThereIsNotGivesNothing) {
    Bytes source = host_sound(user_, 100, 0), target(1 << 16, 0xEE);
    const Bytes before = target;
    for (const int track : {-1, 1, 15, 16, INT32_MAX, INT32_MIN})
        EXPECT_EQ(qmio_resample_track(writer_.get(), track, target.data(), source.data(), 40), 0) << track;
    EXPECT_EQ(target, before);
}

TEST(ConversionForWriting, IsTracedAsLeadingToTheFile) {
    const Codec codec = open_encoder("pcm_s16le", {2, 44100, AV_SAMPLE_FMT_S16});
    const Writer writer = make_writer(*codec);
    const TraceLines trace(TraceSwitch::audio);
    ASSERT_EQ(qmio_set_dst_audio(writer.get(), 2, 48000, 16), 1);
    EXPECT_EQ(lines_of(trace, "qmio_set_dst_audio"), (Lines{"track 0: user -> file, ctx *", "need resample, ctx *",
                                                            "dst channels 2, src streams 1, channels 2"}));
}

TEST(ConversionForWriting, OfTheFilesOwnFormIsACopy) {
    const Codec codec = open_encoder("pcm_s16le", {2, 44100, AV_SAMPLE_FMT_S16});
    const Writer writer = make_writer(*codec);
    ASSERT_EQ(qmio_set_dst_audio(writer.get(), 2, 44100, 16), 1);
    const Bytes source = {1, 2, 3, 4, 5};
    Bytes target(6, 0xEE);
    EXPECT_EQ(qmio_resample_track(writer.get(), 0, target.data(), source.data(), 5), 5);
    EXPECT_EQ(target, (Bytes{1, 2, 3, 4, 5, 0xEE}));
}

}  // namespace
}  // namespace qmio::test
