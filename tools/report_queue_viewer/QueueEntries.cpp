#include "QueueEntries.h"

#include <algorithm>
#include <cwchar>
#include <fmt/format.h>

#include "QuorvelReportClaim.h"
#include "QuorvelReportFiles.h"

namespace viewer {

namespace {

class FindHandle {
public:
    explicit FindHandle(HANDLE handle) : handle_(handle) {}
    FindHandle(const FindHandle&) = delete;
    FindHandle& operator=(const FindHandle&) = delete;
    ~FindHandle() {
        if (handle_ != INVALID_HANDLE_VALUE) FindClose(handle_);
    }
    bool valid() const { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE get() const { return handle_; }

private:
    HANDLE handle_;
};

bool EndsWith(std::wstring_view text, std::wstring_view suffix) {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

// An unsigned decimal number filling the whole text, without overflow.
std::optional<std::uint64_t> WholeNumber(std::wstring_view text) {
    if (text.empty() || text.size() > 20) return std::nullopt;
    std::uint64_t value = 0;
    for (const wchar_t c : text) {
        if (c < L'0' || c > L'9') return std::nullopt;
        const std::uint64_t digit = static_cast<std::uint64_t>(c - L'0');
        if (value > (UINT64_MAX - digit) / 10) return std::nullopt;
        value = value * 10 + digit;
    }
    return value;
}

std::uint64_t UnixNanoseconds(const FILETIME& time) {
    constexpr std::uint64_t kEpochDifference = 116444736000000000ULL;  // 1601 to 1970 in 100-ns ticks
    const std::uint64_t ticks = (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
    return ticks < kEpochDifference ? 0 : (ticks - kEpochDifference) * 100;
}

bool FolderExists(const std::wstring& folder) {
    const DWORD attributes = GetFileAttributesW(folder.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

QueueEntry EntryOf(const WIN32_FIND_DATAW& found) {
    QueueEntry entry;
    entry.name = found.cFileName;
    const bool isFolder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    entry.kind = isFolder ? EntryKind::Unknown : KindOfName(entry.name);
    entry.size = (static_cast<std::uint64_t>(found.nFileSizeHigh) << 32) | found.nFileSizeLow;
    entry.writeTimeNs = UnixNanoseconds(found.ftLastWriteTime);
    if (entry.kind != EntryKind::Unknown) entry.nameStampNs = NameStampNs(entry.name);
    if (entry.kind == EntryKind::Claimed) entry.claim = ParseClaimName(entry.name);
    return entry;
}

}  // namespace

EntryKind KindOfName(std::wstring_view name) {
    // Checked first, as the module does: "<N>.uploading.<pid>.<t>" never counts as queued.
    if (quorvel::IsClaimedName(name)) return EntryKind::Claimed;
    // The module's queue scan takes every ".json" name, numeric or not.
    if (EndsWith(name, L".json")) return EntryKind::Queued;
    if (EndsWith(name, L".tmp")) return EntryKind::Temporary;
    return EntryKind::Unknown;
}

std::wstring ReportStemOf(std::wstring_view name) {
    const std::size_t marker = name.find(quorvel::kClaimMarker);
    if (marker != std::wstring_view::npos) return std::wstring(name.substr(0, marker));
    return quorvel::StemOf(name);
}

std::optional<std::uint64_t> NameStampNs(std::wstring_view name) { return WholeNumber(ReportStemOf(name)); }

ClaimName ParseClaimName(std::wstring_view name) {
    ClaimName claim;
    const std::size_t marker = name.find(quorvel::kClaimMarker);
    if (marker == std::wstring_view::npos) return claim;
    const std::wstring_view rest = name.substr(marker + quorvel::kClaimMarkerLength);
    const std::size_t dot = rest.rfind(L'.');
    if (dot == std::wstring_view::npos) return claim;
    if (const auto pid = WholeNumber(rest.substr(0, dot)); pid && *pid <= MAXDWORD) claim.pid = static_cast<DWORD>(*pid);
    // Read as the module's stale recovery reads it (leading digits), so what is
    // shown as stale is what the next drain really rolls back.
    const std::wstring lastPart(name.substr(name.rfind(L'.') + 1));
    const long long seconds = std::wcstoll(lastPart.c_str(), nullptr, 10);
    if (seconds > 0) claim.claimSeconds = seconds;
    return claim;
}

std::optional<std::vector<QueueEntry>> ReadQueueFolder(const std::wstring& folder) {
    if (!FolderExists(folder)) return std::nullopt;
    std::vector<QueueEntry> entries;
    WIN32_FIND_DATAW found = {};
    const FindHandle search(FindFirstFileExW((WithTrailingSeparator(folder) + L"*").c_str(), FindExInfoBasic, &found,
                                             FindExSearchNameMatch, nullptr, 0));
    if (!search.valid()) return entries;
    do {
        const std::wstring_view name = found.cFileName;
        if (name == L"." || name == L"..") continue;
        entries.push_back(EntryOf(found));
    } while (FindNextFileW(search.get(), &found));
    std::sort(entries.begin(), entries.end(), [](const QueueEntry& a, const QueueEntry& b) { return a.name < b.name; });
    return entries;
}

bool IsStaleClaim(const QueueEntry& entry, long long nowSeconds) {
    return entry.claim && entry.claim->claimSeconds &&
           nowSeconds - *entry.claim->claimSeconds > quorvel::kStaleClaimSeconds;
}

std::string CountsText(const std::vector<QueueEntry>& entries, long long nowSeconds) {
    const auto count = [&](EntryKind kind) {
        return std::count_if(entries.begin(), entries.end(), [&](const QueueEntry& e) { return e.kind == kind; });
    };
    const auto stale = std::count_if(entries.begin(), entries.end(),
                                     [&](const QueueEntry& e) { return IsStaleClaim(e, nowSeconds); });
    return fmt::format("{} queued, {} temporary, {} claimed ({} stale), {} unknown", count(EntryKind::Queued),
                       count(EntryKind::Temporary), count(EntryKind::Claimed), stale, count(EntryKind::Unknown));
}

std::wstring WithTrailingSeparator(std::wstring folder) {
    while (!folder.empty() && (folder.back() == L'\\' || folder.back() == L'/')) folder.pop_back();
    return folder + L"\\";
}

}  // namespace viewer
