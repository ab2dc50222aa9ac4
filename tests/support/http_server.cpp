#include "support/http_server.h"

#include <atomic>
#include <mutex>
#include <thread>

#include "support/sockets.h"

namespace qmio::test {
namespace {

std::string read_head(const Socket& peer) {
    std::string head;
    char byte = 0;
    while (!head.ends_with("\r\n\r\n") && recv(peer.get(), &byte, 1, 0) == 1)
        head += byte;
    return head;
}

template <typename Bytes>
bool send_all(const Socket& peer, const Bytes& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const auto* const rest = reinterpret_cast<const char*>(bytes.data()) + sent;
        const auto count = send(peer.get(), rest, static_cast<SendSize>(bytes.size() - sent), kSendFlags);
        if (count <= 0)
            return false;
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

}  // namespace

struct HttpServer::State {
    explicit State(std::vector<uint8_t> bytes) : content(std::move(bytes)) {}

    int port = 0;
    Socket listener = listen_on_loopback(port);
    std::atomic<bool> ending{false};
    std::mutex lock;
    std::vector<std::string> heads;
    const std::vector<uint8_t> content;
    std::thread thread;

    void answer(const Socket& peer) {
        const std::string head = read_head(peer);
        {
            const std::scoped_lock locked(lock);
            heads.push_back(head);
        }
        if (send_all(peer, "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " + std::to_string(content.size()) +
                               "\r\n\r\n"))
            send_all(peer, content);
    }

    void serve() {
        while (true) {
            const Socket peer(accept(listener.get(), nullptr, nullptr));
            if (ending)
                return;
            if (peer.get() != kNoSocket)
                answer(peer);
        }
    }

    // Wakes the thread out of its waiting for visitors.
    void visit() const {
        const Socket visitor(socket(AF_INET, kStreamSocket, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<uint16_t>(port));
        static_cast<void>(connect(visitor.get(), reinterpret_cast<sockaddr*>(&address), sizeof address));
    }
};

HttpServer::HttpServer(std::vector<uint8_t> content) : state_(std::make_unique<State>(std::move(content))) {
    state_->thread = std::thread([state = state_.get()] { state->serve(); });
}

HttpServer::~HttpServer() {
    state_->ending = true;
    state_->visit();
    state_->thread.join();
}

std::string HttpServer::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(state_->port) + "/" + path;
}

std::vector<std::string> HttpServer::requests() const {
    const std::scoped_lock locked(state_->lock);
    return state_->heads;
}

}  // namespace qmio::test
