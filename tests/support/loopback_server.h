// A TCP server on this machine that sends what a test tells it to and then holds the connection open.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qmio::test {

class LoopbackServer {
  public:
    // Serves one connection: sends `content`, then nothing more, until the peer goes or the server is destroyed.
    explicit LoopbackServer(std::vector<uint8_t> content);
    ~LoopbackServer();

    std::string url() const;  // tcp://127.0.0.1:port

    // Returns once the whole content was handed to the connection, or the peer went.
    void wait_until_sent();

    // Returns once the peer closed its side.
    void wait_until_peer_left();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace qmio::test
