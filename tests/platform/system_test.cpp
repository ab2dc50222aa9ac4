#include "platform/system.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <ctime>

#include "platform/module_path_in.h"
#include "support/dynamic_library.h"
#include "support/process.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::platform;
using qmio::test::module_path_in;
using qmio::test::path_of;
using qmio::test::program_folder;
using qmio::test::TempDir;
using qmio::test::utf8;

std::filesystem::path copied_library(const std::filesystem::path& target) {
    std::filesystem::create_directories(target.parent_path());
    std::filesystem::copy_file(program_folder() / qmio::test::library_file_name("module_path_library"), target);
    return target;
}

TEST(ModulePath, IsTheProgramWhenLinkedIn) {
    const auto path = path_of(module_path());
    EXPECT_TRUE(path.is_absolute());
    EXPECT_EQ(path.stem(), "platform_test");
    EXPECT_TRUE(std::filesystem::equivalent(path.parent_path(), program_folder()));
}

TEST(ModulePath, IsTheLibraryWhenLoaded) {
    const TempDir folder;
    const auto library = copied_library(std::filesystem::canonical(folder.path()) / "lib" / "libsome.so.3");
    EXPECT_EQ(module_path_in(library), utf8(library));
}

TEST(ModulePath, MayBeInAnyLanguage) {
    const TempDir folder;
    const auto library = copied_library(std::filesystem::canonical(folder.path()) / path_of("папка 映像") / "some.dll");
    EXPECT_EQ(module_path_in(library), utf8(library));
}

// Fields from the most to the least significant, so that texts compare as times do.
std::string digits(int year, int month, int day, int hour, int minute, int second) {
    char text[64];
    std::snprintf(text, sizeof text, "%04d%02d%02d%02d%02d%02d", year, month, day, hour, minute, second);
    return text;
}

std::string standard_local_time() {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    const std::tm local = *std::localtime(&now);
    return digits(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

TEST(LocalTime, AgreesWithTheStandardLibrary) {
    const std::string before = standard_local_time();
    const LocalTime now = local_time();
    const std::string after = standard_local_time();
    const std::string between = digits(now.year, now.month, now.day, now.hour, now.minute, now.second);
    EXPECT_LE(before, between);
    EXPECT_LE(between, after);
    EXPECT_GE(now.millisecond, 0);
    EXPECT_LE(now.millisecond, 999);
}

// Clocks of some systems tick every 16 ms only.
TEST(TickCount, CountsMilliseconds) {
    using Clock = std::chrono::steady_clock;
    constexpr uint32_t kTick = 17;
    const auto begin = Clock::now();
    const uint32_t first = tick_count();
    while (Clock::now() - begin < std::chrono::milliseconds(60)) {
    }
    const uint32_t passed = tick_count() - first;
    const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count();
    EXPECT_GE(passed + kTick, 60u - 1);
    EXPECT_LE(passed, static_cast<uint32_t>(elapsed) + kTick);
}

TEST(Environment, GivesValuesAsUtf8) {
    qmio::test::set_environment("QMIO_TEST_VARIABLE", "Жук 映像 " + std::string(3000, 'x'));
    EXPECT_EQ(environment("QMIO_TEST_VARIABLE"), "Жук 映像 " + std::string(3000, 'x'));
    qmio::test::unset_environment("QMIO_TEST_VARIABLE");
    EXPECT_EQ(environment("QMIO_TEST_VARIABLE"), "");
}

}  // namespace
