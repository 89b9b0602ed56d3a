#pragma once
// Activating an application by its protocol, but only when some application
// handles the protocol: a package that is not installed yet has no handler,
// and launching anyway would put the system's "find an app" prompt up.
#include <string>

#include "Coroutine.h"

// Yields true when the launch happened; false when no application handles the
// URI, the launch was refused, or anything failed. Never ends as Error.
rt::async_operation<bool> SafeLaunchUriAsync(std::wstring uri);

// SafeLaunchUriAsync, waited for on the calling thread, which must be allowed
// to block (not a single-threaded apartment with a message loop). Never throws.
bool SafeLaunchUri(const std::wstring& uri) noexcept;
