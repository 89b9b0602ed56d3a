#include "HttpFilterDefaults.h"

#include <windows.h>

#include <algorithm>
#include <iterator>
#include <mutex>
#include <string_view>
#include <vector>

#include "HString.h"
#include "HttpEndpoint.h"
#include "HttpText.h"
#include "RuntimeError.h"
#include "SimState.h"
#include "UriText.h"

namespace sim {

namespace {

// "HttpBaseProtocolFilter.AllowAutoRedirect Property": true by default, "the
// maximum number of redirections to follow is set internally by the system";
// 10 here. Which answers change a POST into a GET without its body no Windows
// page says: these are the HTTP rules (RFC 9110, 15.4), which the platform follows.
struct redirect_rule {
    int status;
    bool becomesGet;
};
constexpr redirect_rule kRedirects[] = {{301, true}, {302, true}, {303, true}, {307, false}, {308, false}};
constexpr int kMostRedirects = 10;

// "HttpBaseProtocolFilter.AllowUI Property": true by default, so the filter
// "can prompt for user credentials when requested by the server"; "HttpBaseProtocolFilter
// Constructor": a desktop app has to give the filter its owner window first.
// A process without windows gets the prompt anyway; nobody answers it, and the
// challenge comes back as the final status.
struct challenge_rule {
    int status;
    std::string_view header;
};
constexpr challenge_rule kChallenges[] = {{401, "www-authenticate"}, {407, "proxy-authenticate"}};

// "HttpBaseProtocolFilter.CookieUsageBehavior Property": "By default, cookies
// are handled automatically" ("HttpCookieUsageBehavior Enum", Default 0): kept
// for the process and sent to the host and path they were set for.
struct cookie {
    std::wstring host;
    std::string path;
    std::string name;
    std::string value;
};

struct filter_state {
    std::vector<cookie> cookies;
    std::vector<std::wstring> record;
};

// Guarded by sim::state_mutex(). Never destroyed: operation threads may still
// reach it while the process exits.
filter_state& state() {
    static auto* instance = new filter_state;
    return *instance;
}

const reset_registration reset{[] { state() = filter_state{}; }};

std::wstring wide(std::string_view text) { return decoded_text(text, ""); }

// The host, with its port when not the scheme's default: the Host header.
std::wstring authority(const http_location& at) {
    const bool defaultPort = at.port == (at.scheme == L"https" ? 443 : 80);
    return defaultPort ? at.host : at.host + L":" + std::to_wstring(at.port);
}

std::wstring uri_text(const http_location& at) { return at.scheme + L"://" + authority(at) + wide(at.target); }

const std::string* header(const http_response& response, std::string_view name) {
    const auto found = std::ranges::find(response.headers, name, &std::pair<std::string, std::string>::first);
    return found == response.headers.end() ? nullptr : &found->second;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return text;
}

// The folder of the target's path: where a cookie without a Path applies.
std::string default_cookie_path(const std::string& target) {
    const std::string path = target.substr(0, target.find('?'));
    const size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

// "name=value; Path=/x; ..."; other attributes do not change where it goes.
void keep_cookie(const http_location& at, std::string_view line) {
    cookie kept{at.host, default_cookie_path(at.target), {}, {}};
    for (size_t start = 0; start <= line.size();) {
        const size_t end = std::min(line.find(';', start), line.size());
        const std::string_view part = trimmed(line.substr(start, end - start));
        const size_t equals = part.find('=');
        const std::string_view name = trimmed(part.substr(0, equals));
        const std::string_view value = equals == std::string_view::npos ? "" : trimmed(part.substr(equals + 1));
        if (start == 0) {
            kept.name = name;
            kept.value = value;
        } else if (CompareStringOrdinal(wide(name).c_str(), -1, L"Path", -1, TRUE) == CSTR_EQUAL && !value.empty()) {
            kept.path = value;
        }
        start = end + 1;
    }
    if (kept.name.empty()) return;
    auto& cookies = state().cookies;
    std::erase_if(cookies, [&](const cookie& old) {
        return old.host == kept.host && old.path == kept.path && old.name == kept.name;
    });
    cookies.push_back(std::move(kept));
}

std::string cookies_for(const http_location& at) {
    std::lock_guard lock(state_mutex());
    std::string sent;
    for (const auto& kept : state().cookies) {
        if (kept.host != at.host || !at.target.starts_with(kept.path)) continue;
        sent += (sent.empty() ? "" : "; ") + kept.name + "=" + kept.value;
    }
    return sent;
}

void record(const http_post& request, const http_location& at, const http_response& response) {
    std::lock_guard lock(state_mutex());
    for (const auto& [name, value] : response.headers) {
        if (name == "set-cookie") keep_cookie(at, value);
    }
    state().record.push_back(wide(request.method) + L" " + uri_text(at) + L" " + std::to_wstring(response.status));
    for (const auto& challenge : kChallenges) {
        const std::string* asked = header(response, challenge.header);
        if (response.status == challenge.status && asked) {
            state().record.push_back(L"credential prompt for " + uri_text(at) + L": " + wide(*asked));
        }
    }
}

// Absolute, or relative to the location that answered.
http_location redirected(const http_location& from, const std::string& location) {
    if (const auto parts = parse_absolute_uri(wide(location))) {
        if (parts->scheme == L"http" || parts->scheme == L"https") {
            const std::wstring path = parts->path.empty() ? L"/" : parts->path;
            return {parts->scheme, parts->host, port_number(*parts), utf8_of(path + parts->query)};
        }
    }
    http_location to = from;
    const std::string folder = default_cookie_path(from.target);
    to.target = location.starts_with('/') ? location : folder + (folder.ends_with('/') ? "" : "/") + location;
    return to;
}

}  // namespace

http_response send_through_default_filter(http_location at, http_post request, const abort_signal& abort) {
    for (int hop = 0;; ++hop) {
        request.target = at.target;
        request.host = utf8_of(authority(at));
        request.cookie = cookies_for(at);
        http_response response = exchange(endpoint_for(at.host, at.port), request_text(request), abort);
        record(request, at, response);
        const auto rule = std::ranges::find(kRedirects, response.status, &redirect_rule::status);
        const std::string* location = header(response, "location");
        if (rule == std::end(kRedirects) || !location || hop == kMostRedirects) return response;
        at = redirected(at, *location);
        if (rule->becomesGet && request.method == "POST") {
            request.method = "GET";
            request.body.clear();
            request.contentType.clear();
        }
    }
}

}  // namespace sim

// The `index`-th line of what the filter did since the last reset: "POST <uri>
// <status>" per hop, "credential prompt for <uri>: <challenge>"; S_FALSE past the end.
extern "C" __declspec(dllexport) HRESULT SimRuntime_HttpFilterRecord(UINT32 index, HSTRING* line) {
    if (!line) return E_POINTER;
    *line = nullptr;
    return rt::hresult_from([&]() -> HRESULT {
        std::lock_guard lock(sim::state_mutex());
        if (index >= sim::state().record.size()) return S_FALSE;
        *line = rt::hstring(sim::state().record[index]).detach();
        return S_OK;
    });
}
