#include "NotificationAppIdentity.h"

#include <windows.h>

#include <shlobj.h>

#include "HostLog.h"
#include "UniqueHandle.h"
#include "ZoLog.h"

namespace notification_wrapper {
namespace {

constexpr wchar_t kIconFunction[] = L"GetNotifyIconPath";
constexpr wchar_t kRegisterFunction[] = L"register_app_id";

void SetStringValue(HKEY key, const wchar_t* name, const std::wstring& data) {
    RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(data.c_str()),
                   static_cast<DWORD>((data.size() + 1) * sizeof(wchar_t)));
}

std::wstring JoinPath(const std::wstring& folder, const wchar_t* name) {
    if (folder.empty() || folder.back() == L'\\' || folder.back() == L'/') return folder + name;
    return folder + L'\\' + name;
}

bool FileHasSize(const std::wstring& path, DWORD size) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    return GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) && data.nFileSizeHigh == 0 &&
           data.nFileSizeLow == size;
}

bool WriteWholeFile(const std::wstring& path, const void* bytes, DWORD size) {
    UniqueHandle file(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid()) return false;
    DWORD written = 0;
    return WriteFile(file.get(), bytes, size, &written, nullptr) && written == size;
}

long write_app_id_key(const std::wstring& display_name, const std::wstring& app_id) {
    const std::wstring icon = get_notify_icon_path();
    UniqueRegistryKey key;
    const std::wstring subKey = kAppUserModelIdKey + app_id;
    const LONG created =
        RegCreateKeyExW(HKEY_CURRENT_USER, subKey.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, key.put(), nullptr);
    if (created != ERROR_SUCCESS) return created;
    SetStringValue(key.get(), L"DisplayName", display_name);
    if (!icon.empty()) SetStringValue(key.get(), L"IconUri", icon);
    SetStringValue(key.get(), L"CustomActivator", kCustomActivatorClsid);
    return ERROR_SUCCESS;
}

std::wstring write_notify_icon() {
    const std::wstring folder = JoinPath(GetAppDataPath(), L"Notification\\");
    std::wstring path = JoinPath(folder, L"notify.ico");
    SHCreateDirectoryExW(nullptr, folder.c_str(), nullptr);

    // The host executable carries the icon, deliberately not this module.
    HMODULE host = GetModuleHandleW(nullptr);
    HRSRC resource = FindResourceW(host, MAKEINTRESOURCEW(kNotifyIconResourceId), MAKEINTRESOURCEW(10));
    if (resource == nullptr) {
        HOST_LOG_ERROR(kIconFunction, L"[{}][notification-wrapper] FindResourceW failed for IDR_NOTIFY_ICO",
                       kIconFunction);
        return {};
    }
    const DWORD size = SizeofResource(host, resource);
    if (FileHasSize(path, size)) {
        HOST_LOG_INFO(kIconFunction, L"[{}][notification-wrapper] Icon exists and size matches, skipping write.",
                      kIconFunction);
        return path;
    }
    HGLOBAL loaded = LoadResource(host, resource);
    if (loaded == nullptr) {
        HOST_LOG_ERROR(kIconFunction, L"[{}][notification-wrapper] LoadResource failed for IDR_NOTIFY_ICO",
                       kIconFunction);
        return {};
    }
    if (!WriteWholeFile(path, LockResource(loaded), size)) {
        // The "%lu" is part of the line as the client's logs have always shown it.
        HOST_LOG_ERROR(kIconFunction, L"[{}][notification-wrapper] WriteFile failed, Error Code: %lu", kIconFunction);
        return {};
    }
    HOST_LOG_INFO(kIconFunction, L"[{}][notification-wrapper] WriteFile success for IDR_NOTIFY_ICO", kIconFunction);
    return path;
}

}  // namespace

long register_app_id(const std::wstring& display_name, const std::wstring& app_id) {
    try {
        return write_app_id_key(display_name, app_id);
    } catch (...) {
        HOST_LOG_ERROR(kRegisterFunction, L"[{}]register_app_id unknown exception", kRegisterFunction);
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

std::wstring get_notify_icon_path() {
    try {
        return write_notify_icon();
    } catch (...) {
        HOST_LOG_ERROR(kIconFunction, L"[{}]GetNotifyIconPath unknown exception", kIconFunction);
        return {};
    }
}

}  // namespace notification_wrapper
