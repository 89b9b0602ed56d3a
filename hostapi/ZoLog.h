#pragma once
// Host logger. Lines are queued and written asynchronously by the real
// library; it has no flush call.
#include <windows.h>

#include <string>

#include "HostApiExport.h"

HOSTAPI void InitLogModule(HINSTANCE instance, HINSTANCE previousInstance, LPWSTR commandLine, int showCommand);

// Both take the message already formatted; the FMTW form is the one the
// module uses, the NoFormatW form writes a plain C string.
HOSTAPI void ZoLogOutToFileFMTW(const std::wstring& module, const std::wstring& category, int level,
                                const char* sourceFile, int sourceLine, const wchar_t* function,
                                const std::wstring& message);
HOSTAPI void ZoLogOutToFileNoFormatW(const wchar_t* module, const wchar_t* category, int level,
                                     const char* sourceFile, int sourceLine, const wchar_t* function,
                                     const wchar_t* message);

// The client's per-user data folder, with a trailing separator.
HOSTAPI std::wstring GetAppDataPath();
