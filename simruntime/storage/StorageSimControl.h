#pragma once
// What tests read of the simulated storage classes (beside SimRuntimeControl.h):
// the files that DeleteAsync moved to a recycle folder instead of deleting.
#include <windows.h>
#include <hstring.h>

#include <string>
#include <vector>

#include "HString.h"
#include "SimRuntimeControl.h"

extern "C" {
// The `index`-th file moved to a recycle folder since the last reset: its
// path before and its path in the recycle folder. S_FALSE past the end.
SIMRUNTIME_EXPORT HRESULT SimRuntime_RecycledItem(UINT32 index, HSTRING* original, HSTRING* inBin);
}

namespace sim_control {

struct recycled_item {
    std::wstring original;
    std::wstring in_bin;
};

inline std::vector<recycled_item> recycled_items() {
    std::vector<recycled_item> items;
    for (UINT32 index = 0;; ++index) {
        rt::hstring original;
        rt::hstring inBin;
        const HRESULT read = SIM_CONTROL_FUNCTION(SimRuntime_RecycledItem)(index, original.put(), inBin.put());
        check(read, "SimRuntime_RecycledItem");
        if (read == S_FALSE) return items;
        items.push_back({original.str(), inBin.str()});
    }
}

}  // namespace sim_control
