#pragma once
// Posting claimed report files to the collector and draining the queue.
#include <string>

#include "Coroutine.h"

namespace quorvel {

// One POST of `body` with a 10-second time-out; true for status 200 only.
rt::async_operation<bool> HttpPostReportAsync(std::wstring url, std::string body, std::string trace);

// Reads, decrypts and posts one claimed file. True when the file is gone
// (delivered, empty or undecryptable), false when it must be rolled back.
rt::async_operation<bool> UploadClaimedFileAsync(std::wstring claimedPath, std::wstring url, std::string aid,
                                                 std::string trace);

// Recovers stale claims, then posts the queued files of `folder` oldest first
// and stops at the first failure. Never throws.
void UploadPendingReports(const std::wstring& folder, const std::wstring& url, const std::string& aid);

// A body stored before the device identifier was known carries "aid":"";
// its first occurrence gets `aid` filled in.
void FillLateDeviceId(std::string& body, const std::string& aid);

}  // namespace quorvel
