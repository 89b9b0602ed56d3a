#pragma once
#include <windows.h>

#include <string>

#include "NotificationAPI.h"

// "-action <action> -guid <guid>": hands a raw push to the client's service.
void HandleActionEntry(const std::wstring& action, const std::wstring& guid);
