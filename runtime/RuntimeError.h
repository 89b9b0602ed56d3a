#pragma once
// The exception that carries a failed Windows Runtime call out of the code that
// made it: the HRESULT and a message text for the logs.
#include <windows.h>
#include <oleauto.h>

#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <type_traits>

#include "Guid.h"

namespace rt {

// Codes of the asynchronous model; not every SDK's winerror.h defines them.
namespace hresults {
inline constexpr HRESULT illegal_state_change = static_cast<HRESULT>(0x8000000D);
inline constexpr HRESULT illegal_method_call = static_cast<HRESULT>(0x8000000E);
inline constexpr HRESULT illegal_delegate_assignment = static_cast<HRESULT>(0x80000018);
// What awaiting a cancelled operation raises (HRESULT_FROM_WIN32(ERROR_CANCELLED)).
inline constexpr HRESULT canceled = static_cast<HRESULT>(0x800704C7);
}  // namespace hresults

// Error details a failing runtime call may leave on its thread.
struct IRestrictedErrorInfo : IUnknown {
    static constexpr GUID iid = guid("82ba7092-4c88-427d-a7bc-16dd93feb67e");
    virtual HRESULT STDMETHODCALLTYPE GetErrorDetails(BSTR* description, HRESULT* error, BSTR* restrictedDescription,
                                                      BSTR* capabilitySid) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetReference(BSTR* reference) = 0;
};

namespace error_detail {

struct release_unknown {
    void operator()(IUnknown* object) const noexcept { object->Release(); }
};
using restricted_info_ptr = std::unique_ptr<IRestrictedErrorInfo, release_unknown>;

class owned_bstr {
public:
    owned_bstr() = default;
    owned_bstr(const owned_bstr&) = delete;
    owned_bstr& operator=(const owned_bstr&) = delete;
    ~owned_bstr() { SysFreeString(text_); }
    BSTR* put() noexcept { return &text_; }
    std::wstring str() const { return text_ ? std::wstring(text_, SysStringLen(text_)) : std::wstring(); }

private:
    BSTR text_ = nullptr;
};

inline std::wstring trim_line_ends(std::wstring text) {
    while (!text.empty() && (text.back() == L'\r' || text.back() == L'\n')) text.pop_back();
    return text;
}

struct local_free {
    void operator()(wchar_t* text) const noexcept { LocalFree(text); }
};

}  // namespace error_detail

// The system's text for a code; empty when the system has none.
inline std::wstring system_message(HRESULT code) {
    wchar_t* buffer = nullptr;
    const DWORD length = FormatMessageW(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_ALLOCATE_BUFFER, nullptr,
        static_cast<DWORD>(code), 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
    std::unique_ptr<wchar_t, error_detail::local_free> owned(buffer);
    if (length == 0 || !owned) return {};
    return error_detail::trim_line_ends(std::wstring(owned.get(), length));
}

// The text an error-info object holds for `code`; empty when it describes another error.
inline std::wstring restricted_message(HRESULT code, IRestrictedErrorInfo* info) {
    if (!info) return {};
    error_detail::owned_bstr description, restrictedDescription, capabilitySid;
    HRESULT reported = S_OK;
    if (FAILED(info->GetErrorDetails(description.put(), &reported, restrictedDescription.put(), capabilitySid.put())) ||
        reported != code) {
        return {};
    }
    std::wstring text = restrictedDescription.str();
    if (text.empty()) text = description.str();
    return error_detail::trim_line_ends(std::move(text));
}

// Takes the error info the last failing call left on this thread. Looked up by
// name: not every system that runs this code exports it.
inline error_detail::restricted_info_ptr take_restricted_error_info() {
    using get_function = HRESULT(WINAPI*)(IRestrictedErrorInfo**);
    const HMODULE combase = GetModuleHandleW(L"combase.dll");
    if (!combase) return nullptr;
    const auto get = reinterpret_cast<get_function>(
        reinterpret_cast<void*>(GetProcAddress(combase, "GetRestrictedErrorInfo")));
    IRestrictedErrorInfo* info = nullptr;
    if (!get || get(&info) != S_OK) return nullptr;
    return error_detail::restricted_info_ptr(info);
}

class hresult_error : public std::exception {
public:
    // The message is the system's text for the code.
    explicit hresult_error(HRESULT code) : code_(code), message_(system_message(code)) {}

    // A failure of this code's own, with its own message.
    hresult_error(HRESULT code, std::wstring message) : code_(code), message_(std::move(message)) {}

    // The message comes from `info` when it describes this code.
    hresult_error(HRESULT code, IRestrictedErrorInfo* info) : code_(code), message_(restricted_message(code, info)) {
        if (message_.empty()) message_ = system_message(code);
    }

    HRESULT code() const noexcept { return code_; }
    const std::wstring& message() const noexcept { return message_; }
    const char* what() const noexcept override { return "Windows Runtime error"; }

private:
    HRESULT code_;
    std::wstring message_;
};

[[noreturn]] inline void throw_hresult(HRESULT code) {
    const auto info = take_restricted_error_info();
    throw hresult_error(code, info.get());
}

inline void check(HRESULT result) {
    if (FAILED(result)) throw_hresult(result);
}

// The HRESULT the exception being handled stands for; call it in a catch block.
inline HRESULT hresult_of_current_exception() noexcept {
    try {
        throw;
    } catch (const hresult_error& error) {
        return error.code();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_FAIL;
    }
}

// Runs `body` (returning void or an HRESULT) where no exception may pass, at
// an ABI boundary: what it throws becomes the HRESULT.
template <class Body>
HRESULT hresult_from(Body&& body) noexcept {
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<Body&>>) {
            body();
            return S_OK;
        } else {
            return body();
        }
    } catch (...) {
        return hresult_of_current_exception();
    }
}

}  // namespace rt
