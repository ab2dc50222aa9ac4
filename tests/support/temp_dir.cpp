#include "support/temp_dir.h"

#include <fstream>
#include <iterator>
#include <random>

namespace qmio::test {

TempDir::TempDir() {
    do {
        path_ = std::filesystem::temp_directory_path() / ("qmio-test-" + unique_name());
    } while (!std::filesystem::create_directory(path_));
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

std::filesystem::path path_of(const std::string& utf8) {
    return std::u8string(utf8.begin(), utf8.end());
}

std::string content_of(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string unique_name() {
    std::random_device random;
    return std::to_string(random()) + "-" + std::to_string(random());
}

}  // namespace qmio::test
