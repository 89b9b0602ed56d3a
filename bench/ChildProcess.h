#pragma once
// Host programs run as the client runs them: a child process, waited for.
#include <windows.h>

#include <string>

// The folder of this program, where every built binary lies, with a trailing backslash.
std::wstring BinaryFolder();

// Runs `commandLine` to its end and returns its exit code; throws when it
// cannot start or is still running after `timeoutMs` (it is then ended).
DWORD RunChildToEnd(const std::wstring& commandLine, DWORD timeoutMs = 60000);
