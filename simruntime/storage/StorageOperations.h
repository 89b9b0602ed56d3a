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

// `produce` makes the operation's result; `object` is the one called, whose
// apartment rules admit the call first.
template <class Object, class Operation, class Produce>
HRESULT storage_operation(Object& object, std::wstring_view method, std::wstring_view arguments,
                          Operation** operation, Produce produce) {
    if (!operation) return E_POINTER;
    *operation = nullptr;
    if (const HRESULT refused = object.admit(method); FAILED(refused)) return refused;
    return run_call(method, arguments, [&] {
        *operation = start_async<Operation>(plan_for(method), std::move(produce)).detach();
    });
}

template <class Object, class Work>
HRESULT storage_action(Object& object, std::wstring_view method, std::wstring_view arguments,
                       rt::IAsyncAction** operation, Work work) {
    if (!operation) return E_POINTER;
    *operation = nullptr;
    if (const HRESULT refused = object.admit(method); FAILED(refused)) return refused;
    return run_call(method, arguments, [&] { *operation = start_action(plan_for(method), std::move(work)).detach(); });
}

}  // namespace sim
