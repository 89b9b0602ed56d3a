// One process of the report-queue soak: saves reports "soak-<id>" into the
// shared folder with the module's save and drains the folder with the
// module's drain after random batches. Before and after each save it appends
// a line to its record file, so a process killed at any moment leaves behind
// which report it was saving:
//   saving <id>
//   saved <id> <stem>
//   ReportSoakWorker <folder without trailing backslash> <record file> <first id> <count> <seed>
// With count 0 it only drains.
#include <windows.h>

#include <cwchar>
#include <random>
#include <string>

#include "QuorvelReportStorage.h"
#include "QuorvelReportUpload.h"
#include "ReportTestSupport.h"
#include "UniqueHandle.h"

namespace {

// Every line goes straight to the file: nothing is lost when the process is terminated.
void AppendLine(HANDLE file, const std::string& text) {
    const std::string line = text + "\n";
    DWORD written = 0;
    WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

void Drain(const std::wstring& folder) { quorvel::UploadPendingReports(folder, CollectorUrl(), "dev-1"); }

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 6) return 2;
    const std::wstring folder = std::wstring(argv[1]) + L"\\";
    const UniqueHandle record(CreateFileW(argv[2], FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                          OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!record.valid()) return 3;
    const long long first = std::wcstoll(argv[3], nullptr, 10);
    const long long count = std::wcstoll(argv[4], nullptr, 10);
    std::mt19937 random(static_cast<unsigned>(std::wcstoul(argv[5], nullptr, 10)));

    for (long long id = first; id < first + count; ++id) {
        AppendLine(record.get(), "saving " + std::to_string(id));
        const std::wstring path = quorvel::SaveEncryptedReport(folder, SampleBody("soak-" + std::to_string(id)));
        if (path.empty()) return 4;
        const std::wstring name = path.substr(path.find_last_of(L'\\') + 1);
        const std::wstring stem = name.substr(0, name.find_last_of(L'.'));
        AppendLine(record.get(), "saved " + std::to_string(id) + " " + std::string(stem.begin(), stem.end()));  // ASCII
        if (random() % 6 == 0) Drain(folder);
    }
    Drain(folder);
    return 0;
}
