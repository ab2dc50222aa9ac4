// Pictures converted and scaled: the library against libswscale called directly, and OpenCV on one thread, as the
// library works.
extern "C" {
#include <libswscale/swscale.h>
}

#include <cstdlib>
#include <opencv2/imgproc.hpp>
#include <random>
#include <stdexcept>

#include "media.h"
#include "rows.h"

namespace bench {

namespace {

constexpr int kYuv420p = 0;
constexpr int kBgra = 30;
constexpr int kLinear = 0;
constexpr int kRounds = 40;
constexpr int kRounding = 2;  // where neighbours lie far apart, as in noise
constexpr unsigned kSeed = 20250612;

struct Size {
    int width;
    int height;

    std::size_t pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
};
constexpr Size kLarge{1920, 1080}, kSmall{1280, 720};

using Bytes = std::vector<uint8_t>;

Bytes noise(std::size_t size) {
    std::mt19937 random(kSeed);
    Bytes bytes(size);
    for (uint8_t& byte : bytes)
        byte = static_cast<uint8_t>(random());
    return bytes;
}

using Work = void (*)(Bytes& from, Bytes& to, Size size, Size target);

Contender repeated(const char* name, Work work, std::size_t bytes, Size size, Size target,
                   std::function<std::string()> check) {
    return {name,
            [=]() -> Job {
                return [=, from = noise(bytes), to = Bytes(target.pixels() * 4)]() mutable {
                    for (int round = 0; round < kRounds; ++round)
                        work(from, to, size, target);
                };
            },
            std::move(check)};
}

// Throws when one byte of the two lies further apart than `most`.
void require_close(const Bytes& ours, const Bytes& theirs, int most) {
    for (std::size_t byte = 0; byte < ours.size(); ++byte)
        if (std::abs(ours[byte] - theirs[byte]) > most)
            throw std::runtime_error("byte " + std::to_string(byte) + " differs");
}

Bytes result_of(Work work, std::size_t bytes, Size size, Size target) {
    Bytes from = noise(bytes), to(target.pixels() * 4);
    work(from, to, size, target);
    return to;
}

// ---- conversion ----

void convert_by_library(Bytes& from, Bytes& to, Size size, Size /*target*/) {
    qmio_cvt(to.data(), kBgra, from.data(), kYuv420p, size.width, size.height);
}

void convert_plain(Bytes& from, Bytes& to, Size size, Size /*target*/) {
    SwsContext* const context = sws_getContext(size.width, size.height, AV_PIX_FMT_YUV420P, size.width, size.height,
                                               AV_PIX_FMT_BGRA, SWS_FAST_BILINEAR, nullptr, nullptr, nullptr);
    const uint8_t* const planes[] = {from.data(), from.data() + size.pixels(),
                                     from.data() + size.pixels() + size.pixels() / 4};
    const int rows[] = {size.width, size.width / 2, size.width / 2};
    uint8_t* const target[] = {to.data()};
    const int target_rows[] = {size.width * 4};
    sws_scale(context, planes, rows, 0, size.height, target, target_rows);
    sws_freeContext(context);
}

void convert_by_opencv(Bytes& from, Bytes& to, Size size, Size /*target*/) {
    cv::setNumThreads(1);
    cv::Mat target(size.height, size.width, CV_8UC4, to.data());
    cv::cvtColor(cv::Mat(size.height * 3 / 2, size.width, CV_8UC1, from.data()), target, cv::COLOR_YUV2BGRA_I420);
}

Row conversion_row() {
    const std::size_t bytes = kLarge.pixels() * 3 / 2;
    const auto check = [bytes] {
        require_close(result_of(convert_by_library, bytes, kLarge, kLarge),
                      result_of(convert_plain, bytes, kLarge, kLarge), 0);
        return std::string();
    };
    return {"one picture, 1080p",
            "convert yuv420p to BGRA",
            "pictures/s",
            kRounds,
            {repeated(kLibrary, convert_by_library, bytes, kLarge, kLarge, check),
             repeated(kPlain, convert_plain, bytes, kLarge, kLarge, {}),
             repeated(kOpenCv, convert_by_opencv, bytes, kLarge, kLarge, {})}};
}

// ---- scaling ----

void scale_by_library(Bytes& from, Bytes& to, Size size, Size target) {
    qmio_scale_ex(to.data(), kBgra, target.width, target.height, from.data(), kBgra, size.width, size.height, kLinear);
}

void scale_plain(Bytes& from, Bytes& to, Size size, Size target) {
    SwsContext* const context = sws_getContext(size.width, size.height, AV_PIX_FMT_BGRA, target.width, target.height,
                                               AV_PIX_FMT_BGRA, SWS_BILINEAR, nullptr, nullptr, nullptr);
    const uint8_t* const planes[] = {from.data()};
    const int rows[] = {size.width * 4};
    uint8_t* const target_planes[] = {to.data()};
    const int target_rows[] = {target.width * 4};
    sws_scale(context, planes, rows, 0, size.height, target_planes, target_rows);
    sws_freeContext(context);
}

void scale_by_opencv(Bytes& from, Bytes& to, Size size, Size target) {
    cv::setNumThreads(1);
    cv::Mat into(target.height, target.width, CV_8UC4, to.data());
    cv::resize(cv::Mat(size.height, size.width, CV_8UC4, from.data()), into, into.size(), 0, 0, cv::INTER_LINEAR);
}

Row scaling_row(const char* work, Size from, Size to) {
    const std::size_t bytes = from.pixels() * 4;
    const auto check = [=] {
        require_close(result_of(scale_by_library, bytes, from, to), result_of(scale_by_opencv, bytes, from, to),
                      kRounding);
        return std::string();
    };
    return {
        "one BGRA picture",
        work,
        "pictures/s",
        kRounds,
        {repeated(kLibrary, scale_by_library, bytes, from, to, check),
         repeated(kPlain, scale_plain, bytes, from, to, {}), repeated(kOpenCv, scale_by_opencv, bytes, from, to, {})}};
}

}  // namespace

void add_picture_rows(std::vector<Row>& rows) {
    rows.push_back(conversion_row());
    rows.push_back(scaling_row("scale linearly 1080p to 720p", kLarge, kSmall));
    rows.push_back(scaling_row("scale linearly 720p to 1080p", kSmall, kLarge));
}

}  // namespace bench
