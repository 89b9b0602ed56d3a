#include <shlobj.h>

#include <fmt/format.h>

#include "ViewerCommands.h"
#include "ViewerText.h"
#include "ProcessState.h"
#include "QueueEntries.h"
#include "QuorvelClock.h"

namespace viewer {

namespace {

const char* KindText(EntryKind kind) {
    switch (kind) {
        case EntryKind::Queued: return "queued";
        case EntryKind::Temporary: return "temporary";
        case EntryKind::Claimed: return "claimed";
        case EntryKind::Unknown: break;
    }
    return "unknown";
}

long long SecondsBetween(std::uint64_t earlierNs, std::uint64_t laterNs) {
    return static_cast<long long>(laterNs / 1000000000) - static_cast<long long>(earlierNs / 1000000000);
}

std::string ClaimText(const QueueEntry& entry, long long nowSeconds) {
    const ClaimName& claim = *entry.claim;
    std::string text = claim.pid ? fmt::format("pid {} {}", *claim.pid, ProcessStateText(StateOfProcess(*claim.pid)))
                                 : std::string("pid unreadable");
    if (!claim.claimSeconds) return text + ", claim time unreadable: the module never puts it back";
    text += fmt::format(", claimed {} ago", AgeText(nowSeconds - *claim.claimSeconds));
    if (IsStaleClaim(entry, nowSeconds)) text += ", stale: the next drain puts it back in the queue";
    return text;
}

}  // namespace

std::wstring DefaultQueueFolder() {
    // The module's GetReportDirectory creates the folder; listing must not.
    wchar_t appData[MAX_PATH] = {};
    if (FAILED(SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, appData))) return {};
    return std::wstring(appData) + L"\\Malvorn\\Orvale\\QuorvelCustomReport\\";
}

int ListQueue(const std::wstring& folder) {
    const auto entries = ReadQueueFolder(folder);
    if (!entries) {
        fmt::print(stderr, "no report queue folder at {}\n", Utf8(folder));
        return kNotFound;
    }
    const std::uint64_t nowNs = quorvel::UnixNanosecondsNow();
    const long long nowSeconds = static_cast<long long>(nowNs / 1000000000);
    fmt::print("report queue {}\n", Utf8(WithTrailingSeparator(folder)));
    fmt::print("{:<9} {:>8} {:>14}  {}\n", "kind", "bytes", "age", "name");
    bool ageFromFileTime = false;
    for (const QueueEntry& entry : *entries) {
        const std::uint64_t bornNs = entry.nameStampNs.value_or(entry.writeTimeNs);
        std::string age = AgeText(SecondsBetween(bornNs, nowNs));
        if (!entry.nameStampNs) {
            age += '~';
            ageFromFileTime = true;
        }
        std::string line = fmt::format("{:<9} {:>8} {:>14}  {}", KindText(entry.kind), entry.size, age, Utf8(entry.name));
        if (entry.claim) line += "  [" + ClaimText(entry, nowSeconds) + "]";
        fmt::print("{}\n", line);
    }
    if (ageFromFileTime) fmt::print("~ age from the file's write time: the name carries no time stamp\n");
    fmt::print("{}\n", CountsText(*entries, nowSeconds));
    return kSuccess;
}

}  // namespace viewer
