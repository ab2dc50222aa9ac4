// What the documents say of keys and show of hosts, held against the code.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;

const fs::path kProject = QMIO_PROJECT_DIR;

std::string text_of(const std::string& name) {
    std::ifstream file(kProject / name, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    EXPECT_NE(text, "") << name;
    return text;
}

// What the first group of a pattern finds, all along a text.
Names found(const std::string& text, const std::string& pattern) {
    const std::regex regex(pattern);
    Names names;
    for (std::sregex_iterator match(text.begin(), text.end(), regex); match != std::sregex_iterator(); ++match)
        names.insert((*match)[1]);
    return names;
}

Names in_code(const std::string& file, const std::string& pattern) {
    return found(text_of(file), pattern);
}

Names operator+(Names names, const Names& more) {
    names.insert(more.begin(), more.end());
    return names;
}

// What stands below a heading, up to the next one.
std::string section(const std::string& text, const std::string& heading) {
    const std::size_t begin = text.find("\n## " + heading);
    EXPECT_NE(begin, text.npos) << heading;
    return begin == text.npos ? "" : text.substr(begin, text.find("\n## ", begin + 1) - begin);
}

std::string first_columns(const std::string& text) {
    std::istringstream lines(text);
    std::string columns;
    for (std::string line; std::getline(lines, line);)
        if (line.rfind("| ", 0) == 0)
            columns += line.substr(0, line.find(" | ")) + "\n";
    return columns;
}

// The keys of a table's rows, without what a value or an attribute may follow them with.
Names keys_of_rows(const std::string& text) {
    return found(first_columns(text), "`([a-z_:/]+)[^`]*`");
}

Names quoted(const std::string& text) {
    return found(text, "`([a-z_]+)`");
}

// ---- configuration ----

// Keys below <trace> are told by "trace/" before them.
Names configuration_of_code() {
    return in_code("src/core/process/settings.cpp", R"re("//([a-z_/]+)")re") +
           in_code("src/core/process/startup.cpp", R"re(value\("//([a-z_/]+)"\))re") +
           in_code("src/core/process/startup.cpp", R"re(values\("([a-z_]+)"\))re") +
           in_code("src/read/container_options.cpp", R"re(configured_options\("([a-z]+)"\))re") +
           in_code("src/read/open.cpp", R"re(configured_options\("([a-z]+)"\))re");
}

Names configuration_of_page() {
    Names keys;
    for (const std::string& key : keys_of_rows(text_of("docs/configuration.md")))
        keys.insert(key.front() == '/' ? "trace" + key : key);
    return keys;
}

Names configuration_of_sample() {
    const std::string text = text_of("cmake/libqmio.cfx.sample");
    const std::size_t begin = text.find("<trace>"), end = text.find("</trace>");
    Names keys = found(text.substr(0, begin) + text.substr(end), "<([a-z_]+)[ >]");
    keys.erase("qmio");
    for (const std::string& key : found(text.substr(begin + 7, end - begin), "<([a-z_]+)>"))
        keys.insert("trace/" + key);
    return keys;
}

TEST(ConfigurationPage, TellsEveryKeyThatIsRead) {
    EXPECT_EQ(configuration_of_page(), configuration_of_code());
    EXPECT_GE(configuration_of_code().size(), 24U);
}

TEST(ConfigurationSample, HoldsEveryKeyThatIsRead) {
    EXPECT_EQ(configuration_of_sample(), configuration_of_code());
}

// ---- options ----

TEST(OptionsPage, TellsEveryKeyOfCreating) {
    EXPECT_EQ(keys_of_rows(section(text_of("docs/options.md"), "Creating")),
              in_code("src/write/creation_keys.cpp", R"re(\{"([a-z_:]+)", CreationKey)re"));
}

TEST(OptionsPage, TellsEveryKeyOfOpeningThatIsTheLibrarysOwn) {
    const std::string opening = section(text_of("docs/options.md"), "Opening");
    EXPECT_EQ(keys_of_rows(opening.substr(opening.find("| Option |"))),
              in_code("src/read/own_options.cpp", R"re(\{"([a-z_]+)", take_)re"));
}

// ---- parameters ----

TEST(ParametersPage, TellsEveryTextOfAFile) {
    EXPECT_EQ(quoted(section(text_of("docs/parameters.md"), "`qmio_get_file_info`")),
              in_code("src/info/file_parameters.cpp", R"re(\{"([a-z]+)", \[\]\(const MediaHandle& h\) \{)re") +
                  Names({"ver", "build", "qmio_get_file_info"}));
}

TEST(ParametersPage, TellsEveryNumberOfAFile) {
    EXPECT_EQ(keys_of_rows(section(text_of("docs/parameters.md"), "`qmio_get_file_param`")),
              in_code("src/info/file_parameters.cpp", R"re(\{"([a-z_]+)", (?:true|false),)re"));
}

TEST(ParametersPage, TellsEveryNumberOfStreams) {
    EXPECT_EQ(keys_of_rows(section(text_of("docs/parameters.md"), "`qmio_get_stream_param`")),
              in_code("src/info/stream_parameters.cpp", R"re(\{"([a-z_]+)", [a-z_]+\})re"));
}

TEST(ParametersPage, TellsEveryNumberOfAPart) {
    EXPECT_EQ(quoted(section(text_of("docs/parameters.md"), "Of a part")),
              in_code("src/info/part_numbers.cpp", R"re(\{"([a-z_]+)", (?:QMIO_|0))re"));
}

TEST(ParametersPage, TellsEveryTextOfAPart) {
    EXPECT_EQ(quoted(section(text_of("docs/parameters.md"), "`qmio_get_text`")),
              in_code("src/info/texts.cpp", R"re(\{"([a-z_]+)", k[A-Z][a-z]+, )re") + Names{"qmio_get_text"});
}

TEST(ParametersPage, TellsEveryKeyOfTimes) {
    EXPECT_EQ(quoted(section(text_of("docs/parameters.md"), "`qmio_get_time_param`")),
              in_code("src/info/time_parameters.cpp", R"re(\{"([a-z]+)", get_)re") + Names{"qmio_get_time_param"});
}

// ---- containers ----

TEST(ContainersPage, NamesTheContainersThatAreRefusedAndThoseAlwaysInterleaved) {
    const Names page = quoted(text_of("docs/containers.md"));
    const std::string code = text_of("src/ffmpeg/muxers.cpp");
    const std::size_t refused = code.find("kWritingWithTrailer[] = {");
    for (const std::string& name : found(code.substr(refused, code.find(';', refused) - refused), "\"([a-z_]+)\""))
        EXPECT_TRUE(page.contains(name)) << name;
    for (const char* name : {"asf", "dv", "flv", "mxf", "nut", "rtp_mpegts", "swf"})
        EXPECT_TRUE(page.contains(name)) << name;
}

// ---- what is shown ----

std::string without_margin(const std::string& text, const std::string& margin) {
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);)
        result += line.substr(std::min(line.size(), margin.size())) + "\n";
    return result;
}

TEST(ShownHost, IsTheSameInHeaderReadmeAndExamples) {
    const std::string example = text_of("examples/read_frames.c");
    EXPECT_NE(text_of("README.md").find("```c\n" + example + "```\n"), std::string::npos);
    const std::string header = text_of("include/qmio.h");
    const std::size_t begin = header.find(" *     #include <qmio.h>\n");
    ASSERT_NE(begin, header.npos);
    const std::string shown = header.substr(begin, header.find(" */\n", begin) - begin);
    EXPECT_EQ(without_margin(shown, " *     "), example);
}

// Lines of code that a guide shows stand in an example or in the header: these names at least exist.
TEST(Guides, NameOnlyCallsAndConstantsThatThereAre) {
    const std::string header = text_of("include/qmio.h") + text_of("tools/qmio/main.cpp") + text_of("docs/python.md");
    const Names elsewhere = {"qmio_objects", "QMIO_SWEEP", "QMIO_LOG", "QMIO_CACHE", "QMIO_LIBRARY", "qmio_tool"};
    for (const auto& entry : fs::directory_iterator(kProject / "docs")) {
        if (entry.path().extension() != ".md")
            continue;
        const std::string name = "docs/" + entry.path().filename().string();
        for (const std::string& word : found(text_of(name), R"(\b((?:qmio|imio|QMIO)_[A-Za-z0-9_]+))"))
            EXPECT_TRUE(header.find(word) != header.npos || elsewhere.contains(word)) << name << ": " << word;
    }
}

TEST(Documents, LinkToWhatThereIs) {
    std::vector<fs::path> pages = {kProject / "README.md", kProject / "CONTRIBUTING.md", kProject / "CHANGELOG.md"};
    for (const auto& entry : fs::directory_iterator(kProject / "docs"))
        if (entry.path().extension() == ".md")
            pages.push_back(entry.path());
    int links = 0;
    for (const fs::path& page : pages)
        for (const std::string& link :
             found(text_of(page.lexically_relative(kProject).generic_string()), R"(\]\(([^):#]+)[)#])")) {
            ++links;
            EXPECT_TRUE(fs::exists(page.parent_path() / link)) << page << " links to " << link;
        }
    EXPECT_GE(links, 30);
}

}  // namespace
