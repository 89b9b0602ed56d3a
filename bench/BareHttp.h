#pragma once
// The baselines of the POST figures: a POST made with bare Winsock calls and
// a trivial HTTP server that answers every request 200 on one thread.
#include <atomic>
#include <memory>
#include <string>
#include <thread>

class UniqueSocket;
class WinsockSession;

// The bytes the simulated HTTP client sends for a report: its request line,
// headers and body, one send.
std::string ReportPostRequest(const std::string& body);

// Connects to 127.0.0.1:port, sends `request`, reads the answer up to the
// close; the answer's status code. Throws std::runtime_error when the
// exchange fails.
int BarePost(unsigned short port, const std::string& request);

// Reads each request whole (headers and Content-Length bytes) and answers
// "200 OK" with the same socket calls as the loopback collector, but on its
// accepting thread and without looking at the body.
class TrivialHttpServer {
public:
    TrivialHttpServer();
    TrivialHttpServer(const TrivialHttpServer&) = delete;
    TrivialHttpServer& operator=(const TrivialHttpServer&) = delete;
    ~TrivialHttpServer();
    unsigned short Port() const { return port_; }

private:
    void Serve();

    std::unique_ptr<WinsockSession> winsock_;
    std::unique_ptr<UniqueSocket> listener_;
    unsigned short port_ = 0;
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};
