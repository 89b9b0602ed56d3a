#pragma once
// One HTTP exchange over a TCP connection of its own, which another thread
// may abort at any moment: every wait also wakes on the abort signal, so a
// blocked connect or receive returns at once and the thread that owns the
// socket closes it.
#include <windows.h>

#include <string_view>

#include "HttpEndpoint.h"
#include "HttpWire.h"
#include "UniqueHandle.h"

namespace sim {

class abort_signal {
public:
    abort_signal();
    void raise() noexcept;
    HANDLE handle() const noexcept { return event_.get(); }

private:
    UniqueHandle event_;
};

// Sends `request` to `endpoint` as plain HTTP and reads the whole response.
// Throws hresult_error with the code Windows reports, or
// HRESULT_FROM_WIN32(ERROR_CANCELLED) once aborted. Resolving a name is the
// one step an abort does not cut short.
http_response exchange(const http_endpoint& endpoint, std::string_view request, const abort_signal& abort);

}  // namespace sim
