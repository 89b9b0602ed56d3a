#pragma once
// HTTP/1.1 as it crosses the wire: the request text of a POST (or of the GET
// a redirect turns it into) and a reader
// that turns the received bytes into a response, failing with the codes
// Windows reports.
#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sim {

namespace http_errors {
inline constexpr HRESULT name_not_resolved = static_cast<HRESULT>(0x80072EE7);
inline constexpr HRESULT cannot_connect = static_cast<HRESULT>(0x80072EFD);
inline constexpr HRESULT connection_aborted = static_cast<HRESULT>(0x80072EFE);
inline constexpr HRESULT invalid_server_response = static_cast<HRESULT>(0x80072F78);
}  // namespace http_errors

struct http_post {
    std::string target;  // path and query, "/" at least
    std::string host;    // the Host header: the URL's host, with its port when not the scheme's default
    std::string contentType;
    std::string body;
    std::string method = "POST";  // a GET goes without content headers
    std::string cookie;           // the Cookie header, none when empty
};

std::string request_text(const http_post& post);

struct http_response {
    int status = 0;
    std::string reason;
    std::string contentType;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;  // names in lower case, in arrival order
};

// Fed with the bytes as they arrive, then told when the peer closed.
class http_response_reader {
public:
    // True once the whole response is there. Throws invalid_server_response
    // as soon as the bytes cannot be HTTP.
    bool add(std::string_view bytes);

    // The response, complete or ended by the close; throws connection_aborted
    // when the close cut it short.
    http_response finish(bool peerClosed);

private:
    void read_head(std::size_t headEnd);
    bool complete() const;

    std::string received_;
    bool headRead_ = false;
    std::size_t bodyStart_ = 0;
    std::optional<std::size_t> bodyLength_;
    http_response response_;
};

}  // namespace sim
