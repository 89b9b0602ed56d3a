#include "LoopbackHttpServer.h"

#include <winsock2.h>
#include <ws2tcpip.h>

namespace {
struct WinsockSession {
    WinsockSession() {
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
    }
    ~WinsockSession() { WSACleanup(); }
};
}  // namespace

LoopbackHttpServer::LoopbackHttpServer() {
    static WinsockSession session;
    SOCKET listener = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address));
    listen(listener, 8);
    int length = sizeof(address);
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    port_ = ntohs(address.sin_port);
    listener_ = listener;
    thread_ = std::thread([this] { Run(); });
}

LoopbackHttpServer::~LoopbackHttpServer() {
    stopping_ = true;
    closesocket(static_cast<SOCKET>(listener_));
    thread_.join();
}

void LoopbackHttpServer::Serve(const std::string& path, std::string body, std::string contentType) {
    std::lock_guard lock(mutex_);
    files_[path] = {std::move(body), std::move(contentType)};
}

std::wstring LoopbackHttpServer::Url(const std::string& path) const {
    return L"http://127.0.0.1:" + std::to_wstring(port_) + std::wstring(path.begin(), path.end());
}

std::vector<std::string> LoopbackHttpServer::Requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
}

void LoopbackHttpServer::Run() {
    while (!stopping_) {
        SOCKET client = accept(static_cast<SOCKET>(listener_), nullptr, nullptr);
        if (client == INVALID_SOCKET) continue;
        Answer(client);
        closesocket(client);
    }
}

void LoopbackHttpServer::Answer(uintptr_t clientHandle) {
    const SOCKET client = static_cast<SOCKET>(clientHandle);
    std::string request;
    char buffer[2048];
    while (request.find("\r\n\r\n") == std::string::npos) {
        int received = recv(client, buffer, sizeof(buffer), 0);
        if (received <= 0) return;
        request.append(buffer, received);
    }
    const size_t pathStart = request.find(' ') + 1;
    const std::string path = request.substr(pathStart, request.find(' ', pathStart) - pathStart);
    std::string response;
    {
        std::lock_guard lock(mutex_);
        requests_.push_back(path);
        auto file = files_.find(path);
        if (file == files_.end()) {
            response = "HTTP/1.0 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
        } else {
            response = "HTTP/1.0 200 OK\r\nContent-Type: " + file->second.second +
                       "\r\nContent-Length: " + std::to_string(file->second.first.size()) +
                       "\r\nCache-Control: no-store\r\nConnection: close\r\n\r\n" + file->second.first;
        }
    }
    for (size_t sent = 0; sent < response.size();) {
        int n = send(client, response.data() + sent, static_cast<int>(response.size() - sent), 0);
        if (n <= 0) break;
        sent += static_cast<size_t>(n);
    }
    shutdown(client, SD_SEND);
}
