#pragma once
// The package's background tasks can only be registered under the package's
// own identity, so this module decides which of them the experiments want and
// activates the package through its protocol, which registers them.
#include <string>

#include "NotificationAPI.h"

// True when no registration is wanted or the package was activated; false
// when the launch did not happen or anything failed. Never throws.
bool RegisterBackgroundTaskImpl(const std::wstring& installDir);

// Appends "&install_dir=" and the percent-encoded directory; nothing for an
// empty one. Throws rt::hresult_error when the encoding fails.
void AppendInstallDirParam(std::wstring& uri, const std::wstring& installDir);
