#pragma once
// A method nothing needs that has an out-parameter: the result is cleared,
// the call is logged and answers E_NOTIMPL. Call it qualified
// (sim::not_simulated_result): an unqualified call looks into the namespaces
// of the result's type, which instantiates its class template and so needs
// the signatures of types that are only declared in passing.
#include <windows.h>

#include <string_view>

#include "SimMethods.h"

namespace sim {

template <class Result>
HRESULT not_simulated_result(std::wstring_view method, Result** result) {
    if (result) *result = nullptr;
    return not_simulated(method);
}

}  // namespace sim
