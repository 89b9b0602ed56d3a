#include <fmt/format.h>

#include <map>
#include <set>

#include "ViewerCommands.h"
#include "ViewerText.h"
#include "QueueEntries.h"
#include "QuorvelClock.h"
#include "QuorvelReportCrypto.h"
#include "QuorvelReportUpload.h"
#include "ReportFile.h"

namespace viewer {

namespace {

// The reports this drain may take, by stem: queued files, and claims stale
// enough for the drain to put back first. True for those that decrypt, so
// that a file gone afterwards can be told sent or discarded.
std::map<std::wstring, bool> ReportsTheDrainMayTake(const std::wstring& folder, const std::vector<QueueEntry>& entries) {
    const long long nowSeconds = quorvel::UnixSecondsNow();
    std::map<std::wstring, bool> decryptableByStem;
    for (const QueueEntry& entry : entries) {
        if (entry.kind != EntryKind::Queued && !IsStaleClaim(entry, nowSeconds)) continue;
        const auto bytes = ReadReportFile(folder + entry.name);
        decryptableByStem[ReportStemOf(entry.name)] = bytes && !quorvel::DecryptReport(*bytes).empty();
    }
    return decryptableByStem;
}

std::set<std::wstring> StemsOf(const std::vector<QueueEntry>& entries) {
    std::set<std::wstring> stems;
    for (const QueueEntry& entry : entries) stems.insert(ReportStemOf(entry.name));
    return stems;
}

}  // namespace

int DrainQueue(const std::wstring& url, const std::wstring& folder, const std::string& aid) {
    const std::wstring queue = WithTrailingSeparator(folder);
    const auto before = ReadQueueFolder(queue);
    if (!before) {
        fmt::print(stderr, "no report queue folder at {}\n", Utf8(queue));
        return kNotFound;
    }
    const auto candidates = ReportsTheDrainMayTake(queue, *before);
    fmt::print("draining {} ({} reports) to {} as device {}\n", Utf8(queue), candidates.size(), Utf8(url), aid);

    quorvel::UploadPendingReports(queue, url, aid);

    const auto after = ReadQueueFolder(queue).value_or(std::vector<QueueEntry>());
    const std::set<std::wstring> left = StemsOf(after);
    int sent = 0, discarded = 0;
    const std::wstring* stoppedAt = nullptr;
    for (const auto& [stem, decryptable] : candidates) {
        if (left.count(stem) != 0) {
            if (decryptable && !stoppedAt) stoppedAt = &stem;
            continue;
        }
        fmt::print("{:<10} {}\n", decryptable ? "sent" : "discarded", Utf8(stem));
        ++(decryptable ? sent : discarded);
    }
    fmt::print("sent {}, discarded as empty or undecryptable {}\n", sent, discarded);
    if (stoppedAt) {
        fmt::print("stopped at {}: not delivered, still queued (the host log has the reason)\n", Utf8(*stoppedAt));
    }
    fmt::print("left: {}\n", CountsText(after, quorvel::UnixSecondsNow()));
    return kSuccess;
}

}  // namespace viewer
