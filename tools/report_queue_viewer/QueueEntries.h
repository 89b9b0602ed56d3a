#pragma once
// What a support person sees in a report queue folder: every file, what the
// module makes of it (by the module's own naming rules), its size and the
// time stamps its name carries. Reading only; nothing here renames or deletes.
#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace viewer {

enum class EntryKind {
    Queued,     // "<N>.json": the next drain posts it
    Temporary,  // "<N>.tmp": still being written, or left by a writer that died
    Claimed,    // "<N>.uploading.<pid>.<claim time>": an uploader owns it
    Unknown,    // anything else; the module never touches it
};

struct ClaimName {
    std::optional<DWORD> pid;                // absent when the pid part is not a number
    std::optional<long long> claimSeconds;   // seconds since 1970; absent when the module reads no positive number
};

struct QueueEntry {
    std::wstring name;
    EntryKind kind = EntryKind::Unknown;
    std::uint64_t size = 0;
    std::optional<std::uint64_t> nameStampNs;  // the queue time the name carries (ns since 1970)
    std::uint64_t writeTimeNs = 0;             // the file's last write time (ns since 1970)
    std::optional<ClaimName> claim;            // only for Claimed
};

EntryKind KindOfName(std::wstring_view name);
// The report's stem: the part before the claim marker, else before the last ".".
std::wstring ReportStemOf(std::wstring_view name);
// The stem read as nanoseconds since 1970, when it is all digits.
std::optional<std::uint64_t> NameStampNs(std::wstring_view name);
ClaimName ParseClaimName(std::wstring_view name);

// The files of `folder` in name order (oldest report first); absent when the
// folder does not exist. Sub-folders are listed as Unknown.
std::optional<std::vector<QueueEntry>> ReadQueueFolder(const std::wstring& folder);

// "<N> queued, <N> temporary, <N> claimed (<N> stale), <N> unknown".
std::string CountsText(const std::vector<QueueEntry>& entries, long long nowSeconds);

// A claim older than the module's stale limit, which the next drain rolls back.
bool IsStaleClaim(const QueueEntry& entry, long long nowSeconds);

// A folder path with exactly one trailing backslash.
std::wstring WithTrailingSeparator(std::wstring folder);

}  // namespace viewer
