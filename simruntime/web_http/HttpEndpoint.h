#pragma once
// Where the simulated HTTP client connects. Tests steer it with the
// environment variable SIMRUNTIME_HTTP_HOSTS = "name=address:port[;name=address:port...]",
// read at every request, so child processes that inherit it are steered too.
#include <string>
#include <string_view>

namespace sim {

inline constexpr const wchar_t* kHttpHostsVariable = L"SIMRUNTIME_HTTP_HOSTS";

struct http_endpoint {
    std::wstring address;  // a name or a numeric address
    std::wstring port;
};

// The mapped address of `host` (names compare without case), else the host itself at `port`.
http_endpoint endpoint_for(std::wstring_view host, int port);

}  // namespace sim
