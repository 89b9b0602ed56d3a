#include "ConfigTestSupport.h"

#include <windows.h>

#include <shlobj.h>

#include <gtest/gtest.h>

#include <filesystem>

namespace {

std::wstring ClientConfigFolder() {
    wchar_t roaming[MAX_PATH] = {};
    EXPECT_EQ(S_OK, SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, roaming));
    return std::wstring(roaming) + L"\\Malvorn\\Orvale";
}

std::optional<std::string> ReadIfPresent(const std::wstring& path) {
    if (!std::filesystem::exists(path)) return std::nullopt;
    return ReadFileBytes(path);
}

void CopyBuiltFile(const std::wstring& name, const std::wstring& target) {
    EXPECT_TRUE(CopyFileW((BinaryFolder() + L"\\" + name).c_str(), target.c_str(), FALSE)) << GetLastError();
}

}  // namespace

std::vector<std::string> RunConfigProbe(const std::wstring& probePath, const std::wstring& operations,
                                        const EnvironmentOverrides& environment) {
    ProcessResult result = RunProcess(L"\"" + probePath + L"\" " + operations, environment);
    EXPECT_TRUE(result.finished && result.exitCode == 0) << result.output;
    return TextLines(result.output);
}

std::wstring BuiltProbePath() { return BinaryFolder() + L"\\ConfigProbe.exe"; }

RenamedProbe::RenamedProbe(const std::wstring& fileName) : fileName_(fileName) {
    CopyBuiltFile(L"ConfigProbe.exe", path());
    CopyBuiltFile(L"OrvaleHostStandalone.dll", folder_ / L"OrvaleHostStandalone.dll");
}

RoamingConfigFile::RoamingConfigFile(const std::wstring& fileName, const std::optional<std::string>& content)
    : path_(ClientConfigFolder() + L"\\" + fileName), original_(ReadIfPresent(path_)) {
    std::filesystem::create_directories(ClientConfigFolder());
    Write(content);
}

RoamingConfigFile::~RoamingConfigFile() { Write(original_); }

void RoamingConfigFile::Write(const std::optional<std::string>& content) const {
    if (content) {
        EXPECT_TRUE(WriteFileBytes(path_, *content));
    } else {
        DeleteFileW(path_.c_str());
    }
}
