#pragma once
#include <windows.h>

#include <string>

// Entry of the host executable: runs the one job its command line names.
extern "C" __declspec(dllexport) void Orvale_LoadModule_WinMain(HINSTANCE instance, HINSTANCE previousInstance,
                                                                 LPWSTR commandLine, int showCommand);

// "-action <action> -guid <guid>": hands a raw push to the client's service.
void HandleActionEntry(const std::wstring& action, const std::wstring& guid);
