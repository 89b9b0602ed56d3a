#pragma once
// How many shown toasts the simulated notification centre keeps per process;
// older ones leave its history, as the platform's notification centre lets
// old toasts go. No reference page states a number ("ToastNotificationHistory
// Class" names none; "Quickstart: Managing toast notifications in action
// center" gives only the 7-day default of ExpirationTime), so the limit is a
// steering value: SimRuntime_SetToastHistoryLimit (see SimToastControl.h), or
// for host processes the variable SIMRUNTIME_TOAST_HISTORY_LIMIT (a count of
// at least 1), which a steered value overrides. Without either it is 500.
#include <windows.h>

#include <cstddef>

namespace sim {

std::size_t toast_history_limit();

}  // namespace sim
