#pragma once
// Reads the one HTTP/1.1 request a connection of the collector carries.
#include <winsock2.h>

#include <atomic>
#include <optional>
#include <string>

struct HttpRequest {
    std::string method;
    std::string path;
    std::string contentType;
    std::string cookie;
    std::string body;
    // Why the request cannot carry a report whatever its body says (no or a
    // bad Content-Length, a body too long to read); empty otherwise.
    std::string problem;
};

// Headers, then Content-Length bytes of body. Nothing when the client closed
// before its headers were complete, sent too much header, or the collector
// stopped meanwhile.
std::optional<HttpRequest> ReadHttpRequest(SOCKET client, const std::atomic<bool>& stopping);
