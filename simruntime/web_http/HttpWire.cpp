#include "HttpWire.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "RuntimeError.h"

namespace sim {

namespace {

constexpr std::string_view kHttpPrefix = "HTTP/";
constexpr std::string_view kHeadEnd = "\r\n\r\n";

[[noreturn]] void fail(HRESULT code) { throw rt::hresult_error(code); }

bool equal_ignoring_case(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](unsigned char a, unsigned char b) {
        return std::tolower(a) == std::tolower(b);
    });
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    return text;
}

std::size_t parsed_number(std::string_view digits) {
    std::size_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (digits.empty() || error != std::errc() || end != digits.data() + digits.size()) {
        fail(http_errors::invalid_server_response);
    }
    return value;
}

// "HTTP/1.1 200 OK": the version, three digits, an optional reason.
void read_status_line(std::string_view line, http_response& response) {
    const std::size_t space = line.find(' ');
    if (!line.starts_with(kHttpPrefix) || space == std::string_view::npos) fail(http_errors::invalid_server_response);
    const std::string_view rest = line.substr(space + 1);
    const std::string_view code = rest.substr(0, std::min(rest.find(' '), rest.size()));
    if (code.size() != 3) fail(http_errors::invalid_server_response);
    response.status = static_cast<int>(parsed_number(code));
    response.reason = code.size() < rest.size() ? std::string(rest.substr(code.size() + 1)) : std::string();
}

bool has_no_body(int status) { return (status >= 100 && status < 200) || status == 204 || status == 304; }

}  // namespace

std::string request_text(const http_post& post) {
    std::string text = post.method + " " + post.target + " HTTP/1.1\r\n" + "Host: " + post.host + "\r\n";
    if (post.method != "GET") {
        text += "Content-Type: " + post.contentType + "\r\n" +
                "Content-Length: " + std::to_string(post.body.size()) + "\r\n";
    }
    if (!post.cookie.empty()) text += "Cookie: " + post.cookie + "\r\n";
    return text + "Connection: close\r\n\r\n" + post.body;
}

bool http_response_reader::add(std::string_view bytes) {
    received_.append(bytes);
    if (!headRead_) {
        const std::size_t compared = std::min(received_.size(), kHttpPrefix.size());
        if (received_.compare(0, compared, kHttpPrefix, 0, compared) != 0) fail(http_errors::invalid_server_response);
        const std::size_t headEnd = received_.find(kHeadEnd);
        if (headEnd == std::string::npos) return false;
        read_head(headEnd);
    }
    return complete();
}

http_response http_response_reader::finish(bool peerClosed) {
    if (!headRead_ || (!complete() && (!peerClosed || bodyLength_))) fail(http_errors::connection_aborted);
    response_.body = received_.substr(bodyStart_, bodyLength_.value_or(std::string::npos));
    return response_;
}

void http_response_reader::read_head(std::size_t headEnd) {
    std::string_view head = std::string_view(received_).substr(0, headEnd);
    const std::size_t statusEnd = std::min(head.find("\r\n"), head.size());
    read_status_line(head.substr(0, statusEnd), response_);
    head.remove_prefix(std::min(statusEnd + 2, head.size()));
    while (!head.empty()) {
        const std::size_t lineEnd = std::min(head.find("\r\n"), head.size());
        const std::string_view line = head.substr(0, lineEnd);
        head.remove_prefix(std::min(lineEnd + 2, head.size()));
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos) fail(http_errors::invalid_server_response);
        const std::string_view name = trimmed(line.substr(0, colon));
        const std::string_view value = trimmed(line.substr(colon + 1));
        if (equal_ignoring_case(name, "Content-Length")) bodyLength_ = parsed_number(value);
        if (equal_ignoring_case(name, "Content-Type")) response_.contentType = std::string(value);
        std::string lowered(name);
        std::ranges::transform(lowered, lowered.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        response_.headers.emplace_back(std::move(lowered), value);
    }
    if (has_no_body(response_.status)) bodyLength_ = 0;
    bodyStart_ = headEnd + kHeadEnd.size();
    headRead_ = true;
}

bool http_response_reader::complete() const {
    return headRead_ && bodyLength_ && received_.size() - bodyStart_ >= *bodyLength_;
}

}  // namespace sim
