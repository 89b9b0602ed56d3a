// Lists the queued reports of a folder, says so on the semaphore
// "<start event name>-listed", then claims every one of them as fast as it can
// after a start signal shared with a rival process; writes the names it won,
// one per line.
//   ReportClaimRacer <folder> <output file> <start event name> <log file>
#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <vector>

#include "QuorvelReportClaim.h"
#include "UniqueHandle.h"

int wmain(int argc, wchar_t** argv) {
    if (argc != 5) return 2;
    SetEnvironmentVariableW(L"ORVALE_STANDALONE_LOG", argv[4]);
    std::vector<std::wstring> queued;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        if (entry.path().extension() == L".json") queued.push_back(entry.path().wstring());
    }
    std::sort(queued.begin(), queued.end());
    // Both racers must hold the full listing before either claims, or a late
    // starter never sees, and so never loses, what the other already took.
    const UniqueHandle listed(OpenSemaphoreW(SEMAPHORE_MODIFY_STATE, FALSE, (std::wstring(argv[3]) + L"-listed").c_str()));
    if (!listed.valid() || !ReleaseSemaphore(listed.get(), 1, nullptr)) return 3;
    const UniqueHandle start(OpenEventW(SYNCHRONIZE, FALSE, argv[3]));
    if (!start.valid() || WaitForSingleObject(start.get(), 10000) != WAIT_OBJECT_0) return 3;
    std::string won;
    for (const auto& path : queued) {
        if (const auto claimed = quorvel::ClaimReportFile(path)) {
            for (wchar_t c : claimed->substr(claimed->find_last_of(L'\\') + 1)) won += static_cast<char>(c);  // ASCII names
            won += '\n';
        }
    }
    std::ofstream(std::filesystem::path(argv[2]), std::ios::binary) << won;
    return 0;
}
