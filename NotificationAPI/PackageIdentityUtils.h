#pragma once
// Where this module lies and which version of the notification package is
// registered for the current user.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "ApplicationModel.h"
#include "NotificationAPI.h"
#include "ComPtr.h"
#include "Deployment.h"

// The package identity; nothing else of the identity takes part in a match.
inline constexpr wchar_t kNotificationPackageName[] = L"4E7A21C9.store";
inline constexpr wchar_t kNotificationPackagePublisher[] = L"CN=6F2B1D40-8C3E-4A7B-9D15-2E8F0C4A7B31";

// The folder holding this module's file, without trailing separator; empty on failure.
std::wstring GetNotificationApiDllDirectory();

// The folder part of a file path in which both "\\" and "/" separate; the
// root ("C:\\", "\\\\server\\share\\") is never cut into.
std::wstring ParentFolderOfPath(std::wstring_view path);

rt::com_ptr<rt::IPackageManager> CreatePackageManager();

// Registrations of the notification package for the current user, in the
// package manager's order. Throws rt::hresult_error.
rt::com_ptr<rt::IIterable<rt::Package>> FindNotificationPackages(rt::IPackageManager* packageManager);

// The first registration; null when there is none. Throws rt::hresult_error.
rt::com_ptr<rt::IPackage> FirstNotificationPackage();

// Throws rt::hresult_error.
rt::PackageVersion PackageVersionOf(rt::IPackage* package);

// The version of the first registration; empty when there is none. Throws rt::hresult_error.
std::optional<rt::PackageVersion> FirstNotificationPackageVersion();

// Empty when the package is not registered or the query failed.
std::optional<rt::PackageVersion> QueryInstalledNotificationPackageVersion();

// "Major.Minor.Build.Revision", empty when nothing is registered.
std::string QueryInstalledNotificationPackageVersionString();
