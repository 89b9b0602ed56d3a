#include "MemoryFigures.h"

#include <fmt/format.h>

#include <iterator>
#include <stdexcept>
#include <string>

#include "NotificationAPI.h"
#include "ProcessMemory.h"
#include "SimToastControl.h"

namespace {

constexpr int kCheckpoints[] = {1000, 10000, 20000};
constexpr UINT32 kBoundedHistory = 500;
constexpr UINT32 kWholeHistory = 1'000'000;

void ShowPushBox(int number) {
    const std::wstring title = L"Push box " + std::to_wstring(number);
    if (!NotificationSetToPushBox(title.c_str(), L"A message without a banner", L"", L"orvale://open")) {
        throw std::runtime_error("a push box was not shown");
    }
}

std::string ThousandsText(int count) {
    return count < 1000 ? std::to_string(count) : fmt::format("{},{:03}", count / 1000, count % 1000);
}

// One pass, not a median: the figure is about what the pass accumulates.
// Each pass leaves its toasts in the module, so a later pass starts higher;
// the growth is taken from the pass's own start.
FigureRow MeasureWithHistory(UINT32 history, const std::string& centre) {
    sim_control::reset();
    sim_control::set_toast_history_limit(history);
    ShowPushBox(0);  // warm-up: the first push box loads the classes and opens the log
    const MemoryReading start = ReadProcessMemory();
    std::string grown;
    MemoryReading at[std::size(kCheckpoints)];
    int shown = 0;
    for (std::size_t i = 0; i < std::size(kCheckpoints); ++i) {
        for (; shown < kCheckpoints[i]; ++shown) ShowPushBox(shown + 1);
        at[i] = ReadProcessMemory();
        grown += fmt::format("{}{} after {}", grown.empty() ? "" : ", ", SignedSizeText(at[i].bytes - start.bytes),
                             ThousandsText(shown));
    }
    sim_control::reset();
    const int late = kCheckpoints[2] - kCheckpoints[1];
    const double perPushBox = static_cast<double>(at[2].bytes - at[1].bytes) / late;
    return {fmt::format("{} over {} push boxes, centre keeping {}", start.counter, ThousandsText(kCheckpoints[2]),
                        centre),
            grown, "-",
            fmt::format("{:.0f} bytes per push box from {} to {}", perPushBox, ThousandsText(kCheckpoints[1]),
                        ThousandsText(kCheckpoints[2]))};
}

}  // namespace

FigureRow MeasurePushBoxMemory(const BenchSettings&) {
    return MeasureWithHistory(kBoundedHistory, ThousandsText(kBoundedHistory));
}

FigureRow MeasurePushBoxMemoryAllKept(const BenchSettings&) { return MeasureWithHistory(kWholeHistory, "all"); }
