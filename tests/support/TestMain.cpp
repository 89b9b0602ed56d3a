// Each test process logs into a file of its own before anything logs, so
// parallel tests never read each other's lines. A COM rule broken under the
// simulated runtime, in this process or in a child it started, fails the test
// that was running: Windows would not report it, it would crash or hang later.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "SimRuntimeControl.h"
#include "TestMain.h"

namespace {
std::wstring TestFolder() {
    wchar_t temp[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temp);
    std::wstring folder = std::wstring(temp) + L"orvale-tests";
    CreateDirectoryW(folder.c_str(), nullptr);
    return folder;
}

std::wstring MakeLogPath() {
    return TestFolder() + L"\\test-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
           std::to_wstring(GetTickCount64()) + L".log";
}

// Child processes inherit the variable and append their violations to this
// file; this process's own lines there are read from the simulation instead.
class ViolationListener : public testing::EmptyTestEventListener {
public:
    ViolationListener() : file_(TestFolder() + L"\\violations-" + std::to_wstring(GetCurrentProcessId()) + L".txt") {
        DeleteFileW(file_.c_str());
        SetEnvironmentVariableW(L"SIMRUNTIME_VIOLATIONS_FILE", file_.c_str());
    }

    // Gtest calls the end events in reverse order of the listeners, so this
    // runs before the printer reports the test.
    void OnTestEnd(const testing::TestInfo&) override {
        for (const std::string& violation : Take()) ADD_FAILURE() << "COM rule broken: " << violation;
    }

    // After the last test: what nothing read yet.
    std::vector<std::string> Take() {
        std::vector<std::string> found = ChildViolations();
        // Only a process that reached the simulation holds it; loading it here would not tell more.
        if (GetModuleHandleW(L"SimRuntime.dll")) {
            for (const std::wstring& line : sim_control::take_violations()) {
                found.push_back((testing::Message() << line).GetString());  // as UTF-8
            }
        }
        return found;
    }

    ~ViolationListener() override { DeleteFileW(file_.c_str()); }

private:
    std::vector<std::string> ChildViolations() {
        std::vector<std::string> found;
        std::ifstream in(std::filesystem::path(file_), std::ios::binary);
        if (!in) return found;
        in.seekg(static_cast<std::streamoff>(read_), std::ios::beg);
        const std::string ownProcess = std::to_string(GetCurrentProcessId()) + "\t";
        std::string line;
        while (std::getline(in, line)) {
            if (in.eof()) break;  // a line still being written: read it next time
            read_ += line.size() + 1;
            if (line.rfind(ownProcess, 0) != 0) found.push_back(line);
        }
        return found;
    }

    const std::wstring file_;
    std::size_t read_ = 0;
};
}  // namespace

const std::wstring& TestLogPath() {
    static const std::wstring path = MakeLogPath();
    return path;
}

int wmain(int argc, wchar_t** argv) {
    SetEnvironmentVariableW(L"ORVALE_STANDALONE_LOG", TestLogPath().c_str());
    testing::InitGoogleTest(&argc, argv);
    auto* violations = new ViolationListener;
    testing::UnitTest::GetInstance()->listeners().Append(violations);  // gtest owns it
    int result = RUN_ALL_TESTS();
    for (const std::string& violation : violations->Take()) {
        std::fprintf(stderr, "COM rule broken after the last test: %s\n", violation.c_str());
        result = 1;
    }
    DeleteFileW(TestLogPath().c_str());
    return result;
}
