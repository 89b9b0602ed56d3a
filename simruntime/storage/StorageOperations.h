#pragma once
// The frame of the storage classes' asynchronous methods: the call is logged
// (and fails when a test injected a failure for it), and the operation it
// starts ends as the steering state plans; the file-system work runs on the
// operation's thread when it completes, as on Windows.
#include <windows.h>

#include <string_view>
#include <utility>

#include "AsyncOperation.h"
#include "SimAsyncAction.h"
#include "SimCall.h"
#include "SimState.h"

namespace sim {

// `produce` makes the operation's result.
template <class Operation, class Produce>
HRESULT storage_operation(std::wstring_view method, std::wstring_view arguments, Operation** operation,
                          Produce produce) {
    if (!operation) return E_POINTER;
    *operation = nullptr;
    return run_call(method, arguments, [&] {
        *operation = start_async<Operation>(plan_for(method), std::move(produce)).detach();
    });
}

template <class Work>
HRESULT storage_action(std::wstring_view method, std::wstring_view arguments, rt::IAsyncAction** operation,
                       Work work) {
    if (!operation) return E_POINTER;
    *operation = nullptr;
    return run_call(method, arguments, [&] { *operation = start_action(plan_for(method), std::move(work)).detach(); });
}

}  // namespace sim
