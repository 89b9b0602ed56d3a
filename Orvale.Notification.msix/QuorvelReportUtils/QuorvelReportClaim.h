#pragma once
// Ownership of a queued report file between processes and threads: taken by
// renaming it, atomically within one folder, to "<stem>.uploading.<pid>.<claim
// time in s>"; given back by renaming it to "<stem>.json". No lock, no index:
// the folder listing is the whole queue.
#include <optional>
#include <string>

namespace quorvel {

// Claims older than this many seconds count as abandoned.
inline constexpr long long kStaleClaimSeconds = 900;

// The claimed path; empty when another claimant was first (or the file is gone).
std::optional<std::wstring> ClaimReportFile(const std::wstring& jsonPath);

// Renames a claimed file back to "<stem>.json"; names without the marker are left alone.
void RollbackClaimedFile(const std::wstring& claimedPath);

// Rolls back every claim in `folder` older than 900 s, whoever holds it.
void RecoverStaleClaimedFiles(const std::wstring& folder);

// Claims, uploads and deletes one queued file, or rolls it back. True when the
// caller may go on with the next file.
bool ProcessReportFile(const std::wstring& jsonPath, const std::wstring& url, const std::string& aid);

}  // namespace quorvel
