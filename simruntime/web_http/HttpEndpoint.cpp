#include "HttpEndpoint.h"

#include <windows.h>

#include <algorithm>
#include <optional>

#include "EnvironmentVariable.h"

namespace sim {

namespace {

bool same_host(std::wstring_view left, std::wstring_view right) {
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(), static_cast<int>(right.size()),
                                TRUE) == CSTR_EQUAL;
}

// "name=address:port"; entries without both parts are ignored.
std::optional<http_endpoint> mapped_endpoint(std::wstring_view entry, std::wstring_view host) {
    const std::size_t equals = entry.find(L'=');
    const std::size_t colon = entry.rfind(L':');
    if (equals == std::wstring_view::npos || colon == std::wstring_view::npos || colon < equals) return std::nullopt;
    if (!same_host(entry.substr(0, equals), host)) return std::nullopt;
    return http_endpoint{std::wstring(entry.substr(equals + 1, colon - equals - 1)), std::wstring(entry.substr(colon + 1))};
}

}  // namespace

http_endpoint endpoint_for(std::wstring_view host, int port) {
    const std::wstring hosts = environment_variable(kHttpHostsVariable).value_or(std::wstring());
    for (std::size_t start = 0; start < hosts.size();) {
        const std::size_t end = std::min(hosts.find(L';', start), hosts.size());
        if (auto mapped = mapped_endpoint(std::wstring_view(hosts).substr(start, end - start), host)) return *mapped;
        start = end + 1;
    }
    return {std::wstring(host), std::to_wstring(port)};
}

}  // namespace sim
