#pragma once
// The process-wide notifier: shows a rendered toast under the application
// identity and routes the toast's events to its handler.
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "AgileReference.h"
#include "ComPtr.h"
#include "Foundation.h"
#include "NotificationTemplate.h"
#include "Notifications.h"

namespace notification_wrapper {

// Receives the events of one toast, on threads of the notification platform.
// Slot order as MSVC lays out the vtable (the destructor takes one entry):
// destructor, on_activated, on_reply, on_dismissed, on_failed. Callers built
// against that order rely on it; append new operations after on_failed.
class notification_handler {
public:
    virtual ~notification_handler() = default;
    virtual void on_activated(int button_index) = 0;
    virtual void on_reply(std::wstring text) = 0;
    virtual void on_dismissed(int reason) = 0;
    virtual void on_failed() = 0;
};

using mono_notification_handler_t = std::shared_ptr<notification_handler>;

enum class notification_event_kind { activated, replied, dismissed, failed };

// What an unnamed_handler's callable receives.
struct notification_event {
    notification_event_kind kind = notification_event_kind::activated;
    int value = 0;      // button index (activated) or dismissal reason (dismissed)
    std::wstring text;  // reply text (replied)
};

// Adapts one callable taking a notification_event.
template <typename F>
class unnamed_handler final : public notification_handler {
public:
    explicit unnamed_handler(F callable) : callable_(std::move(callable)) {}

    void on_activated(int button_index) override {
        callable_(notification_event{notification_event_kind::activated, button_index, {}});
    }
    void on_reply(std::wstring text) override {
        callable_(notification_event{notification_event_kind::replied, 0, std::move(text)});
    }
    void on_dismissed(int reason) override {
        callable_(notification_event{notification_event_kind::dismissed, reason, {}});
    }
    void on_failed() override { callable_(notification_event{notification_event_kind::failed, 0, {}}); }

private:
    F callable_;
};

class notification {
public:
    // Never destroyed: toasts on screen may still raise events while the
    // process unloads its modules.
    static notification& instance();

    ~notification() = default;
    notification(const notification&) = delete;
    notification& operator=(const notification&) = delete;

    // Set by the push box; read by show, on any client thread.
    // NOLINTBEGIN(cppcoreguidelines-non-private-member-variables-in-classes): the
    // notifier's two flags as the push box knows them; atomics, safe from any thread.
    std::atomic<bool> initialised{false};
    std::atomic<bool> attribution_enabled{false};
    // NOLINTEND(cppcoreguidelines-non-private-member-variables-in-classes)

    // The identity toasts appear under; push boxes on several client threads
    // set it while others show.
    void set_identity(std::wstring display_name, std::wstring app_id);
    std::wstring app_id() const;

    // The notification id, or -1 with `error` set (error may be null).
    // Windows Runtime failures are thrown as rt::hresult_error.
    int64_t show_impl(const notification_template& toast, const mono_notification_handler_t& handler,
                      notification_error* error);

    template <typename F>
    int64_t show(const notification_template& toast, F callable, notification_error* error) {
        return show_impl(toast, std::make_shared<unnamed_handler<F>>(std::move(callable)), error);
    }

    // Toasts shown and not yet activated, dismissed or failed.
    size_t active_count() const;
    void clear_active();

    // Takes toast `id` out of the table and revokes its three event
    // registrations.
    void remove(int64_t id);

    // The first event of a toast: hands its handler to `deliver` unless
    // another event of the same toast came first, then removes the toast.
    // Events may race each other and the Show that is still returning.
    template <class Deliver>
    void deliver_once(int64_t id, Deliver&& deliver);

private:
    struct entry {
        mono_notification_handler_t handler;
        // Made on the client's thread, revoked on the platform's: resolved where it is used.
        rt::agile_ref<rt::IToastNotification> toast;
        rt::EventRegistrationToken activated_token{};
        rt::EventRegistrationToken dismissed_token{};
        rt::EventRegistrationToken failed_token{};
        int64_t expiry_seconds = 0;  // since 1970; 0: no expiry
    };

    notification() = default;

    // Empty when the toast is gone already.
    std::map<int64_t, entry>::node_type take(int64_t id);
    static void revoke(entry& gone);

    mutable std::mutex identity_lock_;
    std::wstring display_name_;
    std::wstring app_id_;

    mutable std::mutex active_lock_;
    std::map<int64_t, entry> active_;
};

template <class Deliver>
void notification::deliver_once(int64_t id, Deliver&& deliver) {
    auto claimed = take(id);
    if (!claimed) return;
    // A scope guard of this function alone, never copied (an aggregate, so no
    // deleted copy operations).
    struct revoke_on_exit {  // NOLINT(cppcoreguidelines-special-member-functions)
        entry& gone;
        ~revoke_on_exit() { revoke(gone); }
    } revocation{claimed.mapped()};
    deliver(*claimed.mapped().handler);
}

}  // namespace notification_wrapper
