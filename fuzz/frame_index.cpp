// The frame positions that another process publishes while it writes: of any size, with anything in them, changing while
// they are read. The film itself is whole.
#include <qmio.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <random>
#include <system_error>

#include "core/handle/frame_index.h"
#include "film.h"
#include "input.h"
#include "limits.h"

namespace {

using qmio::fuzz::Input;
using qmio::platform::SharedMapping;

constexpr std::size_t kMostOperations = 64;

// One for each process, as several may run at once; gone with it.
class Film {
  public:
    Film() {
        const std::string unique = std::to_string(reinterpret_cast<uintptr_t>(this) ^ std::random_device()());
        path_ = std::filesystem::temp_directory_path() / ("qmio-fuzz-" + unique + ".ts");
        qmio::fuzz::write_film(qmio_create_u8(
            name().c_str(), "fmt=mpegts,vcodec=mpeg2video,pix_fmt=yuv420p,size=32x32,g=4,flags:v=+low_delay", 0));
    }
    Film(const Film&) = delete;
    Film& operator=(const Film&) = delete;
    ~Film() {
        std::error_code missing;
        std::filesystem::remove(path_, missing);
    }
    std::string name() const {
        const std::u8string text = path_.u8string();
        return {text.begin(), text.end()};
    }

  private:
    std::filesystem::path path_;
};

const Film& film() {
    static const Film made;
    return made;
}

class Writer {
  public:
    Writer(Input& in, Input& contents)
        : index_(SharedMapping::create(qmio::frame_index::mapping_name(film().name()), size(in))) {
        for (std::size_t number = 0; index_ != nullptr && number < entries() && !contents.is_empty(); ++number)
            put(number, contents.wide_number());
    }
    void change(Input& in) {
        if (index_ != nullptr && entries() > 0)
            put(in.bits(2) % entries(), in.wide_number());
    }

  private:
    static std::size_t size(Input& in) {
        static constexpr std::size_t kSizes[] = {1, 7, 8, 9, 16, 100, 4096, 65536};
        return in.one_of(kSizes);
    }
    std::size_t entries() const { return index_->size() / sizeof(int64_t); }
    void put(std::size_t number, int64_t value) {
        std::atomic_ref(static_cast<int64_t*>(index_->data())[number]).store(value);
    }

    std::unique_ptr<SharedMapping> index_;
};

void read(MediaHandle* media, Writer& writer, Input& in) {
    std::vector<uint8_t> picture(static_cast<std::size_t>(qmio::fuzz::kFilmWidth * qmio::fuzz::kFilmHeight * 4));
    while (!in.is_empty()) {
        switch (in.below(4)) {
            case 0:
                writer.change(in);
                break;
            case 1:
                qmio_seek_frame_ex_old(media, in.number());
                qmio_get_frame(media);
                break;
            default:
                qmio_seek_frame(media, in.number());
                qmio_read_frame(media, picture.data());
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    qmio::fuzz::limit_ffmpeg();
    Input in(data, size);
    Input operations = in.tail(kMostOperations);
    film();
    Writer writer(operations, in);
    if (MediaHandle* const media = qmio_open_u8(film().name().c_str(), "threads=1")) {
        read(media, writer, operations);
        qmio_close(media);
    }
    return 0;
}
