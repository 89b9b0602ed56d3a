#pragma once
// The checks of DiagnoseNotifications.exe, one function per area. They only
// read: nothing the module would write (identity key, icon, report folder) is
// created or repaired here, so what support sees is the user's own state.
#include <string>
#include <vector>

#include "NotificationWrapperMgr.h"

namespace diagnose {

enum class Verdict {
    Ok,
    Fail,  // something the client needs is missing: the tool exits 1
    Info,
};

struct CheckLine {
    Verdict verdict = Verdict::Info;
    std::string check;
    std::string detail;
};

using CheckLines = std::vector<CheckLine>;

// The identity the push box registers.
inline constexpr const wchar_t* kAppId = kPushBoxAppId;

// The identity key under HKCU and the icon file it names.
void CheckAppIdentity(CheckLines& lines);
// The notification package's registration and the protocol it handles.
void CheckNotificationPackage(CheckLines& lines);
// The experiment switches and the push-box mode, as the module reads them.
void CheckHostConfiguration(CheckLines& lines);
void CheckOsBuild(CheckLines& lines);
// The user's notification setting for the push box's identity (ToastNotifier.Setting).
void CheckNotificationSetting(CheckLines& lines);
void CheckReportQueue(CheckLines& lines);

// "OK   <check>: <detail>", "FAIL <check>: <detail>" or "INFO <check>: <detail>".
std::string FormatLine(const CheckLine& line);

}  // namespace diagnose
