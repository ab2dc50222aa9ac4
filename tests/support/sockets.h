// Sockets of either system, as far as tests need them. For .cpp files only: it brings the system's headers along.
#pragma once

#if defined(_WIN32)
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

#include <stdexcept>
#include <utility>

namespace qmio::test {

#if defined(_WIN32)
using SocketHandle = SOCKET;
using SendSize = int;
inline constexpr int kSendFlags = 0;
inline constexpr SocketHandle kNoSocket = INVALID_SOCKET;
inline constexpr int kStreamSocket = SOCK_STREAM;
inline constexpr int kShutSending = SD_SEND;

inline void start_sockets() {
    static const int started = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data);
    }();
    if (started != 0)
        throw std::runtime_error("no sockets");
}
inline void close_socket(SocketHandle socket) {
    closesocket(socket);
}
#else
using SocketHandle = int;
using SendSize = std::size_t;
inline constexpr int kSendFlags = MSG_NOSIGNAL;
inline constexpr SocketHandle kNoSocket = -1;
inline constexpr int kStreamSocket = SOCK_STREAM | SOCK_CLOEXEC;
inline constexpr int kShutSending = SHUT_WR;

inline void start_sockets() {}
inline void close_socket(SocketHandle socket) {
    close(socket);
}
#endif

class Socket {
  public:
    explicit Socket(SocketHandle handle) : handle_(handle) {}
    Socket(Socket&& other) noexcept : handle_(std::exchange(other.handle_, kNoSocket)) {}
    Socket& operator=(Socket&&) = delete;
    ~Socket() {
        if (handle_ != kNoSocket)
            close_socket(handle_);
    }

    SocketHandle get() const { return handle_; }

  private:
    SocketHandle handle_;
};

// A socket that listens on a free port of the loopback interface.
inline Socket listen_on_loopback(int& port) {
    start_sockets();
    Socket listener(socket(AF_INET, kStreamSocket, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (listener.get() == kNoSocket || bind(listener.get(), reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        listen(listener.get(), 1) != 0 ||
        getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("cannot listen on the loopback interface");
    port = ntohs(address.sin_port);
    return listener;
}

// The first to connect; throws when nobody has come after so many seconds.
inline Socket accept_within(const Socket& listener, int seconds) {
    fd_set waiting;
    FD_ZERO(&waiting);
    FD_SET(listener.get(), &waiting);
    timeval limit{};
    limit.tv_sec = seconds;
    if (select(static_cast<int>(listener.get() + 1), &waiting, nullptr, nullptr, &limit) <= 0)
        throw std::runtime_error("nobody connected");
    return Socket(accept(listener.get(), nullptr, nullptr));
}

}  // namespace qmio::test
