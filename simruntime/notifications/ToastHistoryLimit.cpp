#include "ToastHistoryLimit.h"

#include <cwchar>
#include <mutex>
#include <optional>

#include "EnvironmentVariable.h"
#include "SimState.h"

namespace sim {

namespace {

constexpr wchar_t kLimitVariable[] = L"SIMRUNTIME_TOAST_HISTORY_LIMIT";
constexpr std::size_t kDefaultLimit = 500;

// Guarded by sim::state_mutex().
std::optional<std::size_t>& steered_limit() {
    static std::optional<std::size_t> limit;
    return limit;
}

const reset_registration reset{[] { steered_limit().reset(); }};

}  // namespace

std::size_t toast_history_limit() {
    {
        std::lock_guard lock(state_mutex());
        if (steered_limit()) return *steered_limit();
    }
    const auto text = environment_variable(kLimitVariable);
    if (!text || text->empty()) return kDefaultLimit;
    wchar_t* end = nullptr;
    const unsigned long long limit = std::wcstoull(text->c_str(), &end, 10);
    return *end == L'\0' && limit >= 1 ? static_cast<std::size_t>(limit) : kDefaultLimit;
}

}  // namespace sim

extern "C" __declspec(dllexport) HRESULT SimRuntime_SetToastHistoryLimit(UINT32 limit) {
    if (limit == 0) return E_INVALIDARG;
    std::lock_guard lock(sim::state_mutex());
    sim::steered_limit() = limit;
    return S_OK;
}
