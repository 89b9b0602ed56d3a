#pragma once
// A tiny HTTP/1.0 server on 127.0.0.1 for tests that download: serves the
// files it is given, 404 for anything else, one request per connection.
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class UniqueSocket;
class WinsockSession;

class LoopbackHttpServer {
public:
    LoopbackHttpServer();
    LoopbackHttpServer(const LoopbackHttpServer&) = delete;
    LoopbackHttpServer& operator=(const LoopbackHttpServer&) = delete;
    ~LoopbackHttpServer();

    void Serve(const std::string& path, std::string body, std::string contentType = "image/jpeg");
    // "http://127.0.0.1:<port><path>"
    std::wstring Url(const std::string& path) const;
    // Request paths in the order they arrived.
    std::vector<std::string> Requests() const;

private:
    void Run();
    void Answer(const UniqueSocket& client);

    std::unique_ptr<WinsockSession> winsock_;
    std::unique_ptr<UniqueSocket> listener_;
    unsigned short port_ = 0;
    std::atomic<bool> stopping_{false};
    mutable std::mutex mutex_;
    std::map<std::string, std::pair<std::string, std::string>> files_;
    std::vector<std::string> requests_;
    std::thread thread_;
};
