#include "NotificationWrapper.h"

#include <windows.h>
#include <objbase.h>

#include <cstring>
#include <string>
#include <utility>

#include "Activation.h"
#include "ClassNames.h"
#include "Collections.h"
#include "Delegate.h"
#include "HString.h"
#include "HostLog.h"
#include "ModulePin.h"
#include "RuntimeError.h"
#include "ToastCapabilities.h"
#include "ToastXmlRenderer.h"
#include "XmlDom.h"

namespace notification_wrapper {
namespace {

constexpr wchar_t kReplyArguments[] = L"action=reply";
constexpr wchar_t kReplyInputId[] = L"textBox";
constexpr int64_t kTicksPerMillisecond = 10'000;
constexpr int64_t kTicksPerSecond = 10'000'000;
// 1970-01-01 in 100-ns ticks since 1601-01-01, the epoch of FILETIME and DateTime.
constexpr int64_t kUnixEpochTicks = 116'444'736'000'000'000;

int64_t now_ticks() {
    FILETIME now = {};
    GetSystemTimePreciseAsFileTime(&now);
    return static_cast<int64_t>((static_cast<uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime);
}

int64_t seconds_since_1970(int64_t ticks) { return (ticks - kUnixEpochTicks) / kTicksPerSecond; }

// The sign bit is cleared so that an id never collides with the failure value -1.
int64_t fresh_notification_id() {
    GUID guid = {};
    rt::check(CoCreateGuid(&guid));
    uint64_t bits = 0;
    std::memcpy(&bits, &guid, sizeof(bits));
    return static_cast<int64_t>(bits & 0x7FFF'FFFF'FFFF'FFFFull);
}

void set_expiration(rt::IToastNotification* toast, int64_t expiration_ticks) {
    const auto values = rt::get_activation_factory<rt::IPropertyValueStatics>(rt::class_name::PropertyValue);
    rt::com_ptr<IInspectable> boxed;
    rt::check(values->CreateDateTime(rt::DateTime{expiration_ticks}, boxed.put()));
    rt::check(toast->put_ExpirationTime(boxed.As<rt::IReference<rt::DateTime>>().get()));
}

void set_attribute(rt::IXmlElement* element, const wchar_t* name, const std::wstring& value) {
    rt::check(element->SetAttribute(rt::hstring(name).get(), rt::hstring(value).get()));
}

void set_root_attributes(rt::IToastNotification* toast, const std::wstring& launch_args) {
    rt::com_ptr<rt::IXmlDocument> content;
    rt::check(toast->get_Content(content.put()));
    rt::com_ptr<rt::IXmlElement> root;
    rt::check(content->get_DocumentElement(root.put()));
    set_attribute(root.get(), L"activationType", L"protocol");
    if (!launch_args.empty()) set_attribute(root.get(), L"launch", launch_args);
    set_attribute(root.get(), L"template", L"ToastGeneric");
}

// Push boxes go to the notification centre without a banner.
void set_tag_and_popup(rt::IToastNotification* toast, const std::wstring& tag) {
    const auto toast2 = rt::com_ptr<rt::IToastNotification>::copy_from(toast).As<rt::IToastNotification2>();
    rt::check(toast2->put_Tag(rt::hstring(tag).get()));
    rt::check(toast2->put_SuppressPopup(1));
}

std::wstring reply_text(const rt::com_ptr<rt::IToastActivatedEventArgs>& activated) {
    rt::com_ptr<rt::IPropertySet> input;
    rt::check(activated.As<rt::IToastActivatedEventArgs2>()->get_UserInput(input.put()));
    rt::com_ptr<IInspectable> value;
    rt::check(input.As<rt::IMap<HSTRING, IInspectable>>()->Lookup(rt::hstring(kReplyInputId).get(), value.put()));
    rt::hstring text;
    rt::check(value.As<rt::IPropertyValue>()->GetString(text.put()));
    return text.str();
}

// An event ends the toast's life in the table even when its handler fails, so
// the failure is logged, the entry removed, and the error handed on to the
// delegate, which turns it into its HRESULT. Only the first event of a toast
// reaches the handler.
template <class Body>
void run_event(const wchar_t* name, int64_t id, Body&& body) {
    const std::wstring tag = std::wstring(L"`anonymous-namespace'::") + name;
    try {
        notification::instance().deliver_once(id, body);
    } catch (const rt::hresult_error& e) {
        HOST_LOG_ERROR(tag.c_str(), L"[{}]{} exception, hr=0x{:08X}, msg={}", tag, name, host_log::Hex(e.code()),
                       e.message());
        throw;
    } catch (...) {
        HOST_LOG_ERROR(tag.c_str(), L"[{}]{} unknown exception", tag, name);
        throw;
    }
}

void on_toast_activated(int64_t id, IInspectable* args) {
    run_event(L"on_toast_activated", id, [&](notification_handler& handler) {
        // Not agile: read here, on the thread the platform called on, and never kept.
        const auto activated = rt::com_ptr<IInspectable>::copy_from(args).As<rt::IToastActivatedEventArgs>();
        rt::hstring arguments;
        rt::check(activated->get_Arguments(arguments.put()));
        if (arguments.view() == kReplyArguments) {
            handler.on_reply(reply_text(activated));
        } else {
            handler.on_activated(std::stoi(arguments.str()));
        }
    });
}

void on_toast_dismissed(int64_t id, int64_t expiry_seconds, rt::IToastDismissedEventArgs* args) {
    run_event(L"on_toast_dismissed", id, [&](notification_handler& handler) {
        rt::ToastDismissalReason reason = rt::ToastDismissalReason::UserCanceled;
        rt::check(args->get_Reason(&reason));
        // The platform reports an expired toast as cancelled by the user.
        if (reason == rt::ToastDismissalReason::UserCanceled && expiry_seconds != 0 &&
            seconds_since_1970(now_ticks()) >= expiry_seconds) {
            reason = rt::ToastDismissalReason::TimedOut;
        }
        handler.on_dismissed(static_cast<int>(reason));
    });
}

void on_toast_failed(int64_t id) {
    run_event(L"on_toast_failed", id, [&](notification_handler& handler) { handler.on_failed(); });
}

}  // namespace

notification& notification::instance() {
    static auto* state = new notification;
    return *state;
}

size_t notification::active_count() const {
    std::lock_guard lock(active_lock_);
    return active_.size();
}

void notification::clear_active() {
    std::lock_guard lock(active_lock_);
    active_.clear();
}

void notification::set_identity(std::wstring display_name, std::wstring app_id) {
    std::lock_guard lock(identity_lock_);
    display_name_ = std::move(display_name);
    app_id_ = std::move(app_id);
}

std::wstring notification::app_id() const {
    std::lock_guard lock(identity_lock_);
    return app_id_;
}

std::map<int64_t, notification::entry>::node_type notification::take(int64_t id) {
    std::lock_guard lock(active_lock_);
    return active_.extract(id);
}

// Outside the lock: the platform may be dispatching another event of the same toast meanwhile.
void notification::revoke(entry& gone) {
    const auto toast = gone.toast.resolve();
    if (!toast) return;
    toast->remove_Activated(gone.activated_token);
    toast->remove_Dismissed(gone.dismissed_token);
    toast->remove_Failed(gone.failed_token);
}

void notification::remove(int64_t id) {
    // Taking the entry out under the lock is what makes the revocation happen once.
    auto removed = take(id);
    if (removed) revoke(removed.mapped());
}

int64_t notification::show_impl(const notification_template& toast, const mono_notification_handler_t& handler,
                                notification_error* error) {
    auto report = [error](notification_error value) {
        if (error != nullptr) *error = value;
    };
    report(notification_error::none);
    if (!initialised) {
        report(notification_error::not_initialised);
        return -1;
    }
    if (!handler) {
        report(notification_error::no_handler);
        return -1;
    }

    const rt::com_ptr<rt::IXmlDocument> document = render_toast_xml(toast, toast_capability_flags(attribution_enabled));

    const auto factory = rt::get_activation_factory<rt::IToastNotificationFactory>(rt::class_name::ToastNotification);
    rt::com_ptr<rt::IToastNotification> shown;
    rt::check(factory->CreateToastNotification(document.get(), shown.put()));

    entry record;
    record.handler = handler;
    record.toast = rt::agile_ref<rt::IToastNotification>(shown.get());
    if (toast.expiration_ms >= 1) {
        const int64_t expiration_ticks = now_ticks() + toast.expiration_ms * kTicksPerMillisecond;
        set_expiration(shown.get(), expiration_ticks);
        record.expiry_seconds = seconds_since_1970(expiration_ticks);
    }

    const int64_t id = fresh_notification_id();

    try {
        const int64_t expiry_seconds = record.expiry_seconds;
        PinModuleInMemory();
        const auto activated = rt::make_delegate<rt::ToastActivatedHandler>(
            [id](rt::IToastNotification*, IInspectable* args) { on_toast_activated(id, args); });
        const auto dismissed = rt::make_delegate<rt::ToastDismissedHandler>(
            [id, expiry_seconds](rt::IToastNotification*, rt::IToastDismissedEventArgs* args) {
                on_toast_dismissed(id, expiry_seconds, args);
            });
        const auto failed = rt::make_delegate<rt::ToastFailedHandler>(
            [id](rt::IToastNotification*, rt::IToastFailedEventArgs*) { on_toast_failed(id); });
        rt::check(shown->add_Activated(activated.get(), &record.activated_token));
        rt::check(shown->add_Dismissed(dismissed.get(), &record.dismissed_token));
        rt::check(shown->add_Failed(failed.get(), &record.failed_token));
    } catch (...) {
        report(notification_error::no_handler);
        throw;
    }

    set_tag_and_popup(shown.get(), toast.tag.empty() ? std::to_wstring(id) : toast.tag);
    set_root_attributes(shown.get(), toast.launch_args);

    const auto manager =
        rt::get_activation_factory<rt::IToastNotificationManagerStatics>(rt::class_name::ToastNotificationManager);
    rt::com_ptr<rt::IToastNotifier> notifier;
    rt::check(manager->CreateToastNotifierWithId(rt::hstring(app_id()).get(), notifier.put()));

    // Recorded before Show: the platform may raise the toast's first event
    // before Show has even returned.
    {
        std::lock_guard lock(active_lock_);
        active_.insert_or_assign(id, std::move(record));
    }
    try {
        rt::check(notifier->Show(shown.get()));
    } catch (...) {
        remove(id);
        throw;
    }
    return id;
}

}  // namespace notification_wrapper
