#include <fmt/format.h>

#include <algorithm>

#include "DiagnosticChecks.h"
#include "ViewerCommands.h"
#include "ViewerText.h"
#include "QueueEntries.h"
#include "QuorvelClock.h"

namespace diagnose {

namespace {

long long Count(const std::vector<viewer::QueueEntry>& entries, viewer::EntryKind kind) {
    return std::count_if(entries.begin(), entries.end(), [&](const auto& entry) { return entry.kind == kind; });
}

// The age of the oldest queued report, as the viewer's list shows ages.
std::string OldestQueuedText(const std::vector<viewer::QueueEntry>& entries, std::uint64_t nowNs) {
    std::uint64_t oldestNs = UINT64_MAX;
    for (const auto& entry : entries) {
        if (entry.kind == viewer::EntryKind::Queued) oldestNs = std::min(oldestNs, entry.nameStampNs.value_or(entry.writeTimeNs));
    }
    if (oldestNs == UINT64_MAX) return {};
    const long long seconds = static_cast<long long>(nowNs / 1000000000) - static_cast<long long>(oldestNs / 1000000000);
    return ", oldest queued " + viewer::AgeText(seconds);
}

}  // namespace

void CheckReportQueue(CheckLines& lines) {
    const std::wstring folder = viewer::DefaultQueueFolder();
    const auto entries = viewer::ReadQueueFolder(folder);
    if (!entries) {
        lines.push_back({Verdict::Ok, "report queue", "no folder yet, nothing queued"});
        return;
    }
    const std::uint64_t nowNs = quorvel::UnixNanosecondsNow();
    const long long nowSeconds = static_cast<long long>(nowNs / 1000000000);
    const auto stale = std::count_if(entries->begin(), entries->end(),
                                     [&](const auto& entry) { return viewer::IsStaleClaim(entry, nowSeconds); });
    using viewer::EntryKind;
    std::string detail = fmt::format("{} queued, {} temporary, {} claimed{} in {}", Count(*entries, EntryKind::Queued),
                                     Count(*entries, EntryKind::Temporary), Count(*entries, EntryKind::Claimed),
                                     OldestQueuedText(*entries, nowNs), viewer::Utf8(folder));
    if (stale > 0) {
        lines.push_back({Verdict::Fail, "report queue",
                         fmt::format("{} stale claim(s) older than 900 s: an uploader died; {}", stale, detail)});
        return;
    }
    lines.push_back({Verdict::Ok, "report queue", detail});
}

}  // namespace diagnose
