// A host that writes a film of numbered pictures as its input says, one command a line, one line of answer each:
//   create PATH     publishes where its frames begin; each can be decoded by itself
//   delayed PATH    the same with frames that refer to others, behind and before them
//   long PATH       the same with frames that all refer to the first
//   film OPTIONS PATH   a film of these options besides the form of the pictures, without blanks
//   write COUNT     the next pictures, all of them on the disk when the answer comes
//   go COUNT        the same again and again, with an answer each time, until the host is killed
//   close
#include <iostream>
#include <memory>
#include <sstream>

#include "support/made_pictures.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::test;

constexpr const char* kFilm = "fmt=mpegts,vcodec=mpeg2video,pix_fmt=yuv420p,size=160x96,r=25,b:v=2M,threads:v=1";
constexpr const char* kPlain = ",g=1,flags:v=+low_delay";
constexpr const char* kDelayed = ",g=8,bf=2";
constexpr const char* kLong = ",g=600";

class Host {
  public:
    std::string answer(std::istringstream& order) {
        std::string verb;
        order >> verb >> std::ws;
        if (verb == "create")
            return create(order, kPlain);
        if (verb == "delayed")
            return create(order, kDelayed);
        if (verb == "long")
            return create(order, kLong);
        if (verb == "film")
            return film(order);
        if (verb == "write")
            return write(order);
        if (verb == "go")
            go_on(order);
        writer_.reset();
        return "closed";
    }

  private:
    std::string create(std::istringstream& order, const std::string& options) {
        std::string path;
        std::getline(order, path);
        writer_ = std::make_unique<Writer>(path_of(path), kFilm + options, unsigned{QMIO_CREATE_FRAME_INDEX});
        return writer_->is_open() ? "created" : "null";
    }

    std::string film(std::istringstream& order) {
        std::string options, path;
        order >> options >> std::ws;
        std::getline(order, path);
        writer_ = std::make_unique<Writer>(path_of(path), "pix_fmt=yuv420p,size=160x96,r=25," + options);
        return writer_->is_open() ? "created" : "null";
    }

    [[noreturn]] void go_on(std::istringstream& order) {
        int count = 1;
        for (order >> count;;)
            std::cout << write(count) << std::endl;
    }

    std::string write(std::istringstream& order) {
        int count = 0;
        order >> count;
        return write(count);
    }

    std::string write(int count) {
        for (int written = 0; written < count; ++written)
            writer_->write_picture(maker_, next_++);
        qmio_flush(writer_->handle());
        return std::to_string(next_);
    }

    std::unique_ptr<Writer> writer_;
    PictureMaker maker_{"AV_PIX_FMT_YUV420P", 160, 96};
    int next_ = 0;
};

}  // namespace

int main() {
    Host host;
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream order(line);
        std::cout << host.answer(order) << std::endl;
    }
}
