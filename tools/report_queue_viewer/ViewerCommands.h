#pragma once
// The viewer's three commands. Only DrainQueue changes the queue.
#include <string>

namespace viewer {

enum ExitCode : int {
    kSuccess = 0,
    kUsage = 1,
    kNotFound = 2,  // no such folder, or a file that is not a readable report
};

// The module's report folder for this user, found without creating it.
std::wstring DefaultQueueFolder();

int ListQueue(const std::wstring& folder);
int ShowReport(const std::wstring& path);
// `folder` must exist; `aid` must not be empty.
int DrainQueue(const std::wstring& url, const std::wstring& folder, const std::string& aid);

}  // namespace viewer
