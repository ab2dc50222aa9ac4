#include "support/probe.h"

#include <sstream>
#include <stdexcept>

#include "support/process.h"
#include "support/temp_dir.h"

namespace qmio::test {

namespace {

std::string unquoted(const std::string& text) {
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '\\' && at + 1 < text.size())
            plain += text[++at];
        else if (text[at] != '"')
            plain += text[at];
    }
    return plain;
}

int number(const std::string& text) {
    return text.empty() ? -1 : std::stoi(text);
}

}  // namespace

bool Probe::is_there() {
#ifdef _WIN32
    return false;
#else
    try {
        return run("ffprobe", {"-version"}).exit_code == 0;
    } catch (const std::runtime_error&) {
        return false;
    }
#endif
}

Probe::Probe(const std::filesystem::path& path, Depth depth) {
    Arguments arguments{"-v", "error", "-of", "flat", "-show_format", "-show_streams"};
    if (depth == Depth::whole)
        arguments.insert(arguments.end(), {"-count_packets", "-count_frames"});
    arguments.push_back(utf8(path));
    const Outcome outcome = run("ffprobe", arguments);
    complaints_ = outcome.error_text;
    std::istringstream lines(outcome.output);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t equals = line.find('=');
        const std::size_t start = line.starts_with("streams.") ? 8 : 0;
        values_[line.substr(start, equals - start)] = unquoted(line.substr(equals + 1));
    }
}

std::string Probe::operator[](const std::string& key) const {
    const auto found = values_.find(key);
    return found != values_.end() ? found->second : std::string();
}

int Probe::packets(int stream) const {
    return number((*this)["stream." + std::to_string(stream) + ".nb_read_packets"]);
}

int Probe::frames(int stream) const {
    return number((*this)["stream." + std::to_string(stream) + ".nb_read_frames"]);
}

}  // namespace qmio::test
