#pragma once
// How tests read what the simulated base protocol filter did (beside
// SimRuntimeControl.h): every hop of every request and every credential
// prompt, in order. Servers steer it by their answers (Location, Set-Cookie,
// WWW-Authenticate); the loopback collector can give them.
#include <windows.h>
#include <hstring.h>

#include <string>
#include <vector>

#include "HString.h"
#include "SimRuntimeControl.h"

extern "C" {
// The `index`-th line since the last reset, "POST <uri> <status>" or "GET <uri> <status>"
// per hop, "credential prompt for <uri>: <challenge>"; S_FALSE and null past the end.
SIMRUNTIME_EXPORT HRESULT SimRuntime_HttpFilterRecord(UINT32 index, HSTRING* line);
}

namespace sim_control {

inline std::vector<std::wstring> http_filter_record() {
    return read_lines(SIM_CONTROL_FUNCTION(SimRuntime_HttpFilterRecord), "SimRuntime_HttpFilterRecord");
}

}  // namespace sim_control
