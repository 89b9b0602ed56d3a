#include "LoopbackSocket.h"

#include <ws2tcpip.h>

#include <stdexcept>
#include <string>

WinsockSession::WinsockSession() {
    WSADATA data;
    if (const int error = WSAStartup(MAKEWORD(2, 2), &data); error != 0) {
        throw std::runtime_error("WSAStartup failed: " + std::to_string(error));
    }
}

WinsockSession::~WinsockSession() { WSACleanup(); }

UniqueSocket ListenOnLoopback(unsigned short port) {
    UniqueSocket listener(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    if (!listener.valid()) throw std::runtime_error("socket failed: " + std::to_string(WSAGetLastError()));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    if (bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(listener.get(), SOMAXCONN) != 0) {
        throw std::runtime_error("cannot listen on 127.0.0.1:" + std::to_string(port) + " (error " +
                                 std::to_string(WSAGetLastError()) + ")");
    }
    return listener;
}

unsigned short LocalPort(SOCKET socket) {
    sockaddr_in address = {};
    int length = sizeof(address);
    if (getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0) return 0;
    return ntohs(address.sin_port);
}

bool WaitReadable(SOCKET socket, const std::atomic<bool>& stopping) {
    while (!stopping) {
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(socket, &readable);
        timeval slice = {0, 50 * 1000};
        const int ready = select(0, &readable, nullptr, nullptr, &slice);
        if (ready > 0) return true;
        if (ready < 0) return false;
    }
    return false;
}

bool SendAll(SOCKET socket, std::string_view data) {
    while (!data.empty()) {
        const int sent = send(socket, data.data(), static_cast<int>(data.size()), 0);
        if (sent <= 0) return false;
        data.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}
