// A host that reads a film by the numbers of its frames as its input says, one command a line, one line of answer each:
//   open PATH       "opened" or "null"
//   frame NUMBER    what the seek returned and the number in the picture that came then; -1 without picture
//   rest            the numbers in the pictures that reading on gives, the drain included
//   close
#include <iostream>
#include <memory>
#include <sstream>

#include "support/numbered_picture.h"
#include "support/open_media.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::test;

class Host {
  public:
    std::string answer(std::istringstream& order) {
        std::string verb;
        order >> verb >> std::ws;
        if (verb == "open")
            return open(order);
        if (verb == "frame")
            return frame(order);
        if (verb == "rest")
            return rest();
        media_.reset();
        return "closed";
    }

  private:
    std::string open(std::istringstream& order) {
        std::string path;
        std::getline(order, path);
        media_ = open_on_one_thread(path_of(path));
        return media_ ? "opened" : "null";
    }

    std::string frame(std::istringstream& order) {
        int number = 0;
        order >> number;
        Bytes pixels = picture_buffer(media_);
        const int found = qmio_seek_frame(media_.get(), number);
        const bool delivered = qmio_read_frame(media_.get(), pixels.data()) > 1 ||
                               qmio_video_pkt(media_.get(), pixels.data(), nullptr) > 1;
        return std::to_string(found) + " " + std::to_string(delivered ? number_in(pixels) : -1);
    }

    std::string rest() {
        Bytes pixels = picture_buffer(media_);
        std::string numbers;
        while (qmio_read_frame(media_.get(), pixels.data()) > 1 ||
               qmio_video_pkt(media_.get(), pixels.data(), nullptr) > 1)
            numbers += std::to_string(number_in(pixels)) + " ";
        return numbers;
    }

    int number_in(const Bytes& pixels) const {
        const int width = static_cast<int>(file_param(media_, "width"));
        const int height = static_cast<int>(file_param(media_, "height"));
        return read_number(pixels.data(), width, height, width * 4);
    }

    Media media_;
};

}  // namespace

int main() {
    Host host;
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream order(line);
        std::cout << host.answer(order) << std::endl;
    }
}
