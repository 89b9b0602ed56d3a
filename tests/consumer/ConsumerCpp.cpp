// A C++ client: every export linked through the import library, and the same
// exports found by name in the loaded module. Exit code: failed checks.
#include <NotificationAPI.h>

#include <cstdio>

namespace {

int failures = 0;

void Check(bool ok, const char* what) {
    std::printf("%s %s\n", ok ? "ok  " : "FAIL", what);
    if (!ok) ++failures;
}

template <typename Function>
Function Find(HMODULE module, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

}  // namespace

int main() {
    SetLastError(0);
    Check(!GetInstalledNotificationPackageVersion(nullptr, 0) && GetLastError() == ERROR_INVALID_PARAMETER,
          "linked: version query without a buffer fails with 87");
    wchar_t version[32] = {L'x', L'\0'};
    const bool registered = GetInstalledNotificationPackageVersion(version, 32);
    Check(registered || version[0] == L'\0', "linked: version query leaves a string either way");
#if defined(_MSC_VER)
    Check(RegisterBackgroundTask(), "linked: RegisterBackgroundTask (no registration wanted)");
#endif
    Check(NotificationSetToPushBoxWithTag(L"Consumer", L"linked", nullptr, nullptr, L"consumer-cpp"),
          "linked: NotificationSetToPushBoxWithTag");

    const HMODULE module = GetModuleHandleW(L"NotificationAPI.dll");
    Check(module != nullptr, "the module is loaded");
    Check(Find<OrvaleLoadModuleWinMainFn>(module, NOTIFICATIONAPI_ENTRY_EXPORT) == &Orvale_LoadModule_WinMain,
          "by name: entry");
    Check(Find<NotificationSetToPushBoxFn>(module, NOTIFICATIONAPI_PUSH_BOX_EXPORT) == &NotificationSetToPushBox,
          "by name: push box");
    Check(Find<NotificationSetToPushBoxWithTagFn>(module, NOTIFICATIONAPI_PUSH_BOX_WITH_TAG_EXPORT) ==
              &NotificationSetToPushBoxWithTag,
          "by name: push box with tag");
    const auto query = Find<GetInstalledNotificationPackageVersionFn>(module, NOTIFICATIONAPI_PACKAGE_VERSION_EXPORT);
    SetLastError(0);
    Check(query != nullptr && !query(version, 0) && GetLastError() == ERROR_INVALID_PARAMETER,
          "by name: version query");
    const auto registerTasks = Find<RegisterBackgroundTaskFn>(module, NOTIFICATIONAPI_REGISTER_BACKGROUND_TASK_EXPORT);
    Check(registerTasks != nullptr && registerTasks(), "by name: RegisterBackgroundTask (no registration wanted)");
#if defined(_MSC_VER)
    Check(registerTasks == &RegisterBackgroundTask, "by name: RegisterBackgroundTask is the linked function");
#endif
    return failures;
}
