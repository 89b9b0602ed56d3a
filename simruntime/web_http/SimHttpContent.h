#pragma once
// The simulated HTTP contents: the string content PostAsync sends and the
// content of a received response.
#include <optional>
#include <string>

#include "ComPtr.h"
#include "WebHttp.h"

namespace sim {

struct http_body {
    std::string bytes;
    std::string contentType;  // the whole Content-Type value, charset included
};

// Answers ReadAsStringAsync with the text of `body`.
rt::com_ptr<rt::IHttpContent> make_received_content(http_body body);

// The body of a content this DLL made; nothing for a content of another component.
std::optional<http_body> body_of(rt::IHttpContent* content);

}  // namespace sim
