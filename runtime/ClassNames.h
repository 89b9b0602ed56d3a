#pragma once
// Activatable class identifiers of the runtime classes the module creates or
// whose statics it calls.
namespace rt::class_name {

inline constexpr const wchar_t* Uri = L"Windows.Foundation.Uri";
inline constexpr const wchar_t* PropertyValue = L"Windows.Foundation.PropertyValue";
inline constexpr const wchar_t* ValueSet = L"Windows.Foundation.Collections.ValueSet";
inline constexpr const wchar_t* XmlDocument = L"Windows.Data.Xml.Dom.XmlDocument";
inline constexpr const wchar_t* ToastNotificationManager = L"Windows.UI.Notifications.ToastNotificationManager";
inline constexpr const wchar_t* ToastNotification = L"Windows.UI.Notifications.ToastNotification";
inline constexpr const wchar_t* PackageManager = L"Windows.Management.Deployment.PackageManager";
inline constexpr const wchar_t* AddPackageOptions = L"Windows.Management.Deployment.AddPackageOptions";

}  // namespace rt::class_name
