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
HRESULT SimRuntime_HttpFilterRecord(UINT32 index, HSTRING* line);
}

namespace sim_control {

inline std::vector<std::wstring> http_filter_record() {
    std::vector<std::wstring> lines;
    for (UINT32 index = 0;; ++index) {
        rt::hstring line;
        const HRESULT read = SIM_CONTROL_FUNCTION(SimRuntime_HttpFilterRecord)(index, line.put());
        check(read, "SimRuntime_HttpFilterRecord");
        if (read == S_FALSE) return lines;
        lines.push_back(line.str());
    }
}

}  // namespace sim_control
