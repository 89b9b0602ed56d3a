#pragma once
// What the package tests share: a fresh simulated package manager and a log
// cursor per test, registrations of the notification package, and readers
// of the simulation's call log.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Eventually.h"
#include "HostLogFile.h"
#include "PackageSimControl.h"

inline constexpr wchar_t kFindCall[] = L"PackageManager.FindPackagesByUserSecurityIdNamePublisher";
inline constexpr wchar_t kAddCall[] = L"PackageManager.AddPackageByUriAsync";
inline constexpr wchar_t kRemoveCall[] = L"PackageManager.RemovePackageAsync";

// A registration of the notification package under `fullName`.
sim_control::package_registration NotificationPackage(const std::wstring& fullName, std::uint16_t major,
                                                      std::uint16_t minor, std::uint16_t build,
                                                      std::uint16_t revision);

// Logged simulation calls whose "Class.Method" starts with `prefix`.
std::vector<std::wstring> CallsStartingWith(const std::wstring& prefix);

class PackageTest : public ::testing::Test {
protected:
    PackageTest();

    // The message of a line written since the test began, with its level;
    // fails the test when there is none.
    ::testing::AssertionResult Logged(int level, const std::string& message) const;

    HostLogCursor log_;
};
