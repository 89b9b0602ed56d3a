#pragma once
#include <windows.h>

#include <map>
#include <string>

struct ProcessResult {
    bool finished = false;  // false: still running at the time-out (it was terminated)
    DWORD exitCode = 0;
    std::string output;     // standard output and error, as bytes
};

// Variables to set (or, with an empty optional-like marker, to remove) in a
// child's environment on top of this process's own.
using EnvironmentOverrides = std::map<std::wstring, std::wstring>;

// Runs a command line to its end (at most timeoutMs) and captures its output.
ProcessResult RunProcess(const std::wstring& commandLine, const EnvironmentOverrides& environment = {},
                         DWORD timeoutMs = 60000);

// Starts a command line without waiting for it or reading its output; the
// caller owns the process handle (null when it could not start).
HANDLE StartProcess(const std::wstring& commandLine, const EnvironmentOverrides& environment = {});

// Folder of the running test executable, where every built binary lies.
std::wstring BinaryFolder();
