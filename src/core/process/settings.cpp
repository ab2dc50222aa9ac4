#include "core/process/settings.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <utility>

#include "platform/text.h"

namespace qmio {
namespace {

constexpr std::pair<const char*, TraceSwitch> kTraceKeys[] = {
    {"//trace/options", TraceSwitch::options}, {"//trace/create", TraceSwitch::create},
    {"//trace/open", TraceSwitch::open},       {"//trace/write", TraceSwitch::write},
    {"//trace/audio", TraceSwitch::audio},     {"//trace/read", TraceSwitch::read},
    {"//trace/seek", TraceSwitch::seek},       {"//trace/close", TraceSwitch::close},
    {"//trace/fifo", TraceSwitch::fifo},       {"//trace/decoder", TraceSwitch::decoder},
};

constexpr std::pair<std::string_view, int32_t> kLogLevels[] = {
    {"quiet", -8},   {"panic", 0}, {"fatal", 8},    {"error", 16},
    {"warning", 24}, {"info", 32}, {"verbose", 40}, {"debug", 48},
};

// The number that `text` begins with, 0 when it begins with none, held within 32 bits on every system.
int32_t read_integer(const char* text, int base) {
    const long long number = std::strtoll(text, nullptr, base);
    return static_cast<int32_t>(
        std::clamp<long long>(number, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
}

std::string lower_case(std::string text) {
    for (char& letter : text)
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    return text;
}

// "acp", "utf-8", "unicode", "win" and a number with anything between them, or a number.
uint32_t read_code_page(const std::string& value) {
    const std::string name = lower_case(value);
    if (name == "acp")
        return platform::kCodePageAnsi;
    if (name == "utf-8" || name == "unicode")
        return platform::kCodePageUtf8;
    const std::size_t begin = name.starts_with("win") ? name.find_first_of("0123456789") : 0;
    return begin == name.npos ? 0 : static_cast<uint32_t>(read_integer(name.c_str() + begin, 10));
}

int32_t read_log_level(const std::string& name, int32_t otherwise) {
    for (const auto& [level_name, level] : kLogLevels) {
        if (name == level_name)
            return level;
    }
    return otherwise;
}

void apply_integer(const qmlib::XmlDatabase& database, const char* key, int base, int32_t& setting) {
    const std::string value = database.value(key);
    if (!value.empty())
        setting = read_integer(value.c_str(), base);
}

// Where the extension of a library file begins. Version numbers stand behind ".so", and all versions of a library share
// one configuration; a file that ends in ".dll" is none of these, whatever else its name holds.
std::size_t extension_begin(const std::string& path) {
    const std::size_t folder_end = path.find_last_of("/\\");
    const std::string file = lower_case(path.substr(folder_end == path.npos ? 0 : folder_end + 1));
    const std::size_t shared_object = file.rfind(".so");
    const std::size_t behind = shared_object == file.npos ? file.npos : shared_object + 3;
    if (behind != file.npos && !file.ends_with(".dll") && (behind == file.size() || file[behind] == '.'))
        return path.size() - file.size() + shared_object;
    return std::min(path.rfind('.'), path.size());
}

}  // namespace

std::string configuration_path(const std::string& library_path) {
    return library_path.substr(0, extension_begin(library_path)) + ".cfx";
}

std::string codec_mutex_name(const std::string& configuration_path) {
    std::string name = configuration_path + ".mx";
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
}

void apply_configuration(const qmlib::XmlDatabase& database, Settings& settings) {
    for (const auto& [key, category] : kTraceKeys)
        apply_integer(database, key, 10, settings.trace[static_cast<std::size_t>(category)]);
    apply_integer(database, "//scale_alg", 0, settings.scale_algorithm);
    apply_integer(database, "//num_cores", 0, settings.core_count);
    apply_integer(database, "//frame_cache", 10, settings.frame_cache);
    apply_integer(database, "//log_to_file", 10, settings.log_to_file);
    apply_integer(database, "//ffmpeg_log", 10, settings.ffmpeg_log);
    apply_integer(database, "//nested_open", 10, settings.nested_open);
    apply_integer(database, "//max_pixels", 10, settings.max_pixels);
    apply_integer(database, "//max_streams", 10, settings.max_streams);
    if (const std::string encoding = database.value("//encoding"); !encoding.empty())
        settings.code_page = read_code_page(encoding);
    settings.log_level = read_log_level(database.value("//log"), settings.log_level);
}

}  // namespace qmio
