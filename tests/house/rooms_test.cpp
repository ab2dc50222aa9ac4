// The rooms of src/ and the way the arrows between them point.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;
using Names = std::set<std::string>;

struct Source {
    std::string path;  // below src/, with forward slashes
    std::string room;  // its first folder, however deep the file lies
    Lines lines;
};

const fs::path kRoot = QMIO_SOURCE_DIR;

Lines read_lines(const fs::path& path) {
    Lines lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

bool is_header(const Source& source) {
    return source.path.ends_with(".h");
}

std::vector<Source> read_sources() {
    std::vector<Source> sources;
    for (const auto& entry : fs::recursive_directory_iterator(kRoot)) {
        const fs::path below = entry.path().lexically_relative(kRoot);
        if (entry.is_regular_file() && below.has_parent_path() &&
            (below.extension() == ".h" || below.extension() == ".cpp"))
            sources.push_back({below.generic_string(), below.begin()->string(), read_lines(entry.path())});
    }
    return sources;
}

const std::vector<Source>& sources() {
    static const std::vector<Source> all = read_sources();
    return all;
}

// The list that the build goes through, from the room that includes none to the one that may include all.
Lines rooms_in_order() {
    Lines rooms;
    const std::regex entry(R"(^add_subdirectory\((\w+)\))");
    std::smatch match;
    for (const std::string& line : read_lines(kRoot / "CMakeLists.txt")) {
        if (std::regex_search(line, match, entry))
            rooms.push_back(match[1]);
    }
    return rooms;
}

Names rooms_of_sources() {
    Names rooms;
    for (const Source& source : sources())
        rooms.insert(source.room);
    return rooms;
}

Lines includes_of(const Source& source) {
    Lines includes;
    const std::regex include(R"re(^\s*#\s*include\s*"([^"]*)")re");
    std::smatch match;
    for (const std::string& line : source.lines) {
        if (std::regex_search(line, match, include))
            includes.push_back(match[1]);
    }
    return includes;
}

// The beginnings of what stands at the left margin, where our layout puts whatever is not inside something else: each up
// to the ';' or '{' that ends it, so that the last letter tells a declaration from a definition.
Lines statements_of(const Source& source) {
    Lines statements;
    std::string statement;
    for (std::string line : source.lines) {
        line.resize(std::min(line.size(), line.find("//")));
        const bool begins = !line.empty() && (std::isalpha(static_cast<unsigned char>(line[0])) != 0 || line[0] == '_');
        if (statement.empty() && !begins)
            continue;
        statement += line + " ";
        const std::size_t end = statement.find_first_of(";{");
        if (end == statement.npos)
            continue;
        statements.push_back(statement.substr(0, end + 1));
        statement.clear();
    }
    return statements;
}

// The functions whose statements end with `end`, as "name" or "Class::name".
Names functions_in(const Source& source, char end) {
    static const std::regex other(R"(^(using|typedef|template|namespace|class|struct|union|enum|static_assert)\b)");
    static const std::regex attribute(R"(__attribute__\(\(.*?\)\)|extern "C")");
    static const std::regex function(R"(^[^=(]*?((?:\w+::)?~?\w+)\()");
    Names names;
    std::smatch match;
    for (const std::string& statement : statements_of(source)) {
        const std::string text = std::regex_replace(statement, attribute, "");
        if (text.back() == end && !std::regex_search(text, other) && std::regex_search(text, match, function))
            names.insert(match[1]);
    }
    return names;
}

std::map<std::string, Names> defined_functions() {
    std::map<std::string, Names> of_room;
    for (const Source& source : sources())
        of_room[source.room].merge(functions_in(source, '{'));
    return of_room;
}

Names classes_of(const std::string& room) {
    static const std::regex declared(R"(\b(?:class|struct|union)\s+(?:\w+::)*(\w+))");
    Names classes;
    std::smatch match;
    for (const Source& source : sources()) {
        for (const std::string& line : source.lines) {
            if (source.room == room && std::regex_search(line, match, declared))
                classes.insert(match[1]);
        }
    }
    return classes;
}

TEST(Rooms, AreAllInTheListOfTheBuild) {
    const Lines rooms = rooms_in_order();
    EXPECT_EQ(Names(rooms.begin(), rooms.end()), rooms_of_sources());
}

TEST(Rooms, IncludeOnlyWhatStandsBeforeThemInTheList) {
    const Lines rooms = rooms_in_order();
    const auto place = [&](const std::string& room) { return std::find(rooms.begin(), rooms.end(), room); };
    int between_rooms = 0;
    for (const Source& source : sources()) {
        for (const std::string& include : includes_of(source)) {
            const std::string room = include.substr(0, include.find('/'));
            if (place(room) == rooms.end() || room == source.room)
                continue;
            ++between_rooms;
            EXPECT_TRUE(place(room) < place(source.room)) << source.path << " includes " << include;
        }
    }
    EXPECT_GE(between_rooms, 150);
}

// So that no include gets past the list: everything is named from src/ on, but for the public header and what the build
// writes.
TEST(Rooms, IncludeEachOtherByTheNamesOfTheRooms) {
    const Names rooms = rooms_of_sources();
    for (const Source& source : sources()) {
        for (const std::string& include : includes_of(source)) {
            const bool comes_from_elsewhere = include == "qmio.h" || include.ends_with(".inc");
            EXPECT_TRUE(comes_from_elsewhere || rooms.contains(include.substr(0, include.find('/'))))
                << source.path << " includes " << include;
        }
    }
}

// Otherwise the header would be a way around the list: one calls what stands to the left and ends up to the right.
TEST(Rooms, DefineTheFunctionsThatTheirHeadersDeclare) {
    const auto defined = defined_functions();
    std::size_t declared_functions = 0;
    for (const Source& source : sources()) {
        const Names declared = is_header(source) ? functions_in(source, ';') : Names();
        declared_functions += declared.size();
        for (const std::string& name : declared)
            EXPECT_TRUE(defined.at(source.room).contains(name)) << source.path << " declares " << name;
    }
    EXPECT_GE(declared_functions, 150u);
}

TEST(Rooms, DefineMembersOfTheirOwnClassesOnly) {
    std::size_t members = 0;
    for (const auto& [room, functions] : defined_functions()) {
        const Names classes = classes_of(room);
        for (const std::string& name : functions) {
            const std::size_t colons = name.find("::");
            if (colons == name.npos)
                continue;
            ++members;
            EXPECT_TRUE(classes.contains(name.substr(0, colons))) << room << " defines " << name;
        }
    }
    EXPECT_GE(members, 25u);
}

// A name of FFmpeg's version macros, as it stands in sources.
bool asks_for_release(const fs::path& path) {
    static const std::regex asks(R"(\b(LIB(AV|SW)[A-Z]+_VERSION_\w+|AV_VERSION_INT)\b)");
    const Lines lines = read_lines(path);
    return std::any_of(lines.begin(), lines.end(),
                       [](const std::string& line) { return std::regex_search(line, asks); });
}

TEST(Rooms, KnowFfmpegsReleasesApartInOneAlone) {
    int asking = 0;
    for (const char* folder : {"src", "tests", "tools", "bench", "examples", "fuzz"})
        for (const auto& entry : fs::recursive_directory_iterator(kRoot.parent_path() / folder)) {
            const std::string path = entry.path().lexically_relative(kRoot.parent_path()).generic_string();
            const bool is_source = path.ends_with(".h") || path.ends_with(".cpp") || path.ends_with(".c");
            if (!is_source || path.starts_with("tests/house/") || !asks_for_release(entry.path()))
                continue;
            ++asking;
            EXPECT_TRUE(path.starts_with("src/ffmpeg/")) << path;
        }
    EXPECT_GE(asking, 4);
}

}  // namespace
