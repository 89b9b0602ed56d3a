#pragma once
// Once a delegate of this code is in the platform's hands, the platform may
// call or release it on any thread at any later time (a launch completing
// after the client's FreeLibrary, a toast clicked after the client let the
// module go). The module that holds this code therefore pins itself before
// it hands out the first delegate and stays mapped for the rest of the process.
#include <windows.h>

#include <atomic>

namespace rt {

namespace pin_detail {

// Its address names the module that holds the code: each module compiling
// these headers has its own copy.
inline std::atomic<DWORD> pin_result{ERROR_IO_PENDING};

inline DWORD pin_now() noexcept {
    HMODULE module = nullptr;
    if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                           reinterpret_cast<LPCWSTR>(&pin_result), &module)) {
        return ERROR_SUCCESS;
    }
    const DWORD error = GetLastError();
    return error == ERROR_SUCCESS ? ERROR_GEN_FAILURE : error;
}

}  // namespace pin_detail

// Pins the module that holds this code; only the first successful call does
// the work. ERROR_SUCCESS, or the error of the last attempt (a later call tries
// again). Never throws.
inline DWORD pin_module() noexcept {
    const DWORD known = pin_detail::pin_result.load();
    if (known == ERROR_SUCCESS) return known;
    const DWORD result = pin_detail::pin_now();
    pin_detail::pin_result.store(result);
    return result;
}

}  // namespace rt
