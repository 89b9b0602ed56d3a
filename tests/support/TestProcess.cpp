#include "TestProcess.h"

#include <thread>
#include <vector>

namespace {

std::vector<wchar_t> BuildEnvironmentBlock(const EnvironmentOverrides& overrides) {
    std::map<std::wstring, std::wstring, decltype([](const std::wstring& a, const std::wstring& b) {
                 return _wcsicmp(a.c_str(), b.c_str()) < 0;
             })>
        variables;
    if (wchar_t* block = GetEnvironmentStringsW()) {
        for (const wchar_t* entry = block; *entry; entry += wcslen(entry) + 1) {
            std::wstring text(entry);
            size_t equals = text.find(L'=', 1);  // "=C:=C:\\" style entries start with '='
            if (equals != std::wstring::npos) variables[text.substr(0, equals)] = text.substr(equals + 1);
        }
        FreeEnvironmentStringsW(block);
    }
    for (const auto& [name, value] : overrides) variables[name] = value;
    std::vector<wchar_t> result;
    for (const auto& [name, value] : variables) {
        std::wstring entry = name + L"=" + value;
        result.insert(result.end(), entry.begin(), entry.end());
        result.push_back(L'\0');
    }
    result.push_back(L'\0');
    return result;
}

BOOL Launch(const std::wstring& commandLine, const EnvironmentOverrides& environment, STARTUPINFOW& startup,
            PROCESS_INFORMATION& process) {
    std::vector<wchar_t> writable(commandLine.begin(), commandLine.end());
    writable.push_back(L'\0');
    std::vector<wchar_t> block = BuildEnvironmentBlock(environment);
    return CreateProcessW(nullptr, writable.data(), nullptr, nullptr, (startup.dwFlags & STARTF_USESTDHANDLES) != 0,
                          CREATE_UNICODE_ENVIRONMENT, block.data(), nullptr, &startup, &process);
}

}  // namespace

HANDLE StartProcess(const std::wstring& commandLine, const EnvironmentOverrides& environment) {
    STARTUPINFOW startup = {sizeof(startup)};
    PROCESS_INFORMATION process = {};
    if (!Launch(commandLine, environment, startup, process)) return nullptr;
    CloseHandle(process.hThread);
    return process.hProcess;
}

ProcessResult RunProcess(const std::wstring& commandLine, const EnvironmentOverrides& environment, DWORD timeoutMs) {
    ProcessResult result;
    SECURITY_ATTRIBUTES inheritable = {sizeof(inheritable), nullptr, TRUE};
    HANDLE readPipe = nullptr, writePipe = nullptr;
    if (!CreatePipe(&readPipe, &writePipe, &inheritable, 0)) return result;
    SetHandleInformation(readPipe, HANDLE_FLAG_INHERIT, 0);

    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = writePipe;
    startup.hStdError = writePipe;
    startup.hStdInput = nullptr;
    PROCESS_INFORMATION process = {};
    const BOOL started = Launch(commandLine, environment, startup, process);
    CloseHandle(writePipe);
    if (!started) {
        CloseHandle(readPipe);
        result.output = "CreateProcessW failed: " + std::to_string(GetLastError());
        return result;
    }
    std::thread reader([&] {
        char buffer[4096];
        DWORD read = 0;
        while (ReadFile(readPipe, buffer, sizeof(buffer), &read, nullptr) && read > 0) result.output.append(buffer, read);
    });
    result.finished = WaitForSingleObject(process.hProcess, timeoutMs) == WAIT_OBJECT_0;
    if (!result.finished) TerminateProcess(process.hProcess, 1);
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &result.exitCode);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    reader.join();
    CloseHandle(readPipe);
    return result;
}

std::wstring BinaryFolder() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring folder(path);
    return folder.substr(0, folder.find_last_of(L"\\/"));
}
