#pragma once
// How tests steer the simulated launcher and read what it launched (beside
// SimRuntimeControl.h). Failures of the calls themselves are injected with
// sim_control::fail_next_call (L"Launcher.LaunchUriAsync",
// L"Launcher.QueryUriSupportAsync", L"Launcher.GetActivationFactory").
// Host processes are steered through their environment instead:
// SIMRUNTIME_LAUNCHED_URIS_FILE (each launch appended as one UTF-8 line) and
// SIMRUNTIME_LAUNCH_RESULT ("true", "false" or "error:0x80070005"), which a
// result set here overrides.
#include <windows.h>
#include <hstring.h>

#include <cstdint>
#include <string>
#include <vector>

#include "HString.h"
#include "SimRuntimeControl.h"

extern "C" {
// The `index`-th URI launched since the last reset, as its handler received
// it (the raw text); S_FALSE and null past the end. Refused and failed
// launches are not recorded.
SIMRUNTIME_EXPORT HRESULT SimRuntime_LaunchedUri(UINT32 index, HSTRING* uri);
// Every launch from now on yields `launched`, or, when `failure` is an error,
// ends as Error with it.
SIMRUNTIME_EXPORT HRESULT SimRuntime_SetLaunchResult(BOOL launched, HRESULT failure);
// Every support query from now on answers `status` (a LaunchQuerySupportStatus).
SIMRUNTIME_EXPORT HRESULT SimRuntime_SetLaunchQuerySupport(INT32 status);
}

namespace sim_control {

inline std::vector<std::wstring> launched_uris() {
    return read_lines(SIM_CONTROL_FUNCTION(SimRuntime_LaunchedUri), "SimRuntime_LaunchedUri");
}

inline void set_launch_result(bool launched) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_SetLaunchResult)(launched ? TRUE : FALSE, S_OK),
          "SimRuntime_SetLaunchResult");
}

inline void set_launch_failure(HRESULT failure) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_SetLaunchResult)(FALSE, failure), "SimRuntime_SetLaunchResult");
}

inline void set_launch_query_support(std::int32_t status) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_SetLaunchQuerySupport)(status), "SimRuntime_SetLaunchQuerySupport");
}

}  // namespace sim_control
