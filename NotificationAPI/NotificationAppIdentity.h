#pragma once
// The application identity under which toasts appear: its registry key and
// the icon file the key points to.
#include <string>

namespace notification_wrapper {

inline constexpr wchar_t kAppUserModelIdKey[] = L"Software\\Classes\\AppUserModelId\\";
inline constexpr wchar_t kCustomActivatorClsid[] = L"{4B8E2C17-5A3D-4F61-9C20-7D1E3A6B9F05}";
inline constexpr int kNotifyIconResourceId = 201;

// Writes the identity key of `app_id` for the current user; 0 or the Win32
// error of creating the key.
long register_app_id(const std::wstring& display_name, const std::wstring& app_id);

// The icon of the host executable, written once to the host's data folder;
// empty when it could not be written.
std::wstring get_notify_icon_path();

}  // namespace notification_wrapper
