// The filter text of a file dialog: which files this library is asked to open.
#include <array>
#include <cstring>
#include <initializer_list>
#include <span>
#include <string_view>

#include "core/handle/entry.h"
#include "ffmpeg/ffmpeg.h"
#include "qmio.h"

namespace qmio::info {
namespace {

// Kept as hosts know them, with their repetitions and their odd members, in this order.
constexpr std::array<std::string_view, 24> kPictures = {
    "bmp", "ffv1-img", "gif",      "jpeg",     "jpg", "ljpg", "pam", "pbm",  "pgm", "pgmyuv", "png", "ppm",
    "ptx", "mpg1-img", "mpg2-img", "mpg4-img", "sgi", "tga",  "tif", "tiff", "vii", "vic",    "vis", "y"};
constexpr std::array<std::string_view, 65> kVideos = {
    "264", "3g2", "3gp", "4xm", "asf",  "avi",    "avs",  "crc", "cgi", "cif", "dif",  "dv",   "dvd",
    "dxa", "ea",  "ffm", "flv", "flic", "fli",    "flc",  "flx", "gif", "gxf", "h261", "h263", "h264",
    "m1v", "m2v", "m4v", "mg2", "mjpg", "mjpeg",  "mkv",  "mm",  "mov", "mp4", "mpg",  "mpeg", "mtv",
    "mxf", "nsv", "nuv", "nut", "psp",  "psxstr", "qcif", "rgb", "rm",  "ra",  "roq",  "smk",  "sol",
    "swf", "ts",  "thp", "txd", "vc1",  "vcd",    "vim",  "vmd", "vob", "wma", "wmv",  "y4m",  "yuv"};
constexpr std::array<std::string_view, 32> kSounds = {"ac3",  "aac", "aif", "aiff", "afc",  "aifc", "amr",   "au",
                                                      "flac", "mka", "mmf", "mp2",  "mp2a", "mp3",  "m4a",   "ogg",
                                                      "al",   "ul",  "sw",  "sb",   "uw",   "ub",   "voc",   "wav",
                                                      "apc",  "c93", "302", "mpc",  "shn",  "tta",  "wsaud", "wv"};

using Table = std::span<const std::string_view>;
using Kinds = std::initializer_list<const char*>;

// Counts what would be written; writes it where there is a buffer.
class FilterText {
  public:
    explicit FilterText(char* buffer) : buffer_(buffer) {}

    void add(std::string_view text) {
        if (buffer_ != nullptr)
            std::memcpy(buffer_ + size_, text.data(), text.size());
        size_ += text.size();
    }
    void end_text() { add(std::string_view("\0", 1)); }

    // Every pattern ends with a semicolon, the last one too.
    void add_patterns(Table extensions) {
        for (const std::string_view extension : extensions) {
            add("*.");
            add(extension);
            add(";");
        }
    }

    int size() const { return static_cast<int>(size_); }

  private:
    char* buffer_;
    std::size_t size_ = 0;
};

void add_block(FilterText& text, std::string_view title, std::initializer_list<Table> tables) {
    text.add(title);
    text.end_text();
    for (const Table table : tables)
        text.add_patterns(table);
    text.end_text();
}

void add_closing_block(FilterText& text) {
    text.add("All Files (*.*)");
    text.end_text();
    text.add("*.*");
    text.end_text();
    text.end_text();
}

bool is_one_of(const char* kind, Kinds kinds) {
    for (const char* known : kinds)
        if (kind != nullptr && av_strcasecmp(kind, known) == 0)
            return true;
    return false;
}

int write_filter(char* buffer, const char* kind) {
    FilterText text(buffer);
    if (is_one_of(kind, {"sup", "supported", "all"}))
        add_block(text, "All Image/AV Files", {kPictures, kVideos, kSounds});
    if (is_one_of(kind, {"pic", "picture", "img", "image", "all"}))
        add_block(text, "Picture Files", {kPictures});
    if (is_one_of(kind, {"vid", "video", "all"}))
        add_block(text, "Video Files", {kVideos});
    if (is_one_of(kind, {"aud", "audio", "all"}))
        add_block(text, "Audio Files", {kSounds});
    add_closing_block(text);
    return text.size();
}

}  // namespace
}  // namespace qmio::info

int qmio_get_ext(char* buf, const char* kind) {
    return qmio::guarded(0, [=] { return qmio::info::write_filter(buf, kind); });
}
