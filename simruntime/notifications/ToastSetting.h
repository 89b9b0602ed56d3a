#pragma once
// The user's notification setting, as ToastNotifier.Setting reports it and
// Show obeys it. Tests steer it with SimRuntime_SetToastSetting (see
// SimToastControl.h); host processes with the variable
// SIMRUNTIME_TOAST_SETTING = Enabled, DisabledForApplication, DisabledForUser,
// DisabledByGroupPolicy or DisabledByManifest, which a steered value overrides.
#include <windows.h>

#include "Notifications.h"

namespace sim {

// "COM Error Codes (WPN, MBN, P2P, Bluetooth)": WPN_E_NOTIFICATION_DISABLED,
// "Settings prevent the notification from being delivered."
inline constexpr HRESULT notification_disabled = static_cast<HRESULT>(0x803E0111);

rt::NotificationSetting toast_setting();

}  // namespace sim
