// What the ffprobe program says about a file.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace qmio::test {

class Probe {
  public:
    // False where there is no such program, as under Wine.
    static bool is_there();

    // Reads and decodes the whole file, or only as much as an open does. A file that ffprobe refuses gives a probe without
    // values.
    enum class Depth { whole, headers };
    explicit Probe(const std::filesystem::path& path, Depth depth = Depth::whole);

    // "format.tags.title", "stream.0.codec_name"; an empty text for what is not told.
    std::string operator[](const std::string& key) const;

    // Every key that has a value.
    const std::map<std::string, std::string>& values() const { return values_; }

    // Container, then the streams' numbers of packets and frames: what ffprobe counted, not what the file claims.
    int packets(int stream) const;
    int frames(int stream) const;

    // Everything ffprobe complained about while it read.
    const std::string& complaints() const { return complaints_; }

  private:
    std::map<std::string, std::string> values_;
    std::string complaints_;
};

}  // namespace qmio::test
