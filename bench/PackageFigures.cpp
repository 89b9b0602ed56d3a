#include "PackageFigures.h"

#include <windows.h>

#include <stdexcept>

#include "NotificationPackageManager.h"
#include "PackageIdentityUtils.h"
#include "PackageSimControl.h"

namespace {

constexpr std::uint32_t kTimeoutMs = 300;
constexpr INT32 kNeverEnds = 0;

// A fresh simulation for each sample, and none of its steering left for the figures after.
class FreshSimulation {
public:
    FreshSimulation() { sim_control::reset(); }
    FreshSimulation(const FreshSimulation&) = delete;
    FreshSimulation& operator=(const FreshSimulation&) = delete;
    ~FreshSimulation() {
        try {
            sim_control::reset();
        } catch (...) {
        }
    }
};

double TimeInstallThatTimesOut() {
    const FreshSimulation simulation;
    sim_control::set_async_outcome(L"PackageManager.AddPackageByUriAsync", kNeverEnds, S_OK);
    HRESULT result = S_OK;
    const double seconds = SecondsOf([&] { result = InstallNotificationPackage(kTimeoutMs); });
    if (result != HRESULT_FROM_WIN32(ERROR_CANCELLED)) throw std::runtime_error("the install did not time out");
    return seconds;
}

double TimeUninstallThatTimesOut() {
    const FreshSimulation simulation;
    sim_control::register_package({kNotificationPackageName, kNotificationPackagePublisher, L"bench_1.0.0.0", 1, 0, 0, 0});
    sim_control::set_async_outcome(L"PackageManager.RemovePackageAsync", kNeverEnds, S_OK);
    HRESULT result = S_OK;
    const double seconds = SecondsOf([&] { result = UninstallNotificationPackage(kTimeoutMs); });
    if (result != HRESULT_FROM_WIN32(ERROR_TIMEOUT)) throw std::runtime_error("the uninstall did not time out");
    return seconds;
}

}  // namespace

FigureRow MeasureInstallTimeoutOvershoot(const BenchSettings& settings) {
    TimeInstallThatTimesOut();  // warm-up: the first activation loads the simulated classes
    return OvershootRow("install time-out, AddPackageByUriAsync never ends", kTimeoutMs / 1000.0,
                        Repeat(settings.repetitions, TimeInstallThatTimesOut));
}

FigureRow MeasureUninstallTimeoutOvershoot(const BenchSettings& settings) {
    TimeUninstallThatTimesOut();
    return OvershootRow("uninstall time-out, RemovePackageAsync never ends", kTimeoutMs / 1000.0,
                        Repeat(settings.repetitions, TimeUninstallThatTimesOut));
}
