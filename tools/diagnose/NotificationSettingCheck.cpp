#include <fmt/format.h>

#include <cstdint>

#include "Activation.h"
#include "ClassNames.h"
#include "DiagnosticChecks.h"
#include "HString.h"
#include "Notifications.h"
#include "RuntimeError.h"
#include "ViewerText.h"

namespace diagnose {

namespace {

// "ToastNotifier.Setting Property": when toasts are blocked at several levels
// it reports the largest scope (manifest, group policy, user, application).
const char* BlockText(rt::NotificationSetting setting) {
    switch (setting) {
        case rt::NotificationSetting::Enabled: break;
        case rt::NotificationSetting::DisabledForApplication: return "turned off for this application by the user";
        case rt::NotificationSetting::DisabledForUser: return "turned off for every application of this user";
        case rt::NotificationSetting::DisabledByGroupPolicy: return "turned off on this computer by group policy";
        case rt::NotificationSetting::DisabledByManifest: return "turned off by the application's manifest";
    }
    return nullptr;
}

rt::NotificationSetting ReadSetting() {
    const auto manager =
        rt::get_activation_factory<rt::IToastNotificationManagerStatics>(rt::class_name::ToastNotificationManager);
    rt::com_ptr<rt::IToastNotifier> notifier;
    rt::check(manager->CreateToastNotifierWithId(rt::hstring(kAppId).get(), notifier.put()));
    auto setting = rt::NotificationSetting::Enabled;
    rt::check(notifier->get_Setting(&setting));
    return setting;
}

}  // namespace

// The push box shows without asking the setting first, so a block drops
// every push box without a word in the client's log.
void CheckNotificationSetting(CheckLines& lines) {
    const std::string app = viewer::Utf8(kAppId);
    try {
        const auto setting = ReadSetting();
        if (const char* block = BlockText(setting)) {
            lines.push_back({Verdict::Fail, "notification setting",
                             fmt::format("{}: {} (setting {}); Windows drops every push box", app, block,
                                         static_cast<int>(setting))});
        } else {
            lines.push_back({Verdict::Ok, "notification setting", fmt::format("{}: enabled", app)});
        }
    } catch (const rt::hresult_error& error) {
        lines.push_back({Verdict::Fail, "notification setting",
                         fmt::format("{}: could not be read: 0x{:08X}", app, static_cast<std::uint32_t>(error.code()))});
    }
}

}  // namespace diagnose
