#include <windows.h>

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

#include "DiagnosticChecks.h"
#include "ViewerText.h"
#include "NotificationAppIdentity.h"
#include "UniqueHandle.h"
#include "ZoLog.h"

namespace diagnose {

namespace {

using viewer::Utf8;

std::optional<std::wstring> ReadStringValue(HKEY key, const wchar_t* name) {
    DWORD bytes = 0;
    if (RegGetValueW(key, nullptr, name, RRF_RT_REG_SZ, nullptr, nullptr, &bytes) != ERROR_SUCCESS) return std::nullopt;
    std::wstring value(bytes / sizeof(wchar_t), L'\0');
    if (RegGetValueW(key, nullptr, name, RRF_RT_REG_SZ, nullptr, value.data(), &bytes) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    value.resize(wcsnlen(value.c_str(), value.size()));
    return value;
}

std::optional<std::string> ReadWholeFile(const std::wstring& path) {
    std::ifstream in(std::filesystem::path(path), std::ios::binary);
    if (!in) return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The icon the module extracts: resource 201 of the host executable. This
// tool carries the same icon as the client's executables.
std::optional<std::string> HostIconBytes() {
    HMODULE host = GetModuleHandleW(nullptr);
    HRSRC resource = FindResourceW(host, MAKEINTRESOURCEW(notification_wrapper::kNotifyIconResourceId), RT_RCDATA);
    HGLOBAL loaded = resource ? LoadResource(host, resource) : nullptr;
    if (!loaded) return std::nullopt;
    return std::string(static_cast<const char*>(LockResource(loaded)), SizeofResource(host, resource));
}

// Where get_notify_icon_path puts the icon, computed without creating the folder.
std::wstring ModuleIconPath() { return GetAppDataPath() + L"Notification\\notify.ico"; }

CheckLine IconLine(const std::optional<std::wstring>& iconUri) {
    const std::wstring expected = ModuleIconPath();
    if (!iconUri) return {Verdict::Info, "icon", "the identity names no icon; the next push box writes it"};
    const auto file = ReadWholeFile(*iconUri);
    if (!file) return {Verdict::Info, "icon", fmt::format("{} is missing; the next push box writes it", Utf8(*iconUri))};
    std::string where = _wcsicmp(iconUri->c_str(), expected.c_str()) == 0
                            ? std::string()
                            : fmt::format(" (the module now writes {})", Utf8(expected));
    const auto host = HostIconBytes();
    if (!host) return {Verdict::Info, "icon", fmt::format("{}, {} bytes{}", Utf8(*iconUri), file->size(), where)};
    if (*file != *host) {
        return {Verdict::Info, "icon",
                fmt::format("{} has {} bytes and differs from the host's icon ({} bytes){}", Utf8(*iconUri),
                            file->size(), host->size(), where)};
    }
    return {Verdict::Ok, "icon", fmt::format("{} matches the host's icon ({} bytes){}", Utf8(*iconUri), file->size(), where)};
}

}  // namespace

void CheckAppIdentity(CheckLines& lines) {
    const std::wstring subKey = std::wstring(notification_wrapper::kAppUserModelIdKey) + kAppId;
    UniqueRegistryKey key;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, subKey.c_str(), 0, KEY_READ, key.put()) != ERROR_SUCCESS) {
        lines.push_back({Verdict::Fail, "identity",
                         fmt::format("HKCU\\{} is not registered (the next push box writes it)", Utf8(subKey))});
        return;
    }
    const auto displayName = ReadStringValue(key.get(), L"DisplayName");
    const auto iconUri = ReadStringValue(key.get(), L"IconUri");
    const auto activator = ReadStringValue(key.get(), L"CustomActivator");
    lines.push_back({Verdict::Ok, "identity",
                     fmt::format("{} registered, display name \"{}\", icon {}, activator {}", Utf8(kAppId),
                                 Utf8(displayName.value_or(L"(none)")), Utf8(iconUri.value_or(L"(none)")),
                                 Utf8(activator.value_or(L"(none)")))});
    lines.push_back(IconLine(iconUri));
}

}  // namespace diagnose
