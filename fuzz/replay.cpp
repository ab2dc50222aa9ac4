// Runs a target over files, as a test of every build: those of a folder, which are inputs that once found something, and
// some that are drawn. Needs no libFuzzer.
//   fuzz_TARGET FOLDER
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "input.h"

namespace {

constexpr int kDrawn = 20;

void run(const std::vector<uint8_t>& input) {
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

std::vector<uint8_t> bytes_of(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

int run_files(const char* folder) {
    int count = 0;
    std::error_code missing;  // nothing was found yet
    // A target may change the current folder.
    for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::absolute(folder), missing)) {
        std::printf("%s\n", entry.path().filename().string().c_str());
        std::fflush(stdout);
        run(bytes_of(entry.path()));
        ++count;
    }
    return count;
}

void run_drawn() {
    std::mt19937 random(1);
    for (int number = 0; number < kDrawn; ++number) {
        std::vector<uint8_t> input(random() % 200);
        for (uint8_t& byte : input)
            byte = static_cast<uint8_t>(random());
        run(input);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const int count = argc > 1 ? run_files(argv[1]) : 0;
    run_drawn();
    std::printf("%d inputs and %d drawn ones brought nothing down\n", count, kDrawn);
    return 0;
}
