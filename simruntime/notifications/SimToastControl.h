#pragma once
// How tests read the toasts the simulated notification centre was shown and
// raise their events. Failures of the toast calls themselves are injected
// with sim_control::fail_next_call (e.g. L"ToastNotifier.Show").
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Notifications.h"
#include "SimRuntimeControl.h"

extern "C" {
// Toasts shown since the last reset, in the order of Show; once the history
// limit is reached the oldest leave and the indices of the others move down.
SIMRUNTIME_EXPORT HRESULT SimRuntime_ShownToastCount(UINT32* count);
// Text `field` of shown toast `index` (0 XML, 1 tag, 2 group, 3 application id,
// 4 the markup the platform would ignore, one entry a line);
// returns its length and copies what fits, terminated, into `buffer`.
SIMRUNTIME_EXPORT UINT32 SimRuntime_ShownToastText(UINT32 index, UINT32 field, wchar_t* buffer, UINT32 capacity);
// SuppressPopup and ExpirationTime (DateTime ticks) as they were at Show.
SIMRUNTIME_EXPORT HRESULT
    SimRuntime_ShownToastFlags(UINT32 index, BOOL* suppressPopup, BOOL* hasExpiration, INT64* expirationTime);
// Handlers registered now on shown toast `index`.
SIMRUNTIME_EXPORT HRESULT
    SimRuntime_ToastHandlerCounts(UINT32 index, UINT32* activated, UINT32* dismissed, UINT32* failed);
// Raise an event of shown toast `index` on another thread and wait for its
// handlers; `handlersResult` is the first failure a handler returned.
// A null `replyText` leaves the user input empty; otherwise it holds "textBox".
SIMRUNTIME_EXPORT HRESULT
    SimRuntime_RaiseToastActivated(UINT32 index, const wchar_t* arguments, const wchar_t* replyText,
                                   HRESULT* handlersResult);
SIMRUNTIME_EXPORT HRESULT SimRuntime_RaiseToastDismissed(UINT32 index, INT32 reason, HRESULT* handlersResult);
SIMRUNTIME_EXPORT HRESULT SimRuntime_RaiseToastFailed(UINT32 index, HRESULT errorCode, HRESULT* handlersResult);
// Whether the platform dropped shown toast `index`: its notifier's application
// id had no key under HKCU "Software\Classes\AppUserModelId\", or the user's
// setting blocked it (then Failed was raised with 0x803E0111 before Show returned).
SIMRUNTIME_EXPORT HRESULT SimRuntime_ShownToastDiscarded(UINT32 index, BOOL* discarded);
// The next Show raises Activated (`arguments`) and Dismissed (`reason`) at
// once on two threads, and returns only after both handlers ran.
SIMRUNTIME_EXPORT HRESULT SimRuntime_RaceEventsOnNextShow(const wchar_t* arguments, INT32 reason);
// The same race on shown toast `index`.
SIMRUNTIME_EXPORT HRESULT
    SimRuntime_RaiseToastRace(UINT32 index, const wchar_t* arguments, INT32 reason, HRESULT* handlersResult);
// The next call of `method` lets a C++ exception out (L"ToastNotifier.Show").
SIMRUNTIME_EXPORT HRESULT SimRuntime_ThrowFromNextCall(const wchar_t* method);
// ToastNotifier.Setting from now on (a NotificationSetting value); it wins over
// SIMRUNTIME_TOAST_SETTING until the next reset.
SIMRUNTIME_EXPORT HRESULT SimRuntime_SetToastSetting(INT32 setting);
// How many shown toasts the centre keeps from now on (at least 1) until the
// next reset; it wins over SIMRUNTIME_TOAST_HISTORY_LIMIT (ToastHistoryLimit.h).
SIMRUNTIME_EXPORT HRESULT SimRuntime_SetToastHistoryLimit(UINT32 limit);
}

