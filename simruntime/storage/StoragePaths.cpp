#include "StoragePaths.h"

#include <windows.h>

#include <vector>

#include "RuntimeError.h"

namespace sim {

namespace {

bool is_drive_letter(wchar_t c) { return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z'); }

std::wstring full_path_name(const std::wstring& path) {
    const DWORD needed = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    if (needed == 0) throw rt::hresult_error(HRESULT_FROM_WIN32(GetLastError()));
    std::vector<wchar_t> buffer(needed);
    const DWORD written = GetFullPathNameW(path.c_str(), needed, buffer.data(), nullptr);
    if (written == 0 || written >= needed) throw rt::hresult_error(E_INVALIDARG);
    return std::wstring(buffer.data(), written);
}

bool is_drive_root(std::wstring_view path) { return path.size() == 3 && path[1] == L':' && path[2] == L'\\'; }

}  // namespace

bool is_full_storage_path(std::wstring_view path) {
    if (path.find(L'/') != std::wstring_view::npos) return false;
    const bool drive = path.size() >= 3 && is_drive_letter(path[0]) && path[1] == L':' && path[2] == L'\\';
    const bool share = path.size() > 2 && path.substr(0, 2) == L"\\\\" && path[2] != L'\\';
    return drive || share;
}

std::wstring storage_path(std::wstring_view path) {
    if (!is_full_storage_path(path)) throw rt::hresult_error(E_INVALIDARG);
    std::wstring full = full_path_name(std::wstring(path));
    while (full.size() > 1 && full.back() == L'\\' && !is_drive_root(full)) full.pop_back();
    return full;
}

std::wstring item_name(std::wstring_view path) {
    if (is_drive_root(path)) return std::wstring(path);
    const std::size_t separator = path.find_last_of(L'\\');
    return std::wstring(separator == std::wstring_view::npos ? path : path.substr(separator + 1));
}

void check_item_name(std::wstring_view name) {
    if (name.empty()) throw rt::hresult_error(E_INVALIDARG);
    constexpr std::wstring_view reserved = L"<>:\"/\\|?*";
    bool valid = name != L"." && name != L"..";
    for (const wchar_t c : name) {
        if (c < 32 || reserved.find(c) != std::wstring_view::npos) valid = false;
    }
    if (!valid) throw rt::hresult_error(HRESULT_FROM_WIN32(ERROR_INVALID_NAME));
}

std::wstring child_path(std::wstring_view folder, std::wstring_view name) {
    std::wstring path(folder);
    if (path.empty() || path.back() != L'\\') path += L'\\';
    return path += name;
}

std::wstring numbered_name(std::wstring_view name, unsigned number) {
    const std::size_t dot = name.find_last_of(L'.');
    const std::size_t stemLength = dot == std::wstring_view::npos || dot == 0 ? name.size() : dot;
    return std::wstring(name.substr(0, stemLength)) + L" (" + std::to_wstring(number) + L")" +
           std::wstring(name.substr(stemLength));
}

}  // namespace sim
