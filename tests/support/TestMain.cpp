// Each test process logs into a file of its own before anything logs, so
// parallel tests never read each other's lines.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "TestMain.h"

namespace {
std::wstring MakeLogPath() {
    wchar_t temp[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temp);
    std::wstring folder = std::wstring(temp) + L"orvale-tests";
    CreateDirectoryW(folder.c_str(), nullptr);
    return folder + L"\\test-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(GetTickCount64()) +
           L".log";
}
}  // namespace

const std::wstring& TestLogPath() {
    static const std::wstring path = MakeLogPath();
    return path;
}

int wmain(int argc, wchar_t** argv) {
    SetEnvironmentVariableW(L"ORVALE_STANDALONE_LOG", TestLogPath().c_str());
    testing::InitGoogleTest(&argc, argv);
    int result = RUN_ALL_TESTS();
    DeleteFileW(TestLogPath().c_str());
    return result;
}
