#pragma once
// Owner of one Windows Runtime string, and views into strings the code does not own.
#include <windows.h>
#include <winstring.h>

#include <string>
#include <string_view>
#include <utility>

#include "RuntimeError.h"

namespace rt {

// The characters of a string handle; null is the empty string.
inline std::wstring_view view_of(HSTRING text) noexcept {
    UINT32 length = 0;
    const wchar_t* characters = WindowsGetStringRawBuffer(text, &length);
    return {characters, length};
}

inline std::wstring to_wstring(HSTRING text) { return std::wstring(view_of(text)); }

// Its assignment takes its argument by value: the copy and the move assignment in one.
class hstring {  // NOLINT(cppcoreguidelines-special-member-functions)
public:
    hstring() noexcept = default;
    explicit hstring(std::wstring_view text) {
        check(WindowsCreateString(text.data(), static_cast<UINT32>(text.size()), &handle_));
    }
    hstring(const hstring& other) { check(WindowsDuplicateString(other.handle_, &handle_)); }
    hstring(hstring&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    hstring& operator=(hstring other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~hstring() { WindowsDeleteString(handle_); }

    // Adopts a string the caller owns, such as an out-parameter's result.
    static hstring attach(HSTRING handle) noexcept {
        hstring owner;
        owner.handle_ = handle;
        return owner;
    }

    HSTRING get() const noexcept { return handle_; }
    HSTRING* put() noexcept {
        WindowsDeleteString(std::exchange(handle_, nullptr));
        return &handle_;
    }
    HSTRING detach() noexcept { return std::exchange(handle_, nullptr); }

    std::wstring_view view() const noexcept { return view_of(handle_); }
    std::wstring str() const { return std::wstring(view()); }
    bool empty() const noexcept { return view().empty(); }

private:
    HSTRING handle_ = nullptr;
};

}  // namespace rt
