#include "support/media.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <numeric>
#include <sstream>

#include "support/numbered_picture.h"
#include "support/picture_hash.h"

namespace qmio::test {

namespace {

constexpr uint8_t kUnwritten = 0xA5;

std::filesystem::path media_folder() {
    const char* folder = std::getenv("QMIO_TEST_MEDIA_DIR");
    return folder != nullptr ? folder : QMIO_TEST_MEDIA_DIR;
}

std::filesystem::path real_folder() {
    const char* folder = std::getenv("QMIO_MEDIA_DIR");
    return folder != nullptr ? folder : QMIO_MEDIA_DIR;
}

std::vector<Reference> read_references(const std::filesystem::path& list) {
    std::vector<Reference> references;
    std::ifstream lines(list);
    std::size_t index = 0;
    Reference reference;
    while (lines >> index >> std::hex >> reference.hash >> std::dec >> reference.width >> reference.height)
        references.push_back(reference);
    return references;
}

std::vector<std::string> split(const std::string& line) {
    std::vector<std::string> cells;
    std::istringstream stream(line);
    for (std::string cell; std::getline(stream, cell, '\t');)
        cells.push_back(cell);
    return cells;
}

// Columns of the table that the tests use.
enum Column { kFile = 0, kClass = 1, kVideo = 3, kDecoded = 9, kOpens = 12, kColumns };

}  // namespace

std::filesystem::path media_path(const std::string& name) {
    return media_folder() / name;
}

std::vector<Reference> made_references(const std::string& name) {
    return read_references(media_folder() / (name + ".frames"));
}

std::vector<RealFile> real_files() {
    std::vector<RealFile> files;
    std::ifstream table(real_folder() / "media.tsv");
    std::string line;
    std::getline(table, line);
    while (std::getline(table, line)) {
        const std::vector<std::string> cells = split(line);
        if (cells.size() < kColumns)
            continue;
        files.push_back({cells[kFile], std::atoi(cells[kDecoded].c_str()), !cells[kVideo].empty(),
                         cells[kOpens].starts_with("True"), cells[kClass] == "Broken"});
    }
    return files;
}

void PrintTo(const RealFile& file, std::ostream* out) {
    *out << file.name;
}

std::filesystem::path real_media(const std::string& name) {
    return real_folder() / name;
}

std::vector<Reference> real_references(const std::string& name) {
    return read_references(media_folder() / "real" / (name + ".frames"));
}

Player::Player(const std::filesystem::path& path, const wchar_t* options)
    : media_(qmio_open_ex_w(wide_name(path).c_str(), options)),
      width_(is_open() ? static_cast<int>(file_param(media_, "width")) : 0),
      height_(is_open() ? static_cast<int>(file_param(media_, "height")) : 0),
      buffer_(picture_buffer(media_)) {}

int Player::frame_count() const {
    return static_cast<int>(file_param(media_, "frames"));
}

template <typename Call>
Picture Player::deliver(Call call) {
    std::fill(buffer_.begin(), buffer_.end(), kUnwritten);
    Picture picture;
    picture.result = call(media_.get(), buffer_.data());
    if (picture.result > 0 && !buffer_.empty()) {
        picture.hash = hash_picture(buffer_.data(), width_, height_, width_ * 4);
        picture.number = read_number(buffer_.data(), width_, height_, width_ * 4);
    }
    return picture;
}

Picture Player::read() {
    return deliver(qmio_read_frame);
}

Picture Player::drain() {
    return deliver([](MediaHandle* media, uint8_t* buffer) { return qmio_video_pkt(media, buffer, nullptr); });
}

Picture Player::decode_packet() {
    return deliver(qmio_video_frame);
}

Picture Player::held() {
    return deliver(qmio_get_buf);
}

Picture Player::read_at(int frame) {
    qmio_seek_frame(media_.get(), frame);
    return read();
}

// Decoding errors are passed over; a decoder that never stops reporting them ends here all the same.
void Player::drain_into(std::vector<Picture>& pictures, std::size_t bound) {
    for (std::size_t call = 0; call < bound; ++call) {
        const Picture picture = drain();
        if (picture.result == 0)
            return;
        if (picture.result > 1)
            pictures.push_back(picture);
    }
}

std::vector<Picture> Player::read_rest(std::size_t bound) {
    std::vector<Picture> pictures;
    for (std::size_t call = 0; call < bound; ++call) {
        const Picture picture = read();
        if (picture.result == 0)
            break;
        if (picture.result > 1)
            pictures.push_back(picture);
    }
    drain_into(pictures, bound);
    return pictures;
}

std::vector<Picture> Player::read_rest_by_packets(std::size_t bound) {
    std::vector<Picture> pictures;
    for (int kind = qmio_get_frame(handle()); kind >= 0 && pictures.size() < bound; kind = qmio_get_frame(handle())) {
        const Picture picture = kind == 1 ? decode_packet() : Picture{};
        if (picture.result > 1)
            pictures.push_back(picture);
        qmio_release_frame(handle());
    }
    drain_into(pictures, bound);
    return pictures;
}

std::string difference(const std::vector<Picture>& pictures, const std::vector<Reference>& references) {
    std::ostringstream text;
    const std::size_t common = std::min(pictures.size(), references.size());
    std::size_t same = 0;
    while (same < common && pictures[same].hash == references[same].hash)
        ++same;
    if (same < common)
        text << "picture " << same << " differs (it carries the number " << pictures[same].number << "); ";
    if (pictures.size() != references.size())
        text << pictures.size() << " pictures where the ffmpeg program decodes " << references.size();
    return text.str();
}

std::vector<int> numbers_from(int first, int count) {
    std::vector<int> values(static_cast<std::size_t>(std::max(count, 0)));
    std::iota(values.begin(), values.end(), first);
    return values;
}

std::vector<int> numbers(const std::vector<Picture>& pictures) {
    std::vector<int> values;
    std::transform(pictures.begin(), pictures.end(), std::back_inserter(values),
                   [](const Picture& picture) { return picture.number; });
    return values;
}

std::string test_name(const std::string& file) {
    std::string name = file;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char letter) { return std::isalnum(letter) == 0; }, '_');
    return name;
}

}  // namespace qmio::test
