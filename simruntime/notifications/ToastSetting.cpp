#include "ToastSetting.h"

#include <iterator>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "RuntimeError.h"
#include "EnvironmentVariable.h"
#include "SimState.h"

namespace sim {

namespace {

constexpr wchar_t kSettingVariable[] = L"SIMRUNTIME_TOAST_SETTING";

// "NotificationSetting Enum", by value.
constexpr std::wstring_view kSettingNames[] = {L"Enabled", L"DisabledForApplication", L"DisabledForUser",
                                               L"DisabledByGroupPolicy", L"DisabledByManifest"};

// Guarded by sim::state_mutex().
std::optional<rt::NotificationSetting>& steered_setting() {
    static std::optional<rt::NotificationSetting> setting;
    return setting;
}

const reset_registration reset{[] { steered_setting().reset(); }};

// A misspelt name blocks toasts rather than passing unnoticed.
rt::NotificationSetting setting_named(std::wstring_view name) {
    for (size_t value = 0; value < std::size(kSettingNames); ++value) {
        if (kSettingNames[value] == name) return static_cast<rt::NotificationSetting>(value);
    }
    return rt::NotificationSetting::DisabledForUser;
}

}  // namespace

rt::NotificationSetting toast_setting() {
    {
        std::lock_guard lock(state_mutex());
        if (steered_setting()) return *steered_setting();
    }
    const auto name = environment_variable(kSettingVariable);
    return name ? setting_named(*name) : rt::NotificationSetting::Enabled;
}

}  // namespace sim

extern "C" __declspec(dllexport) HRESULT SimRuntime_SetToastSetting(INT32 setting) {
    if (setting < 0 || setting >= static_cast<INT32>(std::size(sim::kSettingNames))) return E_INVALIDARG;
    std::lock_guard lock(sim::state_mutex());
    sim::steered_setting() = static_cast<rt::NotificationSetting>(setting);
    return S_OK;
}
