// The report queue over folders of random files: random names (claims with
// odd suffixes among them), random bytes as queued and claimed files, and
// valid reports among them, drained, recovered, claimed and rolled back. No
// valid report may be lost: each is still in the folder or was accepted.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzSupport.h"
#include "QuorvelReportClaim.h"
#include "QuorvelReportCrypto.h"
#include "QuorvelReportUpload.h"
#include "ReportTestSupport.h"

namespace {

constexpr const wchar_t* kPieces[] = {L"1731500000123456700", L"a", L".", L"..", L" ", L"-", L"json", L".json",
                                      L".uploading.", L"uploading", L"\u00e9", L"\u4e2d", L"~", L"0", L"tmp", L"#"};

std::wstring Soup(fuzz::CaseReader& in, size_t maxPieces) {
    std::wstring text;
    for (size_t n = in.Below(static_cast<uint32_t>(maxPieces + 1)); n > 0; --n) text += in.Pick(kPieces);
    return text;
}

std::wstring Stem(fuzz::CaseReader& in) {
    std::wstring stem = L"17315";
    for (int i = 0; i < 14; ++i) stem += static_cast<wchar_t>(L'0' + in.Below(10));
    return stem;
}

// Claim times around the 900-second stale limit, and suffixes that are no time.
std::wstring ClaimSuffix(fuzz::CaseReader& in) {
    const long long now = static_cast<long long>(std::time(nullptr));
    static constexpr const wchar_t* kOdd[] = {L"", L"abc", L"-5", L"99999999999999999999", L" 12"};
    static constexpr long long kAges[] = {1000, 900, 902, 0};
    const uint32_t choice = in.Below(10);
    if (choice < 4) return std::to_wstring(now - kAges[choice]);
    return choice < 9 ? std::wstring(kOdd[choice - 4]) : Soup(in, 2);
}

std::wstring FileName(fuzz::CaseReader& in) {
    switch (in.Below(7)) {
        case 0: return Stem(in) + L".json";
        case 1: return Soup(in, 4) + L".json";
        case 2: return Stem(in) + L".tmp";
        case 3:
        case 4: {
            const std::wstring pid = in.Chance(128) ? std::to_wstring(GetCurrentProcessId()) : Soup(in, 1);
            return Stem(in) + L".uploading." + pid + L"." + ClaimSuffix(in);
        }
        case 5: return Soup(in, 6);
        default: {
            // Any character a file name may hold. The others would make the
            // path name a stream, a subfolder or nothing: no folder entry.
            std::wstring name;
            for (size_t n = in.Below(12); n > 0; --n) {
                const auto c = static_cast<wchar_t>(0x20 + in.Below(0x2E0));
                if (std::wstring_view(L"<>:\"/\\|?*").find(c) == std::wstring_view::npos) name += c;
            }
            return name;
        }
    }
}

bool FolderHoldsReport(const QueueFolder& folder, const std::string& tag) {
    for (const auto& name : folder.Names()) {
        const std::string bytes = ReadFileBytes(folder / name);
        if (quorvel::DecryptReport(std::vector<std::uint8_t>(bytes.begin(), bytes.end())).find(tag) != std::string::npos) {
            return true;
        }
    }
    return false;
}

// What a case leaves behind: the reports it queued or placed, each tagged.
struct Reports {
    std::vector<std::string> tags;
    std::uint64_t counter = 0;
    std::string Next() { return "fuzz-report-" + std::to_string(counter++); }
};

void PlaceFile(fuzz::CaseReader& in, const QueueFolder& folder, Reports& reports) {
    const std::wstring path = folder / FileName(in);
    if (GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) return;  // a valid report must not be overwritten
    switch (in.Below(4)) {
        case 0: WriteFileBytes(path, ""); break;
        case 1: {
            const std::string tag = reports.Next();
            const std::vector<std::uint8_t> cipher = quorvel::EncryptReport(SampleBody(tag));
            if (WriteFileBytes(path, std::string(cipher.begin(), cipher.end())) &&
                GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) {
                reports.tags.push_back(tag);
            }
            break;
        }
        default: WriteFileBytes(path, in.Bytes(in.Chance(128) ? 16 * in.Below(8) : in.Below(200)));
    }
}

void Act(fuzz::CaseReader& in, const QueueFolder& folder) {
    const std::vector<std::wstring> names = folder.Names();
    const std::wstring some = folder / (names.empty() ? L"absent.json" : names[in.Below(static_cast<uint32_t>(names.size()))]);
    switch (in.Below(5)) {
        case 0:
        case 1: quorvel::UploadPendingReports(folder.path(), CollectorUrl(), in.Chance(224) ? "dev-1" : ""); break;
        case 2: quorvel::RecoverStaleClaimedFiles(folder.path()); break;
        case 3:
            if (const auto claimed = quorvel::ClaimReportFile(some)) quorvel::RollbackClaimedFile(*claimed);
            break;
        default: quorvel::RollbackClaimedFile(some); break;
    }
}

TEST(ReportFolderFuzz, NoQueuedReportIsLost) {
    QueueFolder folder;
    MappedCollector collector;
    Reports reports;
    fuzz::RunCampaign({"report_folder", 160, 200, 30000, 8}, [&](std::string_view bytes) {
        fuzz::CaseReader in(bytes);
        static constexpr int kStatuses[] = {200, 200, 200, 500, 204};
        const size_t firstRequest = collector.ReceivedCount();
        collector.AnswerWith(in.Pick(kStatuses));
        for (size_t n = in.Below(6); n > 0; --n) PlaceFile(in, folder, reports);
        for (size_t n = in.Below(3); n > 0; --n) {
            const std::string tag = reports.Next();
            if (!QueueReport(folder, SampleBody(tag)).empty()) reports.tags.push_back(tag);
        }
        for (size_t n = 1 + in.Below(3); n > 0; --n) Act(in, folder);

        const std::vector<std::string> accepted = AcceptedEventNames(collector, firstRequest);
        for (const std::string& tag : reports.tags) {
            const bool delivered = std::find(accepted.begin(), accepted.end(), tag) != accepted.end();
            EXPECT_TRUE(delivered || FolderHoldsReport(folder, tag)) << "report " << tag << " was lost";
        }
        for (const auto& name : folder.Names()) DeleteFileW((folder / name).c_str());
        reports.tags.clear();
    });
}

}  // namespace
