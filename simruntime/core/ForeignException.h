#pragma once
// A component that breaks the ABI contract lets a C++ exception out of a
// method instead of returning an HRESULT. Tests plan that with
// SimRuntime_ThrowFromNextCall to reach their callers' catch-all handlers.
#include <string_view>

namespace sim {

// Throws std::runtime_error when a test planned it for this call of `method`.
void throw_if_planned(std::wstring_view method);

}  // namespace sim
