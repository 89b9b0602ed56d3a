#pragma once
// Bodies that many simulated methods share: a string property and a method
// that nothing here needs (logged, then E_NOTIMPL).
#include <windows.h>

#include <string_view>

#include "HString.h"
#include "SimCall.h"

namespace sim {

// E_BOUNDS, which not every SDK's winerror.h defines.
inline constexpr HRESULT out_of_bounds = static_cast<HRESULT>(0x8000000B);

inline HRESULT text_result(std::wstring_view method, std::wstring_view text, HSTRING* value) {
    if (!value) return E_POINTER;
    return run_call(method, L"", [&] { *value = rt::hstring(text).detach(); });
}

inline HRESULT not_simulated(std::wstring_view method) {
    return run_call(method, L"", [] { return E_NOTIMPL; });
}

}  // namespace sim
