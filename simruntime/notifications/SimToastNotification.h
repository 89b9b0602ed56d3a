#pragma once
// A simulated Windows.UI.Notifications.ToastNotification: what the module set
// on it, the handlers registered for its events, and the raising of those
// events as the notification platform does it, on a thread other than the caller's.
#include <windows.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "ComPtr.h"
#include "HandlerRoute.h"
#include "Notifications.h"
#include "SimObject.h"

namespace sim {

struct toast_handler_counts {
    UINT32 activated = 0;
    UINT32 dismissed = 0;
    UINT32 failed = 0;
};

class toast_notification final : public object<toast_notification, rt::IToastNotification, rt::IToastNotification2> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.UI.Notifications.ToastNotification";

    explicit toast_notification(rt::com_ptr<rt::IXmlDocument> content);

    HRESULT STDMETHODCALLTYPE get_Content(rt::IXmlDocument** value) override;
    HRESULT STDMETHODCALLTYPE put_ExpirationTime(rt::IReference<rt::DateTime>* value) override;
    HRESULT STDMETHODCALLTYPE get_ExpirationTime(rt::IReference<rt::DateTime>** value) override;
    HRESULT STDMETHODCALLTYPE add_Dismissed(rt::ToastDismissedHandler* handler,
                                            rt::EventRegistrationToken* token) override;
    HRESULT STDMETHODCALLTYPE remove_Dismissed(rt::EventRegistrationToken token) override;
    HRESULT STDMETHODCALLTYPE add_Activated(rt::ToastActivatedHandler* handler,
                                            rt::EventRegistrationToken* token) override;
    HRESULT STDMETHODCALLTYPE remove_Activated(rt::EventRegistrationToken token) override;
    HRESULT STDMETHODCALLTYPE add_Failed(rt::ToastFailedHandler* handler, rt::EventRegistrationToken* token) override;
    HRESULT STDMETHODCALLTYPE remove_Failed(rt::EventRegistrationToken token) override;

    HRESULT STDMETHODCALLTYPE put_Tag(HSTRING value) override;
    HRESULT STDMETHODCALLTYPE get_Tag(HSTRING* value) override;
    HRESULT STDMETHODCALLTYPE put_Group(HSTRING value) override;
    HRESULT STDMETHODCALLTYPE get_Group(HSTRING* value) override;
    HRESULT STDMETHODCALLTYPE put_SuppressPopup(boolean value) override;
    HRESULT STDMETHODCALLTYPE get_SuppressPopup(boolean* value) override;

    // What the notifier records when the toast is shown.
    struct settings {
        std::wstring xml;
        std::wstring tag;
        std::wstring group;
        bool suppress_popup = false;
        std::optional<std::int64_t> expiration_time;  // DateTime ticks
        std::vector<std::wstring> ignored_markup;      // what the platform would not render
    };
    settings current_settings();

    toast_handler_counts handler_counts();

    // Each calls the handlers registered at the time on a pool thread and
    // waits for them; the result is the first failure a handler returned.
    HRESULT raise_activated(const std::wstring& arguments, const std::optional<std::wstring>& reply_text);
    HRESULT raise_dismissed(rt::ToastDismissalReason reason);
    HRESULT raise_failed(HRESULT error_code);
    // Activated and Dismissed at the same moment, on two pool threads, as the
    // platform may deliver them; waits for both.
    HRESULT raise_racing(const std::wstring& arguments, rt::ToastDismissalReason reason);

private:
    template <class Handler>
    using handler_table = std::map<std::int64_t, routed_handler<Handler>>;

    std::wstring locked_copy(const std::wstring& text);
    HRESULT put_text(const wchar_t* method, std::wstring& field, HSTRING value);
    template <class Handler>
    HRESULT add_handler(const wchar_t* method, handler_table<Handler>& table, Handler* handler,
                        rt::EventRegistrationToken* token);
    template <class Handler>
    HRESULT remove_handler(const wchar_t* method, handler_table<Handler>& table, rt::EventRegistrationToken token);
    // `make_args()` makes the event's arguments where a handler runs, as the
    // platform hands each apartment its own.
    template <class Handler, class MakeArgs>
    HRESULT raise(handler_table<Handler>& table, MakeArgs make_args);
    template <class Handler>
    std::vector<routed_handler<Handler>> handlers_of(handler_table<Handler>& table);
    template <class Handler, class MakeArgs>
    HRESULT invoke_all(const std::vector<routed_handler<Handler>>& handlers, const MakeArgs& make_args);

    std::mutex mutex_;
    const rt::com_ptr<rt::IXmlDocument> content_;
    rt::com_ptr<rt::IReference<rt::DateTime>> expiration_;
    std::wstring tag_;
    std::wstring group_;
    bool suppress_popup_ = false;
    std::int64_t next_token_ = 1;
    handler_table<rt::ToastActivatedHandler> activated_;
    handler_table<rt::ToastDismissedHandler> dismissed_;
    handler_table<rt::ToastFailedHandler> failed_;
};

}  // namespace sim
