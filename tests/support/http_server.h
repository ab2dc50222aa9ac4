// An HTTP server on this machine that hands out one content for every path and remembers what it was asked.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qmio::test {

class HttpServer {
  public:
    explicit HttpServer(std::vector<uint8_t> content);
    ~HttpServer();

    // http://127.0.0.1:port/path
    std::string url(const std::string& path) const;

    // The heads of all requests so far, in order, as they came: lines ended by "\r\n".
    std::vector<std::string> requests() const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace qmio::test