namespace sim_control {

struct shown_toast {
    std::wstring xml;
    std::wstring tag;
    std::wstring group;
    std::wstring app_id;
    bool suppress_popup = false;
    std::optional<std::int64_t> expiration_time;
    bool discarded = false;
    std::vector<std::wstring> ignored_markup;
};

struct toast_handler_counts {
    UINT32 activated = 0;
    UINT32 dismissed = 0;
    UINT32 failed = 0;
    bool operator==(const toast_handler_counts&) const = default;
};

inline std::wstring shown_toast_text(UINT32 index, UINT32 field) {
    const auto read = SIM_CONTROL_FUNCTION(SimRuntime_ShownToastText);
    std::wstring text(read(index, field, nullptr, 0), L'\0');
    read(index, field, text.data(), static_cast<UINT32>(text.size() + 1));
    return text;
}

inline std::vector<shown_toast> shown_toasts() {
    UINT32 count = 0;
    check(SIM_CONTROL_FUNCTION(SimRuntime_ShownToastCount)(&count), "SimRuntime_ShownToastCount");
    std::vector<shown_toast> toasts(count);
    for (UINT32 index = 0; index < count; ++index) {
        shown_toast& toast = toasts[index];
        toast.xml = shown_toast_text(index, 0);
        toast.tag = shown_toast_text(index, 1);
        toast.group = shown_toast_text(index, 2);
        toast.app_id = shown_toast_text(index, 3);
        BOOL suppress = FALSE, hasExpiration = FALSE;
        INT64 expiration = 0;
        check(SIM_CONTROL_FUNCTION(SimRuntime_ShownToastFlags)(index, &suppress, &hasExpiration, &expiration),
              "SimRuntime_ShownToastFlags");
        toast.suppress_popup = suppress != FALSE;
        if (hasExpiration) toast.expiration_time = expiration;
        BOOL discarded = FALSE;
        check(SIM_CONTROL_FUNCTION(SimRuntime_ShownToastDiscarded)(index, &discarded), "SimRuntime_ShownToastDiscarded");
        toast.discarded = discarded != FALSE;
        const std::wstring ignored = shown_toast_text(index, 4);
        for (size_t start = 0; start < ignored.size();) {
            const size_t end = std::min(ignored.find(L'\n', start), ignored.size());
            toast.ignored_markup.push_back(ignored.substr(start, end - start));
            start = end + 1;
        }
    }
    return toasts;
}

inline toast_handler_counts handler_counts(UINT32 index) {
    toast_handler_counts counts;
    check(SIM_CONTROL_FUNCTION(SimRuntime_ToastHandlerCounts)(index, &counts.activated, &counts.dismissed,
                                                              &counts.failed),
          "SimRuntime_ToastHandlerCounts");
    return counts;
}

// Each returns what the handlers returned.
inline HRESULT raise_activated(UINT32 index, const wchar_t* arguments, const wchar_t* replyText = nullptr) {
    HRESULT handlers = S_OK;
    check(SIM_CONTROL_FUNCTION(SimRuntime_RaiseToastActivated)(index, arguments, replyText, &handlers),
          "SimRuntime_RaiseToastActivated");
    return handlers;
}

inline HRESULT raise_dismissed(UINT32 index, INT32 reason) {
    HRESULT handlers = S_OK;
    check(SIM_CONTROL_FUNCTION(SimRuntime_RaiseToastDismissed)(index, reason, &handlers),
          "SimRuntime_RaiseToastDismissed");
    return handlers;
}

inline HRESULT raise_failed(UINT32 index, HRESULT errorCode) {
    HRESULT handlers = S_OK;
    check(SIM_CONTROL_FUNCTION(SimRuntime_RaiseToastFailed)(index, errorCode, &handlers),
          "SimRuntime_RaiseToastFailed");
    return handlers;
}

inline HRESULT raise_racing(UINT32 index, const wchar_t* arguments, INT32 reason) {
    HRESULT handlers = S_OK;
    check(SIM_CONTROL_FUNCTION(SimRuntime_RaiseToastRace)(index, arguments, reason, &handlers),
          "SimRuntime_RaiseToastRace");
    return handlers;
}

inline void race_events_on_next_show(const wchar_t* arguments, INT32 reason) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_RaceEventsOnNextShow)(arguments, reason), "SimRuntime_RaceEventsOnNextShow");
}

inline void set_toast_setting(rt::NotificationSetting setting) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_SetToastSetting)(static_cast<INT32>(setting)), "SimRuntime_SetToastSetting");
}

inline void set_toast_history_limit(UINT32 limit) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_SetToastHistoryLimit)(limit), "SimRuntime_SetToastHistoryLimit");
}

inline void throw_from_next_toast_call(const wchar_t* method) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_ThrowFromNextCall)(method), "SimRuntime_ThrowFromNextCall");
}

}  // namespace sim_control
