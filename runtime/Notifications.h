#pragma once
// Windows.UI.Notifications: toast notifications, their notifier and their events.
#include <windows.h>
#include <hstring.h>
#include <inspectable.h>

#include <cstdint>

#include "Collections.h"
#include "Foundation.h"
#include "Guid.h"
#include "Signature.h"
#include "XmlDom.h"

namespace rt {

enum class ToastTemplateType : std::int32_t {
    ToastImageAndText01 = 0,
    ToastImageAndText02 = 1,
    ToastImageAndText03 = 2,
    ToastImageAndText04 = 3,
    ToastText01 = 4,
    ToastText02 = 5,
    ToastText03 = 6,
    ToastText04 = 7,
};
template <>
struct signature<ToastTemplateType> : enum_signature<"Windows.UI.Notifications.ToastTemplateType", ToastTemplateType> {};

enum class ToastDismissalReason : std::int32_t { UserCanceled = 0, ApplicationHidden = 1, TimedOut = 2 };
template <>
struct signature<ToastDismissalReason>
    : enum_signature<"Windows.UI.Notifications.ToastDismissalReason", ToastDismissalReason> {};

enum class NotificationSetting : std::int32_t {
    Enabled = 0,
    DisabledForApplication = 1,
    DisabledForUser = 2,
    DisabledByGroupPolicy = 3,
    DisabledByManifest = 4,
};
template <>
struct signature<NotificationSetting> : enum_signature<"Windows.UI.Notifications.NotificationSetting", NotificationSetting> {};

// Only passed through here; nothing calls into them.
struct IScheduledToastNotification;
struct ScheduledToastNotification;

struct IToastDismissedEventArgs : IInspectable {
    static constexpr GUID iid = guid("3f89d935-d9cb-4538-a0f0-ffe7659938f8");
    virtual HRESULT STDMETHODCALLTYPE get_Reason(ToastDismissalReason* value) = 0;
};

struct IToastFailedEventArgs : IInspectable {
    static constexpr GUID iid = guid("35176862-cfd4-44f8-ad64-f500fd896c3b");
    virtual HRESULT STDMETHODCALLTYPE get_ErrorCode(HRESULT* value) = 0;
};

// Arrives as the IInspectable argument of the Activated event. Not agile.
struct IToastActivatedEventArgs : IInspectable {
    static constexpr GUID iid = guid("e3bf92f3-c197-436f-8265-0625824f8dac");
    virtual HRESULT STDMETHODCALLTYPE get_Arguments(HSTRING* value) = 0;
};

struct IToastActivatedEventArgs2 : IInspectable {
    static constexpr GUID iid = guid("ab7da512-cc61-568e-81be-304ac31038fa");
    virtual HRESULT STDMETHODCALLTYPE get_UserInput(IPropertySet** value) = 0;
};

struct ToastNotification;
struct ToastDismissedEventArgs;
struct ToastFailedEventArgs;

struct IToastNotification : IInspectable {
    static constexpr GUID iid = guid("997e2675-059e-4e60-8b06-1760917c8b80");
    virtual HRESULT STDMETHODCALLTYPE get_Content(IXmlDocument** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ExpirationTime(IReference<DateTime>* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ExpirationTime(IReference<DateTime>** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE add_Dismissed(TypedEventHandler<ToastNotification, ToastDismissedEventArgs>* handler,
                                                    EventRegistrationToken* token) = 0;
    virtual HRESULT STDMETHODCALLTYPE remove_Dismissed(EventRegistrationToken token) = 0;
    virtual HRESULT STDMETHODCALLTYPE add_Activated(TypedEventHandler<ToastNotification, IInspectable>* handler,
                                                    EventRegistrationToken* token) = 0;
    virtual HRESULT STDMETHODCALLTYPE remove_Activated(EventRegistrationToken token) = 0;
    virtual HRESULT STDMETHODCALLTYPE add_Failed(TypedEventHandler<ToastNotification, ToastFailedEventArgs>* handler,
                                                 EventRegistrationToken* token) = 0;
    virtual HRESULT STDMETHODCALLTYPE remove_Failed(EventRegistrationToken token) = 0;
};

struct IToastNotification2 : IInspectable {
    static constexpr GUID iid = guid("9dfb9fd1-143a-490e-90bf-b9fba7132de7");
    virtual HRESULT STDMETHODCALLTYPE put_Tag(HSTRING value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Tag(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Group(HSTRING value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Group(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_SuppressPopup(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_SuppressPopup(boolean* value) = 0;
};

struct IToastNotificationFactory : IInspectable {
    static constexpr GUID iid = guid("04124b20-82c6-4229-b109-fd9ed4662b53");
    virtual HRESULT STDMETHODCALLTYPE CreateToastNotification(IXmlDocument* content, IToastNotification** value) = 0;
};

struct IToastNotifier : IInspectable {
    static constexpr GUID iid = guid("75927b93-03f3-41ec-91d3-6e5bac1b38e7");
    virtual HRESULT STDMETHODCALLTYPE Show(IToastNotification* notification) = 0;
    virtual HRESULT STDMETHODCALLTYPE Hide(IToastNotification* notification) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Setting(NotificationSetting* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddToSchedule(IScheduledToastNotification* scheduledToast) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveFromSchedule(IScheduledToastNotification* scheduledToast) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetScheduledToastNotifications(
        IVectorView<ScheduledToastNotification>** scheduledToasts) = 0;
};

struct IToastNotificationManagerStatics : IInspectable {
    static constexpr GUID iid = guid("50ac103f-d235-4598-bbef-98fe4d1a3ad4");
    virtual HRESULT STDMETHODCALLTYPE CreateToastNotifier(IToastNotifier** notifier) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateToastNotifierWithId(HSTRING applicationId, IToastNotifier** notifier) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTemplateContent(ToastTemplateType type, IXmlDocument** content) = 0;
};

struct ToastNotification : runtime_class<"Windows.UI.Notifications.ToastNotification", IToastNotification> {};
struct ToastDismissedEventArgs
    : runtime_class<"Windows.UI.Notifications.ToastDismissedEventArgs", IToastDismissedEventArgs> {};
struct ToastFailedEventArgs : runtime_class<"Windows.UI.Notifications.ToastFailedEventArgs", IToastFailedEventArgs> {};

using ToastActivatedHandler = TypedEventHandler<ToastNotification, IInspectable>;
using ToastDismissedHandler = TypedEventHandler<ToastNotification, ToastDismissedEventArgs>;
using ToastFailedHandler = TypedEventHandler<ToastNotification, ToastFailedEventArgs>;

}  // namespace rt
