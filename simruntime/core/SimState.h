#pragma once
// The steering state of the simulation, as tests set it through the exported
// control functions. All of it is guarded by one lock.
#include <windows.h>

#include <mutex>
#include <string_view>

#include "AsyncPlan.h"

namespace sim {

// The one lock. A class file that keeps steering state of its own (packages a
// test registered, events it wants raised) guards it with this lock as well,
// and clears it through a reset_registration.
std::recursive_mutex& state_mutex();

class reset_registration {
public:
    explicit reset_registration(void (*reset)());
};

// Logs the call and returns the failure a test injected for it, or S_OK.
HRESULT enter_call(std::wstring_view method, std::wstring_view arguments);

// How an operation started by `method` is to end.
async_plan plan_for(std::wstring_view method);

}  // namespace sim
