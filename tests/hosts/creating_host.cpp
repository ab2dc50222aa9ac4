// A host that makes files which may be the end of it, one line a file, one line of answer each:
//   FLAGS <tab> PATH <tab> ORDER <tab> OPTIONS
// ORDER is what it writes: "p" a picture, "s" a 25th of a second of sound on every track, "P" and "S" 25 of them, the
// sound in one call. The answer is "null", or "made" once the file is closed. With a "?" in ORDER it is "null: " and what
// qmio_why tells of a file that is not made.
#include <algorithm>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "support/case_process.h"
#include "support/open_media.h"
#include "support/temp_dir.h"
#include "support/why.h"

namespace {

using namespace qmio::test;

constexpr int kPerSecond = 25;

class Host {
  public:
    std::string answer(const std::string& line) {
        std::istringstream order(line);
        std::string flags, path, what, options;
        std::getline(order, flags, '\t');
        std::getline(order, path, '\t');
        std::getline(order, what, '\t');
        std::getline(order, options);
        const Media media = create(path, options, static_cast<uint32_t>(std::stoul(flags)));
        if (media == nullptr)
            return what.find('?') == what.npos ? "null" : "null: " + why().text;
        noise_[0] = 0;
        for (const char letter : what)
            write(media.get(), letter);
        return "made";
    }

  private:
    static Media create(const std::string& path, const std::string& options, uint32_t flags) {
        const std::wstring wide_options(options.begin(), options.end());
        return Media(qmio_create_ex_w(wide_name(path_of(path)).c_str(), wide_options.c_str(), flags));
    }

    void write(MediaHandle* media, char letter) {
        if (letter == '?')
            return;
        if (letter == 's' || letter == 'S')
            return write_sound(media, letter == 'S' ? 1 : kPerSecond);
        for (int count = letter == 'P' ? kPerSecond : 1; count > 0; --count)
            write_picture(media);
    }

    // What is larger than the buffer is no film of these tests, and is not written.
    void write_picture(MediaHandle* media) {
        const int width = static_cast<int>(qmio_get_file_param(media, "width"));
        const int height = static_cast<int>(qmio_get_file_param(media, "height"));
        const int format = static_cast<int>(qmio_get_file_param(media, "pix"));
        if (static_cast<std::size_t>(std::max(qmio_get_bufsize(format, width, height), 0)) > noise_.size())
            return;
        ++noise_[0];
        qmio_write_frame(media, noise_.data());
    }

    void write_sound(MediaHandle* media, int part) {
        const int tracks = static_cast<int>(qmio_get_file_param(media, "naudio"));
        for (int track = 0; track < tracks; ++track) {
            const int64_t rate = qmio_get_stream_param(media, "sample_rate", track);
            const int64_t channels = qmio_get_stream_param(media, "channels", track);
            const int64_t bytes = rate / part * channels * sample_bytes(media, track);
            const auto most = static_cast<int64_t>(sound_.size());
            qmio_write_track(media, track, sound_.data(), static_cast<int>(std::clamp<int64_t>(bytes, 0, most)));
        }
    }

    static int64_t sample_bytes(MediaHandle* media, int track) {
        const int64_t code = qmio_get_stream_param(media, "sample_fmt", track);
        return code == 0 || code == -1 ? 4 : std::abs(code) / (std::abs(code) == 128 ? 16 : 8);
    }

    // Every byte is one of these bits on top of `base`.
    static std::vector<uint8_t> noise(uint8_t base, uint8_t bits) {
        std::vector<uint8_t> bytes(std::size_t{8} << 20);
        uint32_t state = 1;
        for (uint8_t& byte : bytes)
            byte = static_cast<uint8_t>(base | (((state = state * 1664525 + 1013904223) >> 24) & bits));
        return bytes;
    }

    std::vector<uint8_t> noise_ = noise(0, 0xFF);
    std::vector<uint8_t> sound_ = noise(0x30, 0x0F);  // numbers below 1 in any format, floating or not
};

}  // namespace

int main() {
    const Watchdog watchdog;
    Host host;
    for (std::string line; std::getline(std::cin, line);) {
        Watchdog::begin_case();
        std::cout << host.answer(line) << std::endl;
    }
}
