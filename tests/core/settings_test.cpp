// What the keys of the configuration file mean.
#include "core/process/settings.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace qmio;

Settings configured(const std::string& entries) {
    Settings settings;
    const auto database = qmlib::XmlDatabase::parse("<configuration>" + entries + "</configuration>");
    if (database == nullptr)
        throw std::runtime_error("malformed");
    apply_configuration(*database, settings);
    return settings;
}

uint32_t code_page(const std::string& encoding) {
    return configured("<encoding>" + encoding + "</encoding>").code_page;
}
int32_t log_level(const std::string& name) {
    return configured("<log>" + name + "</log>").log_level;
}
int32_t scale_algorithm(const std::string& value) {
    return configured("<scale_alg>" + value + "</scale_alg>").scale_algorithm;
}

TEST(Settings, DefaultsHoldForEveryMissingKey) {
    const Settings settings = configured("");
    for (const int32_t value : settings.trace)
        EXPECT_EQ(value, 0);
    EXPECT_EQ(settings.scale_algorithm, 1);
    EXPECT_EQ(settings.core_count, 0);
    EXPECT_EQ(settings.frame_cache, 256);
    EXPECT_EQ(settings.code_page, 65001u);
    EXPECT_EQ(settings.log_level, 16);
    EXPECT_EQ(settings.ffmpeg_log, 1);
    EXPECT_EQ(settings.nested_open, 0);
    EXPECT_EQ(settings.max_pixels, 268435456);
    EXPECT_EQ(settings.max_streams, 256);
}

TEST(Settings, FFmpegsLogMayBeLeftAlone) {
    EXPECT_EQ(configured("<ffmpeg_log>0</ffmpeg_log>").ffmpeg_log, 0);
}

// What is installed as a sample tells every default and changes nothing.
TEST(Settings, AreTheDefaultsOfTheSample) {
    const auto sample = qmlib::XmlDatabase::read(QMIO_SAMPLE_CONFIGURATION);
    ASSERT_NE(sample, nullptr);
    Settings settings;
    apply_configuration(*sample, settings);
    const Settings defaults;
    EXPECT_EQ(settings.trace, defaults.trace);
    EXPECT_EQ(settings.scale_algorithm, defaults.scale_algorithm);
    EXPECT_EQ(settings.core_count, defaults.core_count);
    EXPECT_EQ(settings.code_page, defaults.code_page);
    EXPECT_EQ(settings.frame_cache, defaults.frame_cache);
    EXPECT_EQ(settings.log_level, defaults.log_level);
    EXPECT_EQ(settings.log_to_file, defaults.log_to_file);
    EXPECT_EQ(settings.ffmpeg_log, defaults.ffmpeg_log);
    EXPECT_EQ(settings.nested_open, defaults.nested_open);
    EXPECT_EQ(settings.max_pixels, defaults.max_pixels);
    EXPECT_EQ(settings.max_streams, defaults.max_streams);
    EXPECT_TRUE(sample->values("decoder").empty());
}

TEST(Settings, LimitsAreDecimal) {
    const Settings settings =
        configured("<nested_open>1</nested_open><max_pixels>1000000</max_pixels><max_streams>012</max_streams>");
    EXPECT_EQ(settings.nested_open, 1);
    EXPECT_EQ(settings.max_pixels, 1000000);
    EXPECT_EQ(settings.max_streams, 12);
}

TEST(Settings, EveryTraceSwitchHasItsKey) {
    const char* const names[] = {"options", "create", "open",  "write", "audio",
                                 "read",    "seek",   "close", "fifo",  "decoder"};
    for (std::size_t index = 0; index < std::size(names); ++index) {
        const std::string name = names[index];
        const Settings settings = configured("<trace><" + name + ">7</" + name + "></trace>");
        for (std::size_t other = 0; other < settings.trace.size(); ++other)
            EXPECT_EQ(settings.trace[other], other == index ? 7 : 0) << name;
    }
}

TEST(Settings, TraceSwitchesAreDecimal) {
    const Settings settings =
        configured("<trace><open>0x10</open><seek>010</seek><read>on</read><close>-3x</close></trace>");
    EXPECT_EQ(settings.trace[static_cast<std::size_t>(TraceSwitch::open)], 0);
    EXPECT_EQ(settings.trace[static_cast<std::size_t>(TraceSwitch::seek)], 10);
    EXPECT_EQ(settings.trace[static_cast<std::size_t>(TraceSwitch::read)], 0);
    EXPECT_EQ(settings.trace[static_cast<std::size_t>(TraceSwitch::close)], -3);
}

TEST(Settings, ScaleAlgorithmTakesDecimalHexadecimalAndOctal) {
    EXPECT_EQ(scale_algorithm("4"), 4);
    EXPECT_EQ(scale_algorithm("0x4"), 4);
    EXPECT_EQ(scale_algorithm("0x200"), 512);
    EXPECT_EQ(scale_algorithm("020"), 16);
    EXPECT_EQ(scale_algorithm("0"), 0);
    EXPECT_EQ(scale_algorithm("-1"), -1);
}

