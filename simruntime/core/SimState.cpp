#include "SimState.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "SimRuntimeControl.h"

namespace sim {

namespace {

struct async_outcome {
    rt::AsyncStatus status;
    HRESULT errorCode;
};

struct steering_state {
    std::uint32_t asyncDelayMs = 0;
    HRESULT cancelErrorCode = HRESULT_FROM_WIN32(ERROR_CANCELLED);
    std::map<std::wstring, async_outcome, std::less<>> asyncOutcomes;
    std::map<std::wstring, std::deque<async_outcome>, std::less<>> queuedAsyncOutcomes;
    std::map<std::wstring, std::deque<HRESULT>, std::less<>> injectedFailures;
    std::vector<std::wstring> callLog;
};

// Never destroyed: operation threads may still read it while the process exits.
steering_state& state() {
    static auto* instance = new steering_state;
    return *instance;
}

std::vector<void (*)()>& reset_functions() {
    static std::vector<void (*)()> functions;
    return functions;
}

template <class Change>
HRESULT change_state(Change&& change) noexcept {
    return rt::hresult_from([&] {
        std::lock_guard lock(state_mutex());
        change(state());
    });
}

}  // namespace

std::recursive_mutex& state_mutex() {
    static auto* mutex = new std::recursive_mutex;
    return *mutex;
}

reset_registration::reset_registration(void (*reset)()) { reset_functions().push_back(reset); }

HRESULT enter_call(std::wstring_view method, std::wstring_view arguments) {
    std::lock_guard lock(state_mutex());
    steering_state& current = state();
    current.callLog.push_back(std::wstring(method) + L"(" + std::wstring(arguments) + L")");
    const auto failures = current.injectedFailures.find(method);
    if (failures == current.injectedFailures.end() || failures->second.empty()) return S_OK;
    const HRESULT failure = failures->second.front();
    failures->second.pop_front();
    return failure;
}

async_plan plan_for(std::wstring_view method) {
    std::lock_guard lock(state_mutex());
    steering_state& current = state();
    async_plan plan;
    plan.delay_ms = current.asyncDelayMs;
    plan.cancel_error_code = current.cancelErrorCode;
    async_outcome outcome{rt::AsyncStatus::Completed, S_OK};
    const auto queued = current.queuedAsyncOutcomes.find(method);
    const auto lasting = current.asyncOutcomes.find(method);
    if (queued != current.queuedAsyncOutcomes.end() && !queued->second.empty()) {
        outcome = queued->second.front();
        queued->second.pop_front();
    } else if (lasting != current.asyncOutcomes.end()) {
        outcome = lasting->second;
    }
    plan.outcome = outcome.status;
    plan.error_code = outcome.errorCode;
    return plan;
}

}  // namespace sim

using sim::change_state;
using sim::steering_state;

extern "C" __declspec(dllexport) HRESULT SimRuntime_Reset() {
    return change_state([](steering_state& current) {
        current = steering_state{};
        for (const auto reset : sim::reset_functions()) reset();
    });
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_SetAsyncDelayMs(UINT32 delayMs) {
    return change_state([&](steering_state& current) { current.asyncDelayMs = delayMs; });
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_SetAsyncOutcome(const wchar_t* method, INT32 status,
                                                                    HRESULT errorCode) {
    if (!method) return E_POINTER;
    return change_state([&](steering_state& current) {
        current.asyncOutcomes.insert_or_assign(method, sim::async_outcome{static_cast<rt::AsyncStatus>(status), errorCode});
    });
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_QueueAsyncOutcome(const wchar_t* method, INT32 status,
                                                                      HRESULT errorCode) {
    if (!method) return E_POINTER;
    return change_state([&](steering_state& current) {
        current.queuedAsyncOutcomes[method].push_back({static_cast<rt::AsyncStatus>(status), errorCode});
    });
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_SetCancelErrorCode(HRESULT errorCode) {
    return change_state([&](steering_state& current) { current.cancelErrorCode = errorCode; });
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_FailNextCall(const wchar_t* method, HRESULT failure) {
    if (!method) return E_POINTER;
    return change_state([&](steering_state& current) { current.injectedFailures[method].push_back(failure); });
}

extern "C" __declspec(dllexport) UINT32 SimRuntime_CallLog(wchar_t* buffer, UINT32 capacity) {
    std::wstring text;
    if (FAILED(change_state([&](steering_state& current) {
            for (const auto& line : current.callLog) text += (text.empty() ? L"" : L"\n") + line;
        }))) {
        return 0;
    }
    if (buffer && capacity > 0) {
        const std::size_t copied = std::min<std::size_t>(text.size(), capacity - 1);
        text.copy(buffer, copied);
        buffer[copied] = L'\0';
    }
    return static_cast<UINT32>(text.size());
}
