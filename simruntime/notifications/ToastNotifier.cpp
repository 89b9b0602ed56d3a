// Windows.UI.Notifications.ToastNotificationManager and ToastNotifier: the
// notification centre records the toasts shown, up to its history limit
// (ToastHistoryLimit.h), for the tests to read and to raise events on, with
// the markup the platform would ignore in it. When
// SIMRUNTIME_SHOWN_TOASTS_FILE names a file, each toast that reached the
// centre is also appended to it, for demonstrations outside the tests.
#include <windows.h>

#include <shobjidl.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <optional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "ClassNames.h"
#include "ClassTable.h"
#include "EnvironmentVariable.h"
#include "ForeignException.h"
#include "HString.h"
#include "SimCall.h"
#include "SimMethods.h"
#include "SimState.h"
#include "SimToastControl.h"
#include "SimToastNotification.h"
#include "SimToastTemplates.h"
#include "ToastHistoryLimit.h"
#include "ToastSetting.h"
#include "UniqueHandle.h"

namespace {

constexpr wchar_t kShownToastsFileVariable[] = L"SIMRUNTIME_SHOWN_TOASTS_FILE";

struct shown_toast {
    std::wstring app_id;
    sim::toast_notification::settings settings;
    rt::com_ptr<sim::toast_notification> toast;
    // The application id was not registered, or the user's setting blocks
    // toasts: the platform dropped the toast.
    bool discarded = false;
};

// Events the next Show raises before it returns.
struct race_plan {
    std::wstring arguments;
    rt::ToastDismissalReason reason = rt::ToastDismissalReason::UserCanceled;
};

// Guarded by sim::state_mutex(). Never destroyed: the toasts hold handlers of
// modules that may be gone when the process exits.
std::vector<shown_toast>& shown_toasts() {
    static auto* toasts = new std::vector<shown_toast>;
    return *toasts;
}

// The oldest toasts leave the history once it is full; they are let go
// outside the lock, as releasing one releases the handlers of its module.
void record_in_history(const shown_toast& shown) {
    const std::size_t limit = sim::toast_history_limit();
    std::vector<shown_toast> left;
    std::lock_guard lock(sim::state_mutex());
    auto& toasts = shown_toasts();
    toasts.push_back(shown);
    if (toasts.size() <= limit) return;
    const auto oldest_kept = toasts.begin() + static_cast<std::ptrdiff_t>(toasts.size() - limit);
    left.assign(std::make_move_iterator(toasts.begin()), std::make_move_iterator(oldest_kept));
    toasts.erase(toasts.begin(), oldest_kept);
}

// Guarded by sim::state_mutex().
std::optional<race_plan>& race_on_next_show() {
    static std::optional<race_plan> plan;
    return plan;
}

std::optional<race_plan> take_race_plan() {
    std::lock_guard lock(sim::state_mutex());
    return std::exchange(race_on_next_show(), std::nullopt);
}

const sim::reset_registration reset{[] {
    shown_toasts().clear();
    race_on_next_show().reset();
}};

// An unpackaged process's toasts reach the screen only under an application
// id registered for the current user; the platform drops the others silently.
bool is_registered_app_id(const std::wstring& app_id) {
    const std::wstring key = L"Software\\Classes\\AppUserModelId\\" + app_id;
    UniqueRegistryKey opened;
    return RegOpenKeyExW(HKEY_CURRENT_USER, key.c_str(), 0, KEY_READ, opened.put()) == ERROR_SUCCESS;
}

std::wstring joined_lines(const std::vector<std::wstring>& lines) {
    std::wstring text;
    for (const auto& line : lines) text += (text.empty() ? L"" : L"\n") + line;
    return text;
}

std::string utf8(const std::wstring& text) {
    if (text.empty()) return {};
    const int length =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(), length, nullptr, nullptr);
    return bytes;
}

void append_to_shown_toasts_file(const shown_toast& shown) {
    const auto path = sim::environment_variable(kShownToastsFileVariable);
    if (!path) return;
    FILE* file = nullptr;
    if (_wfopen_s(&file, path->c_str(), L"ab") != 0 || !file) return;
    std::string record = "application id: " + utf8(shown.app_id) + "\ntag: " + utf8(shown.settings.tag) +
                         "\nsuppress popup: " + (shown.settings.suppress_popup ? "true" : "false") + "\n" +
                         utf8(shown.settings.xml) + "\n";
    for (const auto& ignored : shown.settings.ignored_markup) record += "ignored: " + utf8(ignored) + "\n";
    fwrite(record.data(), 1, record.size(), file);
    fclose(file);
}

