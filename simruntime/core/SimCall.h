#pragma once
// The frame of every simulated method: the call is logged, fails when a test
// injected a failure for it, and otherwise runs its body, whose exceptions
// become the returned HRESULT. Methods of simulated objects reach it through
// their object's run_call (SimObject.h), which applies the apartment rules first.
#include <windows.h>

#include <string_view>
#include <utility>

#include "RuntimeError.h"
#include "SimState.h"

namespace sim {

// `body` returns void (S_OK) or an HRESULT; `method` is "Class.Method".
template <class Body>
HRESULT run_call(std::wstring_view method, std::wstring_view arguments, Body&& body) noexcept {
    return rt::hresult_from([&]() -> HRESULT {
        const HRESULT injected = enter_call(method, arguments);
        if (FAILED(injected)) return injected;
        return rt::hresult_from(std::forward<Body>(body));
    });
}

}  // namespace sim
