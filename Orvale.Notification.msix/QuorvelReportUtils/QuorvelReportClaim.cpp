#include "QuorvelReportClaim.h"

#include <windows.h>

#include <cwchar>
#include <filesystem>
#include <vector>

#include "AsyncWait.h"
#include "HostLog.h"
#include "QuorvelClock.h"
#include "QuorvelReportFiles.h"
#include "QuorvelReportUpload.h"

namespace quorvel {

namespace {

constexpr wchar_t kClaimFunction[] = L"quorvel::ClaimReportFile";
constexpr wchar_t kRollbackFunction[] = L"quorvel::RollbackClaimedFile";
constexpr wchar_t kRecoverFunction[] = L"quorvel::RecoverStaleClaimedFiles";

// Flags 0: never replaces an existing file and never copies across volumes,
// which is what makes the rename a claim.
bool RenameExclusive(const std::wstring& from, const std::wstring& to) {
    return MoveFileExW(from.c_str(), to.c_str(), 0) != FALSE;
}

std::vector<std::wstring> ClaimedFilesIn(const std::wstring& folder) {
    std::vector<std::wstring> claimed;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.is_regular_file() && IsClaimedName(entry.path().filename().wstring())) {
            claimed.push_back(entry.path().wstring());
        }
    }
    return claimed;
}

// The claim time a claimed name ends with; 0 when it is not a number.
long long ClaimTimeOf(const std::wstring& fileName) {
    const std::size_t dot = fileName.rfind(L'.');
    if (dot == std::wstring::npos) return 0;
    return std::wcstoll(fileName.c_str() + dot + 1, nullptr, 10);
}

}  // namespace

std::optional<std::wstring> ClaimReportFile(const std::wstring& jsonPath) {
    try {
        const std::wstring stem = StemOf(jsonPath);
        const DWORD pid = GetCurrentProcessId();
        const long long claimTime = UnixSecondsNow();
        const std::wstring claimedName = stem + kClaimMarker + std::to_wstring(pid) + L"." + std::to_wstring(claimTime);
        const std::wstring claimedPath = FolderOf(jsonPath) + claimedName;
        if (!RenameExclusive(jsonPath, claimedPath)) {
            const DWORD error = GetLastError();
            HOST_LOG_INFO(kClaimFunction, L"[Quorvel] claim skipped (normal): {} err={}", FileNameOf(jsonPath), error);
            return std::nullopt;
        }
        HOST_LOG_INFO(kClaimFunction, L"[Quorvel] claim OK: {} -> {} pid={} claimTime={}", FileNameOf(jsonPath),
                      claimedName, pid, claimTime);
        return claimedPath;
    } catch (...) {
        return std::nullopt;
    }
}

void RollbackClaimedFile(const std::wstring& claimedPath) {
    try {
        const std::wstring name = FileNameOf(claimedPath);
        if (!IsClaimedName(name)) return;
        const std::wstring restoredPath = FolderOf(claimedPath) + name.substr(0, name.find(kClaimMarker)) + L".json";
        if (!RenameExclusive(claimedPath, restoredPath)) {
            const DWORD error = GetLastError();
            HOST_LOG_WARN(kRollbackFunction, L"[Quorvel] rollback failed: {} (err={})", name, error);
        }
    } catch (...) {
    }
}

void RecoverStaleClaimedFiles(const std::wstring& folder) {
    try {
        const long long now = UnixSecondsNow();
        std::error_code error;
        if (!std::filesystem::exists(folder, error)) return;
        const DWORD pid = GetCurrentProcessId();
        for (const std::wstring& path : ClaimedFilesIn(folder)) {
            const std::wstring name = FileNameOf(path);
            const long long claimTime = ClaimTimeOf(name);
            if (claimTime <= 0 || now - claimTime <= kStaleClaimSeconds) continue;
            HOST_LOG_INFO(kRecoverFunction, L"[Quorvel] recovering stale file: {} age={}s claimTime={} now={} pid={}",
                          name, now - claimTime, claimTime, now, pid);
            RollbackClaimedFile(path);
        }
    } catch (...) {
        HOST_LOG_WARN(kRecoverFunction, L"[Quorvel] Recover stale claimed files exception");
    }
}

bool ProcessReportFile(const std::wstring& jsonPath, const std::wstring& url, const std::string& aid) {
    // Without a device identifier the file waits for a run that has one.
    if (aid.empty()) return true;
    const auto claimed = ClaimReportFile(jsonPath);
    if (!claimed) return true;
    try {
        const std::string trace = NarrowFileName(StemOf(jsonPath));
        if (rt::wait_for_result(UploadClaimedFileAsync(*claimed, url, aid, trace).get())) return true;
    } catch (...) {
    }
    RollbackClaimedFile(*claimed);
    return false;
}

}  // namespace quorvel
