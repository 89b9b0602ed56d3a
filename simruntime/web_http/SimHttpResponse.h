#pragma once
// The simulated Windows.Web.Http.HttpResponseMessage.
#include "ComPtr.h"
#include "HttpWire.h"
#include "WebHttp.h"

namespace sim {

// The status, reason phrase and content (with its Content-Type) that arrived.
rt::com_ptr<rt::IHttpResponseMessage> make_http_response(const http_response& response);

}  // namespace sim
