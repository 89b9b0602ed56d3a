#include "HttpRequest.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "LoopbackSocket.h"

namespace {

constexpr size_t kMaxHeaderBytes = 64 * 1024;
// Reports are a few hundred bytes; anything near this is not one.
constexpr size_t kMaxBodyBytes = 1024 * 1024;

// Appends what the client sends next; false when it closed, failed or the
// collector stopped.
bool ReceiveMore(SOCKET client, const std::atomic<bool>& stopping, std::string& into) {
    if (!WaitReadable(client, stopping)) return false;
    char buffer[4096];
    const int received = recv(client, buffer, sizeof(buffer), 0);
    if (received <= 0) return false;
    into.append(buffer, static_cast<size_t>(received));
    return true;
}

bool SameHeaderName(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
    });
}

std::string_view Trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// The header's value, or nothing when the request has no such header.
std::optional<std::string_view> HeaderValue(std::string_view headers, std::string_view name) {
    for (size_t start = 0; start < headers.size();) {
        size_t end = headers.find("\r\n", start);
        if (end == std::string_view::npos) end = headers.size();
        const std::string_view line = headers.substr(start, end - start);
        const size_t colon = line.find(':');
        if (colon != std::string_view::npos && SameHeaderName(line.substr(0, colon), name)) {
            return Trimmed(line.substr(colon + 1));
        }
        start = end + 2;
    }
    return std::nullopt;
}

// "POST /collect HTTP/1.1" into method and path.
void ParseRequestLine(std::string_view line, HttpRequest& request) {
    const size_t methodEnd = line.find(' ');
    request.method = std::string(line.substr(0, methodEnd));
    if (methodEnd == std::string_view::npos) return;
    const size_t pathEnd = line.find(' ', methodEnd + 1);
    request.path = std::string(line.substr(methodEnd + 1, pathEnd - methodEnd - 1));
}

std::optional<size_t> ParseContentLength(std::string_view value) {
    size_t length = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), length);
    if (error != std::errc() || end != value.data() + value.size() || value.empty()) return std::nullopt;
    return length;
}

}  // namespace

std::optional<HttpRequest> ReadHttpRequest(SOCKET client, const std::atomic<bool>& stopping) {
    std::string received;
    size_t headerEnd;
    while ((headerEnd = received.find("\r\n\r\n")) == std::string::npos) {
        if (received.size() > kMaxHeaderBytes || !ReceiveMore(client, stopping, received)) return std::nullopt;
    }
    const std::string_view head = std::string_view(received).substr(0, headerEnd);
    const size_t lineEnd = std::min(head.find("\r\n"), head.size());
    const std::string_view headers = lineEnd < head.size() ? head.substr(lineEnd + 2) : std::string_view();

    HttpRequest request;
    ParseRequestLine(head.substr(0, lineEnd), request);
    request.contentType = std::string(HeaderValue(headers, "Content-Type").value_or(""));
    request.cookie = std::string(HeaderValue(headers, "Cookie").value_or(""));
    const auto lengthHeader = HeaderValue(headers, "Content-Length");
    if (!lengthHeader) {
        request.problem = "no Content-Length header";
        return request;
    }
    const auto length = ParseContentLength(*lengthHeader);
    if (!length) {
        request.problem = "Content-Length is not a number: " + std::string(*lengthHeader);
        return request;
    }
    if (*length > kMaxBodyBytes) {
        request.problem = "Content-Length " + std::to_string(*length) + " is more than a report can be";
        return request;
    }

    request.body = received.substr(headerEnd + 4);
    while (request.body.size() < *length) {
        if (!ReceiveMore(client, stopping, request.body)) return std::nullopt;
    }
    request.body.resize(*length);
    return request;
}
