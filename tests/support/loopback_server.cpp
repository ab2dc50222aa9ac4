#include "support/loopback_server.h"

#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>

#if defined(_WIN32)
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

namespace qmio::test {
namespace {

#if defined(_WIN32)
using Socket = SOCKET;
using SendSize = int;
constexpr Socket kNoSocket = INVALID_SOCKET;
constexpr int kShutBoth = SD_BOTH;
constexpr int kSendFlags = 0;
void close_socket(Socket socket) {
    closesocket(socket);
}
void start_sockets() {
    static const int started = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data);
    }();
    if (started != 0)
        throw std::runtime_error("no sockets");
}
#else
using Socket = int;
using SendSize = std::size_t;
constexpr Socket kNoSocket = -1;
constexpr int kShutBoth = SHUT_RDWR;
constexpr int kSendFlags = MSG_NOSIGNAL;
void close_socket(Socket socket) {
    close(socket);
}
void start_sockets() {}
#endif

sockaddr_in loopback_address() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

Socket listen_anywhere(int& port) {
    start_sockets();
    const Socket listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback_address();
    socklen_t length = sizeof address;
    if (listener == kNoSocket || bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        listen(listener, 1) != 0 || getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("cannot listen on the loopback interface");
    port = ntohs(address.sin_port);
    return listener;
}

// Wakes a thread that waits in accept: shutting a listening socket down does so on some systems only.
void connect_once(int port) {
    const Socket visitor = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback_address();
    address.sin_port = htons(static_cast<uint16_t>(port));
    connect(visitor, reinterpret_cast<sockaddr*>(&address), sizeof address);
    close_socket(visitor);
}

bool send_all(Socket peer, const std::vector<uint8_t>& content) {
    std::size_t sent = 0;
    while (sent < content.size()) {
        const auto count = send(peer, reinterpret_cast<const char*>(content.data() + sent),
                                static_cast<SendSize>(content.size() - sent), kSendFlags);
        if (count <= 0)
            return false;
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

}  // namespace

struct LoopbackServer::State {
    int port = 0;
    Socket listener = kNoSocket;
    std::atomic<Socket> peer{kNoSocket};
    std::promise<void> sent, left;
    std::shared_future<void> was_sent{sent.get_future()}, has_left{left.get_future()};
    std::vector<uint8_t> content;
    std::thread thread;

    void serve() {
        peer = accept(listener, nullptr, nullptr);
        if (peer != kNoSocket) {
            send_all(peer, content);
            sent.set_value();
            char ignored[256];
            while (recv(peer, ignored, sizeof ignored, 0) > 0) {
            }
        } else {
            sent.set_value();
        }
        left.set_value();
    }
};

LoopbackServer::LoopbackServer(std::vector<uint8_t> content) : state_(std::make_unique<State>()) {
    state_->content = std::move(content);
    state_->listener = listen_anywhere(state_->port);
    state_->thread = std::thread([state = state_.get()] { state->serve(); });
}

LoopbackServer::~LoopbackServer() {
    if (state_->peer == kNoSocket)
        connect_once(state_->port);
    else
        shutdown(state_->peer, kShutBoth);
    state_->thread.join();
    if (state_->peer != kNoSocket)
        close_socket(state_->peer);
    close_socket(state_->listener);
}

std::string LoopbackServer::url() const {
    return "tcp://127.0.0.1:" + std::to_string(state_->port);
}

void LoopbackServer::wait_until_sent() {
    state_->was_sent.wait();
}

void LoopbackServer::wait_until_peer_left() {
    state_->has_left.wait();
}

}  // namespace qmio::test
