#include "BareHttp.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <memory>
#include <stdexcept>

#include "HttpRequest.h"
#include "LoopbackSocket.h"
#include "QuorvelBuildSettings.h"

namespace {

constexpr char kOk[] = "HTTP/1.1 200 OK\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Length: 2\r\n"
                       "Connection: close\r\n\r\nok";

std::string NarrowHost() {
    std::string host;
    for (const wchar_t* c = quorvel::build_settings::kCollectorHost; *c; ++c) host += static_cast<char>(*c);
    return host;
}

// "HTTP/1.1 200 OK" -> 200.
int StatusOf(const std::string& answer) {
    const size_t space = answer.find(' ');
    if (answer.rfind("HTTP/", 0) != 0 || space == std::string::npos || answer.size() < space + 4) {
        throw std::runtime_error("the bare POST got no HTTP answer");
    }
    return std::stoi(answer.substr(space + 1, 3));
}

}  // namespace

std::string ReportPostRequest(const std::string& body) {
    return "POST /collect HTTP/1.1\r\nHost: " + NarrowHost() +
           "\r\nContent-Type: text/plain; charset=UTF-8\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\nConnection: close\r\n\r\n" + body;
}

int BarePost(unsigned short port, const std::string& request) {
    const WinsockSession winsock;
    const UniqueSocket connection(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    const BOOL noDelay = TRUE;
    setsockopt(connection.get(), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&noDelay), sizeof(noDelay));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        !SendAll(connection.get(), request)) {
        throw std::runtime_error("the bare POST could not send");
    }
    std::string answer;
    char buffer[4096];
    for (int received; (received = recv(connection.get(), buffer, sizeof(buffer), 0)) > 0;) {
        answer.append(buffer, static_cast<size_t>(received));
    }
    return StatusOf(answer);
}

TrivialHttpServer::TrivialHttpServer()
    : winsock_(std::make_unique<WinsockSession>()),
      listener_(std::make_unique<UniqueSocket>(ListenOnLoopback(0))),
      port_(LocalPort(listener_->get())),
      thread_([this] { Serve(); }) {}

TrivialHttpServer::~TrivialHttpServer() {
    stopping_ = true;
    thread_.join();
}

void TrivialHttpServer::Serve() {
    while (WaitReadable(listener_->get(), stopping_)) {
        const UniqueSocket client(accept(listener_->get(), nullptr, nullptr));
        if (!client.valid() || !ReadHttpRequest(client.get(), stopping_)) continue;
        SendAll(client.get(), kOk);
        shutdown(client.get(), SD_SEND);
    }
}
