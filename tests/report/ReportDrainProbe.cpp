// Starts report threads the way the package jobs do and closes the way every
// launcher run does; the process ends as soon as the drain returns.
//   ReportDrainProbe <number of reports>
#include <windows.h>

#include <cwchar>
#include <string>

#include "QuorvelReportUtils.h"
#include "ReportDrain.h"

int wmain(int argc, wchar_t** argv) {
    const int count = argc > 1 ? static_cast<int>(std::wcstol(argv[1], nullptr, 10)) : 1;
    for (int i = 0; i < count; ++i) {
        quorvel::ReportToggleEventAsync({"drain_probe", std::to_string(i), "probe", i});
    }
    DrainReports();
    return 0;
}
