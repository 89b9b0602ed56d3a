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
inline constexpr const wchar_t* Launcher = L"Windows.System.Launcher";
inline constexpr const wchar_t* ThreadPoolTimer = L"Windows.System.Threading.ThreadPoolTimer";
inline constexpr const wchar_t* StorageFolder = L"Windows.Storage.StorageFolder";
inline constexpr const wchar_t* StorageFile = L"Windows.Storage.StorageFile";
inline constexpr const wchar_t* FileIO = L"Windows.Storage.FileIO";
inline constexpr const wchar_t* HttpClient = L"Windows.Web.Http.HttpClient";
inline constexpr const wchar_t* HttpStringContent = L"Windows.Web.Http.HttpStringContent";
inline constexpr const wchar_t* HttpBaseProtocolFilter = L"Windows.Web.Http.Filters.HttpBaseProtocolFilter";

}  // namespace rt::class_name
