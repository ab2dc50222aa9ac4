#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

#include "tools/command_line.h"

namespace qmio::test {
namespace {

using testing::HasSubstr;
using testing::Not;

std::vector<std::string> verbs() {
    const std::string help = run_qmio({"--help"}).output;
    const std::size_t begin = help.find("Subcommands:");
    const std::string list = help.substr(begin, help.find("\n\n", begin) - begin);
    std::vector<std::string> found;
    const std::regex verb("\n  ([a-z]+) ");
    for (std::sregex_iterator match(list.begin(), list.end(), verb); match != std::sregex_iterator(); ++match)
        found.push_back((*match)[1]);
    return found;
}

TEST(Help, ShowsExamplesOfEveryVerb) {
    EXPECT_THAT(run_qmio({"--help"}).output, HasSubstr("Examples:\n  qmio info "));
    ASSERT_GE(verbs().size(), 13U);
    for (const std::string& verb : verbs())
        EXPECT_THAT(run_qmio({verb, "--help"}).output, HasSubstr("Examples:\n  qmio " + verb)) << verb;
}

// What the build alone needs is not for users.
TEST(Help, DoesNotTellOfTheManual) {
    EXPECT_THAT(run_qmio({"--help"}).output, Not(HasSubstr("manual")));
    EXPECT_THAT(run_qmio({"manual", "man"}).output, HasSubstr(".SH VERBS"));
}

}  // namespace
}  // namespace qmio::test
