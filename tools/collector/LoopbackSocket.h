#pragma once
// Winsock plumbing of the loopback collector: owned sockets, a listener on
// 127.0.0.1 and waits that give up as soon as the collector stops.
#include <winsock2.h>

#include <atomic>
#include <string_view>
#include <utility>

// Winsock counts its users; each owner of sockets holds one of these.
class WinsockSession {
public:
    WinsockSession();
    WinsockSession(const WinsockSession&) = delete;
    WinsockSession& operator=(const WinsockSession&) = delete;
    ~WinsockSession();
};

class UniqueSocket {
public:
    UniqueSocket() = default;
    explicit UniqueSocket(SOCKET socket) : socket_(socket) {}
    UniqueSocket(const UniqueSocket&) = delete;
    UniqueSocket& operator=(const UniqueSocket&) = delete;
    UniqueSocket(UniqueSocket&& other) noexcept : socket_(std::exchange(other.socket_, INVALID_SOCKET)) {}
    UniqueSocket& operator=(UniqueSocket&& other) noexcept {
        if (this != &other) reset(std::exchange(other.socket_, INVALID_SOCKET));
        return *this;
    }
    ~UniqueSocket() { reset(); }

    bool valid() const { return socket_ != INVALID_SOCKET; }
    SOCKET get() const { return socket_; }
    void reset(SOCKET socket = INVALID_SOCKET) {
        if (valid()) closesocket(socket_);
        socket_ = socket;
    }

private:
    SOCKET socket_ = INVALID_SOCKET;
};

// Listens on 127.0.0.1:port (0: a free port); throws std::runtime_error when
// the port cannot be had.
UniqueSocket ListenOnLoopback(unsigned short port);
unsigned short LocalPort(SOCKET socket);

// Blocks until the socket can be read (or accepted from); false once
// `stopping` is set or the socket failed. Polling in short slices lets every
// thread notice a stop without another thread closing its socket under it.
bool WaitReadable(SOCKET socket, const std::atomic<bool>& stopping);

bool SendAll(SOCKET socket, std::string_view data);
