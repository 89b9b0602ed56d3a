// Stand-in for the client's service process: records its whole command line
// (one UTF-8 line, appended) and exits. The record goes to the file named by
// ORVALE_STANDALONE_SERVICE_RECORD, else "OrvaleService.record.txt" beside it.
#include <windows.h>

#include <string>

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    wchar_t recordPath[MAX_PATH] = {};
    if (GetEnvironmentVariableW(L"ORVALE_STANDALONE_SERVICE_RECORD", recordPath, MAX_PATH) == 0) {
        GetModuleFileNameW(nullptr, recordPath, MAX_PATH);
        std::wstring own(recordPath);
        std::wstring path = own.substr(0, own.find_last_of(L"\\/") + 1) + L"OrvaleService.record.txt";
        lstrcpynW(recordPath, path.c_str(), MAX_PATH);
    }
    const wchar_t* commandLine = GetCommandLineW();
    int length = WideCharToMultiByte(CP_UTF8, 0, commandLine, -1, nullptr, 0, nullptr, nullptr);
    std::string line(length > 0 ? length - 1 : 0, '\0');
    WideCharToMultiByte(CP_UTF8, 0, commandLine, -1, line.data(), length, nullptr, nullptr);
    line += '\n';
    HANDLE file = CreateFileW(recordPath, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return 1;
    DWORD written = 0;
    WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    CloseHandle(file);
    return 0;
}
