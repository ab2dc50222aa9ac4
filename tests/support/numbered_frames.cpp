// numbered_frames LAYOUT WIDTH HEIGHT COUNT RATE
//   Writes COUNT pictures to standard output, each carrying its number (numbered_picture.h) above a texture that slides
//   from picture to picture, so that a picture decoded from the wrong reference shows.
//   LAYOUT: "y4m" is YUV4MPEG2 4:2:0 at RATE ("25:1"); "bgr0" is raw pixels whose fourth byte is 0.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/numbered_picture.h"

namespace {

using qmio::test::bit_at;
using qmio::test::bit_is_white;

constexpr int kBlack = 16;
constexpr int kWhite = 235;

struct Job {
    std::string layout;
    int width = 0;
    int height = 0;
    int count = 0;
    std::string rate;
};

uint8_t noise(int cell_x, int cell_y) {
    uint32_t state = static_cast<uint32_t>(cell_x) * 0x9E3779B1U ^ static_cast<uint32_t>(cell_y) * 0x85EBCA77U;
    state = (state ^ (state >> 15)) * 0x2C1B3C6DU;
    return static_cast<uint8_t>(48 + ((state >> 13) & 127));
}

uint8_t luma(const Job& job, int number, int x, int y) {
    const int bit = bit_at(x, y, job.width, job.height);
    if (bit >= 0)
        return bit_is_white(number, bit) ? kWhite : kBlack;
    return noise((x + 3 * number) / 12, (y + number) / 12);
}

uint8_t chroma(const Job& job, int number, int x, int y, int plane) {
    if (bit_at(2 * x, 2 * y, job.width, job.height) >= 0)
        return 128;
    return static_cast<uint8_t>(112 + (x / 4 + (plane == 0 ? number : 2 * number) + y / 8) % 32);
}

void append_yuv420(const Job& job, int number, std::vector<uint8_t>& out) {
    for (int y = 0; y < job.height; ++y) {
        for (int x = 0; x < job.width; ++x)
            out.push_back(luma(job, number, x, y));
    }
    for (int plane = 0; plane < 2; ++plane) {
        for (int y = 0; y < (job.height + 1) / 2; ++y) {
            for (int x = 0; x < (job.width + 1) / 2; ++x)
                out.push_back(chroma(job, number, x, y, plane));
        }
    }
}

void append_bgr0(const Job& job, int number, std::vector<uint8_t>& out) {
    for (int y = 0; y < job.height; ++y) {
        for (int x = 0; x < job.width; ++x) {
            const uint8_t gray = luma(job, number, x, y);
            out.insert(out.end(), {gray, gray, static_cast<uint8_t>(gray ^ 1), 0});
        }
    }
}

bool write_all(const Job& job) {
    const bool y4m = job.layout == "y4m";
    if (y4m)
        std::printf("YUV4MPEG2 W%d H%d F%s Ip A1:1 C420jpeg\n", job.width, job.height, job.rate.c_str());
    std::vector<uint8_t> picture;
    for (int number = 0; number < job.count; ++number) {
        picture.clear();
        y4m ? append_yuv420(job, number, picture) : append_bgr0(job, number, picture);
        if (y4m && std::fputs("FRAME\n", stdout) < 0)
            return false;
        if (std::fwrite(picture.data(), 1, picture.size(), stdout) != picture.size())
            return false;
    }
    return std::fflush(stdout) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 6) {
        std::fprintf(stderr, "usage: numbered_frames y4m|bgr0 WIDTH HEIGHT COUNT RATE\n");
        return 2;
    }
    const Job job{argv[1], std::atoi(argv[2]), std::atoi(argv[3]), std::atoi(argv[4]), argv[5]};
    return write_all(job) ? 0 : 1;
}
