#include "BackgroundTaskRegistration.h"

#include "Activation.h"
#include "ClassNames.h"
#include "Foundation.h"
#include "HString.h"
#include "HostLog.h"
#include "KivAgentWrapper.h"
#include "RuntimeError.h"
#include "SafeLaunchUri.h"

namespace {

constexpr wchar_t kRegisterFunction[] = L"RegisterBackgroundTaskImpl";

constexpr wchar_t kWakeUpTaskUri[] = L"orvale-notification:?action=register-wakeup-task";
constexpr wchar_t kNotificationTasksUri[] =
    L"orvale-notification:?action=register-notification-tasks&run_wns_request=1";
constexpr wchar_t kAllTasksUri[] = L"orvale-notification:?action=register-background-task&run_wns_request=1";

std::wstring EscapeUriComponent(const std::wstring& text) {
    const auto statics = rt::get_activation_factory<rt::IUriEscapeStatics>(rt::class_name::Uri);
    rt::hstring escaped;
    rt::check(statics->EscapeComponent(rt::hstring(text).get(), escaped.put()));
    return escaped.str();
}

// Empty when neither task is wanted.
std::wstring RegistrationUri(bool wakeUpEnabled, bool wnsTaskRegEnabled) {
    if (wakeUpEnabled && wnsTaskRegEnabled) return kAllTasksUri;
    if (wakeUpEnabled) return kWakeUpTaskUri;
    if (wnsTaskRegEnabled) return kNotificationTasksUri;
    return {};
}

bool RegisterWantedTasks(const std::wstring& installDir) {
    KivAgentWrapper experiments;
    const bool wakeUpEnabled = experiments.Lookup(L"pc_bg_task_wakeup_config", L"pc_bg_task_register") == 1;
    const bool wnsTaskRegEnabled =
        experiments.Lookup(L"pc_tips_json_for_experiment", L"pc_wns_enable_task_registration") == 1;
    HOST_LOG_INFO(kRegisterFunction, L"[{}]RegisterBackgroundTask: wakeUpEnabled={}, wnsTaskRegEnabled={}",
                  kRegisterFunction, wakeUpEnabled, wnsTaskRegEnabled);
    std::wstring uri = RegistrationUri(wakeUpEnabled, wnsTaskRegEnabled);
    if (uri.empty()) {
        HOST_LOG_INFO(kRegisterFunction, L"[{}]RegisterBackgroundTask: both disabled, skip registration",
                      kRegisterFunction);
        return true;
    }
    AppendInstallDirParam(uri, installDir);
    return SafeLaunchUri(uri);
}

}  // namespace

void AppendInstallDirParam(std::wstring& uri, const std::wstring& installDir) {
    if (installDir.empty()) return;
    uri += L"&install_dir=";
    uri += EscapeUriComponent(installDir);
}

bool RegisterBackgroundTaskImpl(const std::wstring& installDir) {
    try {
        return RegisterWantedTasks(installDir);
    } catch (const rt::hresult_error& e) {
        HOST_LOG_ERROR(kRegisterFunction, L"[{}]RegisterBackgroundTaskImpl exception, hr=0x{:08X}, msg={}",
                       kRegisterFunction, host_log::Hex(e.code()), e.message());
    } catch (...) {
        HOST_LOG_ERROR(kRegisterFunction, L"[{}]RegisterBackgroundTaskImpl unknown exception", kRegisterFunction);
    }
    return false;
}

bool RegisterBackgroundTask() { return RegisterBackgroundTaskImpl(std::wstring()); }
