#pragma once
// Registering the notification package that lies beside this module for the
// current user, and removing it. Each call waits at most its time-out.
#include <windows.h>

#include <cstdint>
#include <string>

inline constexpr wchar_t kNotificationPackageFileName[] = L"Orvale.Notification.msix";

// Installs whether or not a version is registered: any version, also the
// same or an older one, is replaced. The platform's HRESULT, 0x80070002 when
// the package file is missing, E_UNEXPECTED for a failure of another kind.
HRESULT InstallNotificationPackage(std::uint32_t timeoutMs);

// Installs (with a time-out of 10 s) only when no version is registered;
// true when the package is registered afterwards.
bool EnsureNotificationPackageInstalled();

// Removes every registration, waiting at most 30 s for each; S_OK also when
// none was found, 0x800705B4 when a removal ran out of time.
HRESULT UninstallNotificationPackage(std::uint32_t timeoutMs);

// "file:///" and the path with forward slashes, not percent-encoded; empty
// when it cannot be built.
std::wstring PackageFileUri(const std::wstring& packagePath);
