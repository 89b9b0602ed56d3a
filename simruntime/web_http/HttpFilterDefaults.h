#pragma once
// What HttpBaseProtocolFilter does around one exchange while its settings keep
// their defaults, as the module leaves them: redirects are followed, a server
// asking for credentials gets a prompt, cookies are kept and sent back. Each
// hop is recorded for the tests (HttpSimControl.h).
#include <string>

#include "HttpConnection.h"
#include "HttpWire.h"

namespace sim {

struct http_location {
    std::wstring scheme;  // "http" or "https"
    std::wstring host;    // lower case
    int port = 0;
    std::string target;   // path and query, "/" at least
};

// Sends `request` (its target, host and cookie are filled per hop) to `at`
// and on to where the answers redirect it; the last answer.
http_response send_through_default_filter(http_location at, http_post request, const abort_signal& abort);

}  // namespace sim
