/* A C client: the C exports linked, RegisterBackgroundTask by its exported name. */
#include <NotificationAPI.h>

#include <stdio.h>

static int failures = 0;

static void Check(bool ok, const char* what) {
    printf("%s %s\n", ok ? "ok  " : "FAIL", what);
    if (!ok) ++failures;
}

int main(void) {
    wchar_t version[32] = {L'x', L'\0'};
    SetLastError(0);
    Check(!GetInstalledNotificationPackageVersion(version, 0) && GetLastError() == ERROR_INVALID_PARAMETER,
          "C linked: version query with no room fails with 87");
    Check(NotificationSetToPushBox(L"Consumer", L"from C", NULL, NULL), "C linked: NotificationSetToPushBox");

    HMODULE module = GetModuleHandleW(L"NotificationAPI.dll");
    RegisterBackgroundTaskFn registerTasks =
        (RegisterBackgroundTaskFn)(void*)GetProcAddress(module, NOTIFICATIONAPI_REGISTER_BACKGROUND_TASK_EXPORT);
    Check(registerTasks != NULL && registerTasks(), "C by name: RegisterBackgroundTask");
    return failures;
}
