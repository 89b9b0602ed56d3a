#include "ChildProcess.h"

#include <stdexcept>
#include <vector>

#include "UniqueHandle.h"

std::wstring BinaryFolder() {
    wchar_t path[MAX_PATH] = {};
    const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
    if (length == 0 || length == MAX_PATH) throw std::runtime_error("cannot find this program's folder");
    const std::wstring program(path, length);
    return program.substr(0, program.find_last_of(L"\\/") + 1);
}

DWORD RunChildToEnd(const std::wstring& commandLine, DWORD timeoutMs) {
    std::vector<wchar_t> writable(commandLine.begin(), commandLine.end());
    writable.push_back(L'\0');
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started = {};
    if (!CreateProcessW(nullptr, writable.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &started)) {
        throw std::runtime_error("cannot start a child process");
    }
    const UniqueHandle thread(started.hThread);
    const UniqueHandle process(started.hProcess);
    if (WaitForSingleObject(process.get(), timeoutMs) != WAIT_OBJECT_0) {
        TerminateProcess(process.get(), 1);
        throw std::runtime_error("a child process did not end in time");
    }
    DWORD exitCode = 0;
    GetExitCodeProcess(process.get(), &exitCode);
    return exitCode;
}
