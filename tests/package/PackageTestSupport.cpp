#include "PackageTestSupport.h"

#include "TestMain.h"

sim_control::package_registration NotificationPackage(const std::wstring& fullName, std::uint16_t major,
                                                      std::uint16_t minor, std::uint16_t build,
                                                      std::uint16_t revision) {
    return {L"4E7A21C9.store", L"CN=6F2B1D40-8C3E-4A7B-9D15-2E8F0C4A7B31", fullName, major, minor, build, revision};
}

std::vector<std::wstring> CallsStartingWith(const std::wstring& prefix) {
    std::vector<std::wstring> calls;
    for (const auto& line : sim_control::call_log()) {
        if (line.compare(0, prefix.size(), prefix) == 0) calls.push_back(line);
    }
    return calls;
}

PackageTest::PackageTest() : log_(TestLogPath()) { sim_control::reset(); }

::testing::AssertionResult PackageTest::Logged(int level, const std::string& message) const {
    const auto lines = log_.NewLines();
    const HostLogLine* line = FindMessage(lines, message);
    if (line == nullptr) {
        auto failure = ::testing::AssertionFailure() << "not logged: " << message << "\nlogged:";
        for (const auto& text : Messages(lines)) failure << "\n  " << text;
        return failure;
    }
    if (line->level != level) {
        return ::testing::AssertionFailure() << "logged at level " << line->level << ", not " << level << ": "
                                             << message;
    }
    return ::testing::AssertionSuccess();
}
