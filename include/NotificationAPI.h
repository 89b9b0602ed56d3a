/*
 * NotificationAPI.dll: the exports, for C and C++ clients of the 64-bit module.
 *
 * Calling convention: the one x64 Windows convention (what __cdecl, __stdcall
 * and WINAPI all mean on x64), so no keyword is needed.
 * Strings are UTF-16 (wchar_t, as on Windows); a null string pointer counts as "".
 * Link with the import library (find_package(NotificationAPI) does that), or load
 * the module and look each export up under its NOTIFICATIONAPI_*_EXPORT name.
 */
#ifndef NOTIFICATIONAPI_H
#define NOTIFICATIONAPI_H

#if !defined(_WIN64)
#error "NotificationAPI.dll is a 64-bit Windows module"
#endif

#include <windows.h>

#ifdef __cplusplus
#include <cstdint>
#else
#include <stdbool.h>
#include <stdint.h>
#endif

/* The module's own build defines NOTIFICATIONAPI_BUILDING; clients import. */
#if defined(NOTIFICATIONAPI_BUILDING)
#define NOTIFICATIONAPI_API __declspec(dllexport)
#else
#define NOTIFICATIONAPI_API __declspec(dllimport)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The host's entry: runs the one job its process command line names. Its four
 * arguments are the host's own loader arguments, handed on unchanged. Every
 * failure of the job is logged and reported, not returned; the one exception
 * is the closing drain's join of the report threads: its error (a C++
 * std::system_error: resource deadlock when called from a report thread
 * itself, no such process when a join fails) leaves this function as it is.
 * A C++ host that wants to survive it catches std::system_error around the
 * call; otherwise it ends the host process. */
NOTIFICATIONAPI_API void Orvale_LoadModule_WinMain(HINSTANCE instance, HINSTANCE previousInstance,
                                                   LPWSTR commandLine, int showCommand);

/* A message in the notification centre without a banner; true when it was shown. */
NOTIFICATIONAPI_API bool NotificationSetToPushBox(const wchar_t* title, const wchar_t* content,
                                                  const wchar_t* image_url, const wchar_t* launch_args);
NOTIFICATIONAPI_API bool NotificationSetToPushBoxWithTag(const wchar_t* title, const wchar_t* content,
                                                         const wchar_t* image_url, const wchar_t* launch_args,
                                                         const wchar_t* tag);

/* Buffer: bufferLength counts wchar_t with the terminator; on false it holds "" (last error 87: no buffer, 122: too small). */
NOTIFICATIONAPI_API bool GetInstalledNotificationPackageVersion(wchar_t* buffer, uint32_t bufferLength);

typedef void (*OrvaleLoadModuleWinMainFn)(HINSTANCE, HINSTANCE, LPWSTR, int);
typedef bool (*NotificationSetToPushBoxFn)(const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*);
typedef bool (*NotificationSetToPushBoxWithTagFn)(const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*,
                                                  const wchar_t*);
typedef bool (*GetInstalledNotificationPackageVersionFn)(wchar_t*, uint32_t);

#ifdef __cplusplus
}
#endif

#define NOTIFICATIONAPI_ENTRY_EXPORT "Orvale_LoadModule_WinMain"
#define NOTIFICATIONAPI_PUSH_BOX_EXPORT "NotificationSetToPushBox"
#define NOTIFICATIONAPI_PUSH_BOX_WITH_TAG_EXPORT "NotificationSetToPushBoxWithTag"
#define NOTIFICATIONAPI_PACKAGE_VERSION_EXPORT "GetInstalledNotificationPackageVersion"
/* Exported under the name MSVC gives `bool RegisterBackgroundTask()`; C and MinGW
 * clients reach it with GetProcAddress under this name as a RegisterBackgroundTaskFn. */
#define NOTIFICATIONAPI_REGISTER_BACKGROUND_TASK_EXPORT "?RegisterBackgroundTask@@YA_NXZ"
typedef bool (*RegisterBackgroundTaskFn)(void);

/* Asks the notification package to register the background tasks the client's
 * experiments want; true when none is wanted or the package was activated.
 * Linked by MSVC clients; MinGW builds of the module export it through a
 * module-definition file, and MinGW clients look it up by name. */
#if defined(__cplusplus) && defined(_MSC_VER)
NOTIFICATIONAPI_API bool RegisterBackgroundTask();
#elif defined(__cplusplus) && defined(NOTIFICATIONAPI_BUILDING)
bool RegisterBackgroundTask();
#endif

#endif /* NOTIFICATIONAPI_H */