TEST(Settings, NumbersBeyond32BitsAreHeldWithin) {
    EXPECT_EQ(scale_algorithm("0xFFFFFFFFFFFFFFFFFF"), std::numeric_limits<int32_t>::max());
    EXPECT_EQ(scale_algorithm("-99999999999"), std::numeric_limits<int32_t>::min());
}

TEST(Settings, CoreCountTakesDecimalHexadecimalAndOctal) {
    EXPECT_EQ(configured("<num_cores>8</num_cores>").core_count, 8);
    EXPECT_EQ(configured("<num_cores>0x10</num_cores>").core_count, 16);
    EXPECT_EQ(configured("<frame_cache>0</frame_cache>").frame_cache, 0);
    EXPECT_EQ(configured("<frame_cache>1024</frame_cache>").frame_cache, 1024);
}

TEST(Settings, EmptyEntriesKeepTheDefault) {
    const Settings settings = configured("<scale_alg/><encoding> </encoding><log/><num_cores></num_cores>");
    EXPECT_EQ(settings.scale_algorithm, 1);
    EXPECT_EQ(settings.code_page, 65001u);
    EXPECT_EQ(settings.log_level, 16);
}

TEST(Settings, EncodingNamesSelectCodePagesInAnyCase) {
    EXPECT_EQ(code_page("Win1251"), 1251u);
    EXPECT_EQ(code_page("1251"), 1251u);
    EXPECT_EQ(code_page("windows-1252"), 1252u);
    EXPECT_EQ(code_page("ACP"), 0u);
    EXPECT_EQ(code_page("acp"), 0u);
    EXPECT_EQ(code_page("UTF-8"), 65001u);
    EXPECT_EQ(code_page("Unicode"), 65001u);
}

// A text that is no number reads as 0, which is the ANSI code page.
TEST(Settings, EncodingWithoutANumberSelectsTheAnsiCodePage) {
    EXPECT_EQ(code_page("win"), 0u);
    EXPECT_EQ(code_page("cp1251"), 0u);
}

TEST(Settings, LogLevelsHaveNames) {
    EXPECT_EQ(log_level("quiet"), -8);
    EXPECT_EQ(log_level("panic"), 0);
    EXPECT_EQ(log_level("fatal"), 8);
    EXPECT_EQ(log_level("error"), 16);
    EXPECT_EQ(log_level("warning"), 24);
    EXPECT_EQ(log_level("info"), 32);
    EXPECT_EQ(log_level("verbose"), 40);
    EXPECT_EQ(log_level("debug"), 48);
}

TEST(Settings, UnknownLogLevelsKeepTheDefault) {
    EXPECT_EQ(log_level("Debug"), 16);
    EXPECT_EQ(log_level("trace"), 16);
    EXPECT_EQ(log_level("48"), 16);
}

TEST(Settings, ConfigurationLiesBesideTheLibrary) {
    EXPECT_EQ(configuration_path("C:\\lib\\qmio.dll"), "C:\\lib\\qmio.cfx");
    EXPECT_EQ(configuration_path("C:\\lib.v1\\qmio.2.dll"), "C:\\lib.v1\\qmio.2.cfx");
    EXPECT_EQ(configuration_path("C:\\lib\\libqmio.so.dll"), "C:\\lib\\libqmio.so.cfx");
    EXPECT_EQ(configuration_path("/usr/lib/libqmio.so"), "/usr/lib/libqmio.cfx");
    EXPECT_EQ(configuration_path("/usr/bin/host"), "/usr/bin/host.cfx");
}

TEST(Settings, AllVersionsOfASharedObjectShareOneConfiguration) {
    EXPECT_EQ(configuration_path("/usr/lib/libqmio.so.3"), "/usr/lib/libqmio.cfx");
    EXPECT_EQ(configuration_path("/usr/lib/libqmio.so.3.2.2"), "/usr/lib/libqmio.cfx");
    EXPECT_EQ(configuration_path("/opt/v.so.1/libqmio.so.3"), "/opt/v.so.1/libqmio.cfx");
    EXPECT_EQ(configuration_path("/opt/lib.sound.so"), "/opt/lib.sound.cfx");
    EXPECT_EQ(configuration_path("/opt/lib.sound.plugin"), "/opt/lib.sound.cfx");
}

TEST(Settings, CodecMutexIsNamedAfterTheConfiguration) {
    EXPECT_EQ(codec_mutex_name("C:\\lib\\qmio.cfx"), "C:/lib/qmio.cfx.mx");
    EXPECT_EQ(codec_mutex_name("/usr/lib/libqmio.cfx"), "/usr/lib/libqmio.cfx.mx");
}

}  // namespace
