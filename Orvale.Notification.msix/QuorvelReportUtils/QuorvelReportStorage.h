#pragma once
// The on-disk report queue: one encrypted file per report, written as
// "<N>.tmp" and renamed to "<N>.json" (N = nanoseconds since 1970), so an
// uploader only ever sees complete files.
#include <windows.h>
#include <hstring.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Coroutine.h"

namespace quorvel {

// "<roaming application data>\Malvorn\Orvale\QuorvelCustomReport\", created on
// demand, always with the trailing backslash; empty when the application-data
// folder cannot be found.
std::wstring GetReportDirectory();

// Writes one report file into `folder` (which ends with a backslash) and
// yields its ".json" path, or an empty string on failure. Never fails itself.
rt::async_operation<HSTRING> SaveEncryptedReportAsync(std::wstring folder, std::vector<std::uint8_t> cipher);

// Encrypts `body` and saves it, blocking the caller until the file is queued.
// The ".json" path, or empty (nothing is written when encryption fails).
std::wstring SaveEncryptedReport(const std::wstring& folder, const std::string& body);

}  // namespace quorvel
