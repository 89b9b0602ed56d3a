// Stand-alone host logger: one line per call, written at once, so tests can
// read every line a process wrote. Format (UTF-8, tab-separated):
//   level \t source file \t line \t function \t message \n
#include <shlobj.h>
#include <windows.h>

#include <mutex>
#include <string>

#include "StandaloneSettings.h"
#include "UtilJx.h"
#include "ZoLog.h"

namespace {

std::mutex g_logMutex;
HANDLE g_logFile = INVALID_HANDLE_VALUE;

std::wstring DefaultLogPath() { return GetAppDataPath() + L"log\\orvale-host.log"; }

HANDLE OpenLogFile() {
    if (g_logFile != INVALID_HANDLE_VALUE) return g_logFile;
    std::wstring path = standalone::ReadVariable(standalone::kLogFileVariable).value_or(DefaultLogPath());
    std::wstring folder = path.substr(0, path.find_last_of(L"\\/"));
    SHCreateDirectoryExW(nullptr, folder.c_str(), nullptr);
    g_logFile = CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                            nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    return g_logFile;
}

std::string Escape(std::string text) {
    for (char& c : text) {
        if (c == '\t' || c == '\n' || c == '\r') c = ' ';
    }
    return text;
}

void WriteLine(int level, const char* sourceFile, int sourceLine, const wchar_t* function, const wchar_t* message) {
    std::string line = std::to_string(level) + '\t' + Escape(sourceFile ? sourceFile : "") + '\t' +
                       std::to_string(sourceLine) + '\t' + Escape(UtilJx::Base::Utf16ToUtf8(function ? function : L"")) +
                       '\t' + Escape(UtilJx::Base::Utf16ToUtf8(message ? message : L"")) + '\n';
    std::lock_guard lock(g_logMutex);
    HANDLE file = OpenLogFile();
    if (file == INVALID_HANDLE_VALUE) return;
    DWORD written = 0;
    WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

}  // namespace

void InitLogModule(HINSTANCE instance, HINSTANCE previousInstance, LPWSTR commandLine, int showCommand) {
    std::wstring text = L"InitLogModule: instance=" + std::to_wstring(reinterpret_cast<uintptr_t>(instance)) +
                        L", previous=" + std::to_wstring(reinterpret_cast<uintptr_t>(previousInstance)) +
                        L", commandLine=" + (commandLine ? commandLine : L"(null)") +
                        L", show=" + std::to_wstring(showCommand);
    WriteLine(1, __FILE__, __LINE__, L"InitLogModule", text.c_str());
}

void ZoLogOutToFileFMTW(const std::wstring&, const std::wstring&, int level, const char* sourceFile, int sourceLine,
                        const wchar_t* function, const std::wstring& message) {
    WriteLine(level, sourceFile, sourceLine, function, message.c_str());
}

void ZoLogOutToFileNoFormatW(const wchar_t*, const wchar_t*, int level, const char* sourceFile, int sourceLine,
                             const wchar_t* function, const wchar_t* message) {
    WriteLine(level, sourceFile, sourceLine, function, message);
}

std::wstring GetAppDataPath() {
    if (auto overridden = standalone::ReadVariable(standalone::kAppDataVariable); overridden && !overridden->empty()) {
        std::wstring path = *overridden;
        if (path.back() != L'\\' && path.back() != L'/') path += L'\\';
        return path;
    }
    wchar_t roaming[MAX_PATH] = {};
    if (FAILED(SHGetFolderPathW(nullptr, CSIDL_APPDATA | CSIDL_FLAG_CREATE, nullptr, 0, roaming))) return {};
    return std::wstring(roaming) + L"\\Malvorn\\Orvale\\";
}
