#include "ForeignException.h"

#include <windows.h>

#include <functional>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>

#include "RuntimeError.h"
#include "SimState.h"

namespace {

// Calls still to throw from, per method.
std::map<std::wstring, int, std::less<>>& planned_throws() {
    static auto* planned = new std::map<std::wstring, int, std::less<>>;
    return *planned;
}

const sim::reset_registration reset{[] { planned_throws().clear(); }};

}  // namespace

namespace sim {

void throw_if_planned(std::wstring_view method) {
    {
        std::lock_guard lock(state_mutex());
        const auto planned = planned_throws().find(method);
        if (planned == planned_throws().end() || planned->second == 0) return;
        --planned->second;
    }
    throw std::runtime_error("simulated component failure");
}

}  // namespace sim

extern "C" __declspec(dllexport) HRESULT SimRuntime_ThrowFromNextCall(const wchar_t* method) {
    if (!method) return E_POINTER;
    return rt::hresult_from([&] {
        std::lock_guard lock(sim::state_mutex());
        ++planned_throws()[method];
    });
}
