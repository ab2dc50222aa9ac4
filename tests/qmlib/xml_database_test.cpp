// The configuration's XML: paths, top-level entries, and what counts as unreadable.
#include "qmlib/xml_database.h"

#include <gtest/gtest.h>

#include <fstream>

#include "support/temp_dir.h"

namespace {

using qmio::qmlib::XmlDatabase;

std::string value_in(const char* text, const char* path) {
    const auto database = XmlDatabase::parse(text);
    return database != nullptr ? database->value(path) : "unreadable";
}

TEST(XmlDatabase, FindsAnElementByItsPath) {
    EXPECT_EQ(value_in("<any><trace><open>1</open></trace></any>", "//trace/open"), "1");
    EXPECT_EQ(value_in("<any><trace><seek>1</seek></trace></any>", "//trace/open"), "");
}

TEST(XmlDatabase, TakesTheFirstOfSeveral) {
    EXPECT_EQ(value_in("<any><log>info</log><log>debug</log></any>", "//log"), "info");
}

TEST(XmlDatabase, FindsAPathAtAnyDepthBelowTheRoot) {
    EXPECT_EQ(value_in("<any><group><trace><open>2</open></trace></group></any>", "//trace/open"), "2");
}

TEST(XmlDatabase, TheRootElementIsNoPartOfAPath) {
    EXPECT_EQ(value_in("<trace><open>1</open></trace>", "//trace/open"), "");
    EXPECT_EQ(value_in("<log>debug</log>", "//log"), "");
}

TEST(XmlDatabase, ElementNamesAreCaseSensitive) {
    EXPECT_EQ(value_in("<any><Log>debug</Log></any>", "//log"), "");
}

TEST(XmlDatabase, ValuesLoseTheWhiteSpaceAroundThem) {
    EXPECT_EQ(value_in("<any><log>\n\t debug \r\n</log></any>", "//log"), "debug");
    EXPECT_EQ(value_in("<any><log> \n </log></any>", "//log"), "");
}

TEST(XmlDatabase, ReadsEntitiesCdataAndTextAroundComments) {
    EXPECT_EQ(value_in("<any><a>x &lt;&amp;&#65; y</a></any>", "//a"), "x <&A y");
    EXPECT_EQ(value_in("<any><a><![CDATA[<x>]]></a></any>", "//a"), "<x>");
    EXPECT_EQ(value_in("<any><a>de<!-- no -->bug</a></any>", "//a"), "debug");
}

TEST(XmlDatabase, ReadsAFileWithDeclarationAndByteOrderMark) {
    EXPECT_EQ(
        value_in("\xef\xbb\xbf<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!-- c -->\n<any><a>1</a></any>\n", "//a"),
        "1");
}

TEST(XmlDatabase, ListsTopLevelValuesInOrderWithoutEmptyOnes) {
    const auto database = XmlDatabase::parse(
        "<any><decoder>vp8</decoder><encoder>x</encoder><decoder> </decoder><decoder/>"
        "<group><decoder>deep</decoder></group><decoder>h264</decoder></any>");
    ASSERT_NE(database, nullptr);
    EXPECT_EQ(database->values("decoder"), (std::vector<std::string>{"vp8", "h264"}));
    EXPECT_EQ(database->values("encoder"), std::vector<std::string>{"x"});
    EXPECT_TRUE(database->values("format").empty());
}

TEST(XmlDatabase, ListsOptionsOfEntriesThatNameOne) {
    const auto database = XmlDatabase::parse(
        "<any><format option='probesize'>32</format><format>no option</format><format option='empty'/>"
        "<format option=''>nameless</format><codec option='threads'>2</codec><format option='probesize'>64</format>"
        "<group><format option='deep'>1</format></group></any>");
    ASSERT_NE(database, nullptr);
    const auto options = database->options("format");
    ASSERT_EQ(options.size(), 2u);
    EXPECT_EQ(options[0].name + "=" + options[0].value, "probesize=32");
    EXPECT_EQ(options[1].name + "=" + options[1].value, "probesize=64");
    EXPECT_EQ(database->options("codec").size(), 1u);
}

TEST(XmlDatabase, MalformedTextIsUnreadable) {
    for (const char* text : {"", "   ", "plain text", "<any>", "<any><log>debug</any>", "<any></other>", "<any a=1/>",
                             "<any/><any/>", "<any/>text", "text<any/>", "<?xml version=\"1.0\"?>"}) {
        EXPECT_EQ(XmlDatabase::parse(text), nullptr) << text;
    }
}

TEST(XmlDatabase, ReadsAFile) {
    const qmio::test::TempDir folder;
    const auto path = folder / qmio::test::path_of("\xd0\xba.cfx");
    // Longer than one read of the file.
    std::ofstream(path, std::ios::binary) << "<any><pad>" << std::string(10000, 'x') << "</pad><log>info</log></any>";
    const auto database = XmlDatabase::read(qmio::test::utf8(path));
    ASSERT_NE(database, nullptr);
    EXPECT_EQ(database->value("//log"), "info");
    EXPECT_EQ(database->value("//pad").size(), 10000u);
}

TEST(XmlDatabase, MissingFilesAndFoldersAreUnreadable) {
    const qmio::test::TempDir folder;
    EXPECT_EQ(XmlDatabase::read(qmio::test::utf8(folder / "missing.cfx")), nullptr);
    EXPECT_EQ(XmlDatabase::read(qmio::test::utf8(folder.path())), nullptr);
}

}  // namespace
