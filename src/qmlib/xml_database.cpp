#include "qmlib/xml_database.h"

#include <array>
#include <cstdint>
#include <pugixml.hpp>
#include <utility>

#include "platform/file.h"
#include "platform/text.h"

namespace qmio::qmlib {
namespace {

// Larger files are no configuration; reading one would only delay the load.
constexpr std::size_t kLargestFile = 16u << 20;

// Fragment mode keeps what stands outside the root element, so that it can be refused: pugixml itself reads two roots,
// or text around one, without complaint.
constexpr unsigned kParseFlags = pugi::parse_default | pugi::parse_fragment;

bool is_one_element(const pugi::xml_document& document) {
    int elements = 0;
    for (const pugi::xml_node node : document.children()) {
        if (node.type() != pugi::node_element)
            return false;
        ++elements;
    }
    return elements == 1;
}

// All text of the element itself: comments may stand between its pieces.
std::string text_of(const pugi::xml_node& element) {
    constexpr const char* kWhiteSpace = " \t\r\n";
    std::string text;
    for (const pugi::xml_node child : element.children()) {
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata)
            text += child.value();
    }
    text.erase(0, text.find_first_not_of(kWhiteSpace));
    text.erase(text.find_last_not_of(kWhiteSpace) + 1);
    return text;
}

std::string read_all(platform::ReadFile& file) {
    std::string text;
    std::array<uint8_t, 4096> block;
    int count = 0;
    while (text.size() <= kLargestFile && (count = file.read(block.data(), static_cast<int>(block.size()))) > 0)
        text.append(block.begin(), block.begin() + count);
    return text;
}

}  // namespace

struct XmlDatabase::Document {
    pugi::xml_document xml;
};

XmlDatabase::XmlDatabase(std::unique_ptr<Document> document) : document_(std::move(document)) {}
XmlDatabase::~XmlDatabase() = default;

std::unique_ptr<XmlDatabase> XmlDatabase::parse(std::string_view text) {
    auto document = std::make_unique<Document>();
    if (!document->xml.load_buffer(text.data(), text.size(), kParseFlags) || !is_one_element(document->xml))
        return nullptr;
    return std::unique_ptr<XmlDatabase>(new XmlDatabase(std::move(document)));
}

std::unique_ptr<XmlDatabase> XmlDatabase::read(const std::string& path) {
    const std::unique_ptr<platform::ReadFile> file = platform::ReadFile::open(path, platform::kCodePageUtf8);
    if (file == nullptr)
        return nullptr;
    const std::string text = read_all(*file);
    return text.size() > kLargestFile ? nullptr : parse(text);
}

std::string XmlDatabase::value(const char* path) const {
    // Relative to the root element, because a path names what lies below it.
    const std::string below_root = std::string(".") + path;
    return text_of(document_->xml.document_element().select_node(below_root.c_str()).node());
}

std::vector<std::string> XmlDatabase::values(std::string_view name) const {
    std::vector<std::string> found;
    for (const pugi::xml_node entry : document_->xml.document_element().children()) {
        std::string value = text_of(entry);
        if (entry.name() == name && !value.empty())
            found.push_back(std::move(value));
    }
    return found;
}

std::vector<XmlDatabase::Option> XmlDatabase::options(std::string_view name) const {
    std::vector<Option> found;
    for (const pugi::xml_node entry : document_->xml.document_element().children()) {
        Option option{entry.attribute("option").value(), text_of(entry)};
        if (entry.name() == name && !option.name.empty() && !option.value.empty())
            found.push_back(std::move(option));
    }
    return found;
}

}  // namespace qmio::qmlib