class toast_notifier final : public sim::object<toast_notifier, rt::IToastNotifier> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.UI.Notifications.ToastNotifier";

    explicit toast_notifier(std::wstring app_id) : app_id_(std::move(app_id)) {}

    HRESULT STDMETHODCALLTYPE Show(rt::IToastNotification* notification) override {
        sim::throw_if_planned(L"ToastNotifier.Show");
        return run_call(L"ToastNotifier.Show", app_id_, [&]() -> HRESULT {
            auto* toast = dynamic_cast<sim::toast_notification*>(notification);
            if (!toast) return E_INVALIDARG;
            // "ToastNotifier.Setting Property": the setting tells whether a block
            // "prevents the display of a toast notification"; "ToastNotification.Failed
            // Event": such a block is "the most common failure", raised as Failed.
            const bool blocked = sim::toast_setting() != rt::NotificationSetting::Enabled;
            const shown_toast shown{app_id_, toast->current_settings(),
                                    rt::com_ptr<sim::toast_notification>::copy_from(toast),
                                    blocked || !is_registered_app_id(app_id_)};
            if (!shown.discarded) append_to_shown_toasts_file(shown);
            record_in_history(shown);
            // The platform may deliver a toast's events before Show has returned.
            if (const auto race = take_race_plan(); race && !shown.discarded) {
                toast->raise_racing(race->arguments, race->reason);
            }
            if (blocked) toast->raise_failed(sim::notification_disabled);
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE Hide(rt::IToastNotification* notification) override {
        return run_call(L"ToastNotifier.Hide", app_id_, [&] { return notification ? S_OK : E_INVALIDARG; });
    }
    HRESULT STDMETHODCALLTYPE get_Setting(rt::NotificationSetting* value) override {
        if (!value) return E_POINTER;
        return run_call(L"ToastNotifier.get_Setting", app_id_, [&] { *value = sim::toast_setting(); });
    }
    HRESULT STDMETHODCALLTYPE AddToSchedule(rt::IScheduledToastNotification*) override {
        return not_simulated(L"ToastNotifier.AddToSchedule");
    }
    HRESULT STDMETHODCALLTYPE RemoveFromSchedule(rt::IScheduledToastNotification*) override {
        return not_simulated(L"ToastNotifier.RemoveFromSchedule");
    }
    HRESULT STDMETHODCALLTYPE
    GetScheduledToastNotifications(rt::IVectorView<rt::ScheduledToastNotification>** value) override {
        if (value) *value = nullptr;
        return not_simulated(L"ToastNotifier.GetScheduledToastNotifications");
    }

private:
    const std::wstring app_id_;
};

// A desktop process without an identity of its own has only the one it set explicitly.
std::wstring explicit_app_id() {
    PWSTR id = nullptr;
    if (FAILED(GetCurrentProcessExplicitAppUserModelID(&id)) || !id) return {};
    std::wstring copy(id);
    CoTaskMemFree(id);
    return copy;
}

class toast_notification_manager final
    : public sim::activation_factory<toast_notification_manager, rt::IToastNotificationManagerStatics> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::ToastNotificationManager;

    HRESULT STDMETHODCALLTYPE CreateToastNotifier(rt::IToastNotifier** notifier) override {
        if (!notifier) return E_POINTER;
        *notifier = nullptr;
        return run_call(L"ToastNotificationManager.CreateToastNotifier", L"", [&]() -> HRESULT {
            const std::wstring app_id = explicit_app_id();
            if (app_id.empty()) return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
            *notifier = sim::make<toast_notifier>(app_id).detach();
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE CreateToastNotifierWithId(HSTRING application_id,
                                                        rt::IToastNotifier** notifier) override {
        if (!notifier) return E_POINTER;
        *notifier = nullptr;
        return run_call(L"ToastNotificationManager.CreateToastNotifierWithId", rt::view_of(application_id),
                        [&]() -> HRESULT {
                            if (rt::view_of(application_id).empty()) return E_INVALIDARG;
                            *notifier = sim::make<toast_notifier>(rt::to_wstring(application_id)).detach();
                            return S_OK;
                        });
    }
    HRESULT STDMETHODCALLTYPE GetTemplateContent(rt::ToastTemplateType type, rt::IXmlDocument** content) override {
        if (!content) return E_POINTER;
        *content = nullptr;
        const auto value = static_cast<int32_t>(type);
        return run_call(L"ToastNotificationManager.GetTemplateContent", std::to_wstring(value),
                        [&] { return MakeToastTemplateContent(value, content); });
    }
};

const sim::class_registration registration{rt::class_name::ToastNotificationManager,
                                           &sim::new_factory<toast_notification_manager>};

// The toast shown as `index`; null when there is none.
rt::com_ptr<sim::toast_notification> shown_toast_at(UINT32 index) {
    std::lock_guard lock(sim::state_mutex());
    if (index >= shown_toasts().size()) return nullptr;
    return shown_toasts()[index].toast;
}

// Raising runs outside the steering lock: the handlers call back into the toast.
template <class Raise>
HRESULT raise_on(UINT32 index, HRESULT* handlers_result, Raise&& raise) {
    if (!handlers_result) return E_POINTER;
    return rt::hresult_from([&]() -> HRESULT {
        const auto toast = shown_toast_at(index);
        if (!toast) return sim::out_of_bounds;
        *handlers_result = raise(*toast.get());
        return S_OK;
    });
}

}  // namespace

extern "C" __declspec(dllexport) HRESULT SimRuntime_ShownToastCount(UINT32* count) {
    if (!count) return E_POINTER;
    std::lock_guard lock(sim::state_mutex());
    *count = static_cast<UINT32>(shown_toasts().size());
    return S_OK;
}

extern "C" __declspec(dllexport) UINT32
    SimRuntime_ShownToastText(UINT32 index, UINT32 field, wchar_t* buffer, UINT32 capacity) {
    std::wstring text;
    {
        std::lock_guard lock(sim::state_mutex());
        if (index < shown_toasts().size()) {
            const shown_toast& shown = shown_toasts()[index];
            const std::wstring ignored = joined_lines(shown.settings.ignored_markup);
            const std::wstring* fields[] = {&shown.settings.xml, &shown.settings.tag, &shown.settings.group,
                                            &shown.app_id, &ignored};
            if (field < std::size(fields)) text = *fields[field];
        }
    }
    if (buffer && capacity > 0) {
        const size_t copied = std::min<size_t>(text.size(), capacity - 1);
        text.copy(buffer, copied);
        buffer[copied] = L'\0';
    }
    return static_cast<UINT32>(text.size());
}

extern "C" __declspec(dllexport) HRESULT
    SimRuntime_ShownToastFlags(UINT32 index, BOOL* suppressPopup, BOOL* hasExpiration, INT64* expirationTime) {
    if (!suppressPopup || !hasExpiration || !expirationTime) return E_POINTER;
    std::lock_guard lock(sim::state_mutex());
    if (index >= shown_toasts().size()) return sim::out_of_bounds;
    const auto& settings = shown_toasts()[index].settings;
    *suppressPopup = settings.suppress_popup ? TRUE : FALSE;
    *hasExpiration = settings.expiration_time ? TRUE : FALSE;
    *expirationTime = settings.expiration_time.value_or(0);
    return S_OK;
}

extern "C" __declspec(dllexport) HRESULT
    SimRuntime_ToastHandlerCounts(UINT32 index, UINT32* activated, UINT32* dismissed, UINT32* failed) {
    if (!activated || !dismissed || !failed) return E_POINTER;
    const auto toast = shown_toast_at(index);
    if (!toast) return sim::out_of_bounds;
    const sim::toast_handler_counts counts = toast->handler_counts();
    *activated = counts.activated;
    *dismissed = counts.dismissed;
    *failed = counts.failed;
    return S_OK;
}

extern "C" __declspec(dllexport) HRESULT
    SimRuntime_RaiseToastActivated(UINT32 index, const wchar_t* arguments, const wchar_t* replyText,
                                   HRESULT* handlersResult) {
    return raise_on(index, handlersResult, [&](sim::toast_notification& toast) {
        std::optional<std::wstring> reply;
        if (replyText) reply = replyText;
        return toast.raise_activated(arguments ? arguments : L"", reply);
    });
}

extern "C" __declspec(dllexport) HRESULT
    SimRuntime_RaiseToastDismissed(UINT32 index, INT32 reason, HRESULT* handlersResult) {
    return raise_on(index, handlersResult, [&](sim::toast_notification& toast) {
        return toast.raise_dismissed(static_cast<rt::ToastDismissalReason>(reason));
    });
}

extern "C" __declspec(dllexport) HRESULT
    SimRuntime_RaiseToastFailed(UINT32 index, HRESULT errorCode, HRESULT* handlersResult) {
    return raise_on(index, handlersResult,
                    [&](sim::toast_notification& toast) { return toast.raise_failed(errorCode); });
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_ShownToastDiscarded(UINT32 index, BOOL* discarded) {
    if (!discarded) return E_POINTER;
    std::lock_guard lock(sim::state_mutex());
    if (index >= shown_toasts().size()) return sim::out_of_bounds;
    *discarded = shown_toasts()[index].discarded ? TRUE : FALSE;
    return S_OK;
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_RaceEventsOnNextShow(const wchar_t* arguments, INT32 reason) {
    return rt::hresult_from([&] {
        std::lock_guard lock(sim::state_mutex());
        race_on_next_show() = race_plan{arguments ? arguments : L"", static_cast<rt::ToastDismissalReason>(reason)};
    });
}

extern "C" __declspec(dllexport) HRESULT
    SimRuntime_RaiseToastRace(UINT32 index, const wchar_t* arguments, INT32 reason, HRESULT* handlersResult) {
    return raise_on(index, handlersResult, [&](sim::toast_notification& toast) {
        return toast.raise_racing(arguments ? arguments : L"", static_cast<rt::ToastDismissalReason>(reason));
    });
}
