// A process that uses a named mapping as its input tells it, line by line; each answer is one line:
//   create SIZE   open   close        "ok" or "none"
//   put INDEX VALUE                   "ok"
//   get INDEX                         the number
//   churn                             "churning", then creates, fills and leaves the mapping until it is killed
#include <cstdint>
#include <iostream>
#include <sstream>
#include <string>

#include "platform/shared_mapping.h"

namespace {

using qmio::platform::SharedMapping;

constexpr std::size_t kChurnSize = 65536;

class MappingUser {
  public:
    explicit MappingUser(std::string name) : name_(std::move(name)) {}

    std::string answer(std::istringstream& order) {
        std::string verb;
        std::size_t first = 0;
        int64_t second = 0;
        order >> verb >> first >> second;
        if (verb == "create")
            mapping_ = SharedMapping::create(name_, first);
        else if (verb == "open")
            mapping_ = SharedMapping::open(name_);
        else if (verb == "get")
            return std::to_string(number(first));
        else if (verb == "put")
            number(first) = second;
        else if (verb == "close")
            mapping_.reset();
        else if (verb == "churn")
            churn();
        return mapping_ || verb == "close" ? "ok" : "none";
    }

  private:
    int64_t& number(std::size_t index) { return static_cast<int64_t*>(mapping_->data())[index]; }

    [[noreturn]] void churn() {
        std::cout << "churning" << std::endl;
        for (;;) {
            mapping_ = SharedMapping::create(name_, kChurnSize);
            if (mapping_)
                number(0) = 1;
            mapping_.reset();
        }
    }

    std::string name_;
    std::unique_ptr<SharedMapping> mapping_;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    MappingUser user(argv[1]);
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream order(line);
        std::cout << user.answer(order) << std::endl;
    }
    return 0;
}
