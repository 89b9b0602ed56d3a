#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "OsVersion.h"
#include "RegistryValueOverride.h"
#include "TempFolder.h"
#include "TestProcess.h"

namespace {

TEST(OsVersionRule, AcceptsWindows10From19041AndEveryLaterMajor) {
    struct Case {
        uint32_t major, minor, build;
        bool supported;
    };
    const Case cases[] = {
        {10, 0, 19041, true}, {10, 0, 19040, false}, {10, 0, 18363, false}, {10, 0, 22631, true},
        {10, 1, 0, true},     {10, 5, 100, true},    {6, 3, 9600, false},   {6, 1, 99999, false},
        {5, 1, 2600, false},  {11, 0, 0, true},      {12, 0, 1, true},      {0, 0, 0, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(IsSupportedOsVersion(c.major, c.minor, c.build), c.supported)
            << c.major << "." << c.minor << "." << c.build;
    }
}

std::string ProbeInNewProcess() {
    ProcessResult result = RunProcess(L"\"" + BinaryFolder() + L"\\OsVersionProbe.exe\"");
    EXPECT_TRUE(result.finished);
    const auto lines = TextLines(result.output);
    return lines.empty() ? "" : lines.back();
}

TEST(OsVersionProbe, DecidesOnTheVersionTheSystemReports) {
    struct Case {
        const wchar_t* version;
        const wchar_t* build;
        const char* expected;
    };
    // The rule's own boundaries are the table above; here each part of the version is read.
    const Case cases[] = {
        {L"10.0", L"19041", "supported=1 version=10.0.19041"},
        {L"6.3", L"9600", "supported=0 version=6.3.9600"},
    };
    for (const Case& c : cases) {
        EmulatedWindowsVersion emulated(c.version, c.build);
        EXPECT_EQ(ProbeInNewProcess(), c.expected);
    }
}

}  // namespace
