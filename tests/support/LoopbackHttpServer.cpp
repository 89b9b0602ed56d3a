#include "LoopbackHttpServer.h"

#include "HttpRequest.h"
#include "LoopbackSocket.h"

LoopbackHttpServer::LoopbackHttpServer()
    : winsock_(std::make_unique<WinsockSession>()), listener_(std::make_unique<UniqueSocket>(ListenOnLoopback(0))) {
    port_ = LocalPort(listener_->get());
    thread_ = std::thread([this] { Run(); });
}

LoopbackHttpServer::~LoopbackHttpServer() {
    stopping_ = true;
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
    while (WaitReadable(listener_->get(), stopping_)) {
        const UniqueSocket client(accept(listener_->get(), nullptr, nullptr));
        if (client.valid()) Answer(client);
    }
}

void LoopbackHttpServer::Answer(const UniqueSocket& client) {
    const auto request = ReadHttpRequest(client.get(), stopping_);
    if (!request) return;
    std::string response = "HTTP/1.0 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    {
        std::lock_guard lock(mutex_);
        requests_.push_back(request->path);
        if (const auto file = files_.find(request->path); file != files_.end()) {
            response = "HTTP/1.0 200 OK\r\nContent-Type: " + file->second.second +
                       "\r\nContent-Length: " + std::to_string(file->second.first.size()) +
                       "\r\nCache-Control: no-store\r\nConnection: close\r\n\r\n" + file->second.first;
        }
    }
    SendAll(client.get(), response);
    shutdown(client.get(), SD_SEND);
}
