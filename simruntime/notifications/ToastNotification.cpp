// Windows.UI.Notifications.ToastNotification, its factory and its event arguments.
#include "SimToastNotification.h"

#include <windows.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ClassNames.h"
#include "ClassTable.h"
#include "HString.h"
#include "SimCall.h"
#include "SimMethods.h"
#include "SimPropertyValue.h"
#include "SimValueSet.h"
#include "ThreadPool.h"
#include "ToastSchema.h"
#include "UniqueHandle.h"

namespace {

// The input box of a reply toast carries this id.
constexpr wchar_t kReplyInputId[] = L"textBox";
// The platform refuses longer tags (and empty ones) with E_INVALIDARG.
constexpr size_t kLongestTag = 64;

class activated_args final
    : public sim::object<activated_args, rt::IToastActivatedEventArgs, rt::IToastActivatedEventArgs2> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.UI.Notifications.ToastActivatedEventArgs";

    activated_args(std::wstring arguments, rt::com_ptr<rt::IPropertySet> user_input)
        : arguments_(std::move(arguments)), user_input_(std::move(user_input)) {}

    HRESULT STDMETHODCALLTYPE get_Arguments(HSTRING* value) override {
        return text_result(L"ToastActivatedEventArgs.get_Arguments", arguments_, value);
    }
    HRESULT STDMETHODCALLTYPE get_UserInput(rt::IPropertySet** value) override {
        if (!value) return E_POINTER;
        *value = nullptr;
        return run_call(L"ToastActivatedEventArgs.get_UserInput", L"",
                        [&] { *value = rt::com_ptr<rt::IPropertySet>(user_input_).detach(); });
    }

private:
    const std::wstring arguments_;
    const rt::com_ptr<rt::IPropertySet> user_input_;
};

class dismissed_args final : public sim::object<dismissed_args, rt::IToastDismissedEventArgs> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.UI.Notifications.ToastDismissedEventArgs";

    explicit dismissed_args(rt::ToastDismissalReason reason) : reason_(reason) {}

    HRESULT STDMETHODCALLTYPE get_Reason(rt::ToastDismissalReason* value) override {
        if (!value) return E_POINTER;
        return run_call(L"ToastDismissedEventArgs.get_Reason", L"", [&] { *value = reason_; });
    }

private:
    const rt::ToastDismissalReason reason_;
};

class failed_args final : public sim::object<failed_args, rt::IToastFailedEventArgs> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.UI.Notifications.ToastFailedEventArgs";

    explicit failed_args(HRESULT error_code) : error_code_(error_code) {}

    HRESULT STDMETHODCALLTYPE get_ErrorCode(HRESULT* value) override {
        if (!value) return E_POINTER;
        return run_call(L"ToastFailedEventArgs.get_ErrorCode", L"", [&] { *value = error_code_; });
    }

private:
    const HRESULT error_code_;
};

class toast_notification_factory final
    : public sim::activation_factory<toast_notification_factory, rt::IToastNotificationFactory> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::ToastNotification;

    HRESULT STDMETHODCALLTYPE CreateToastNotification(rt::IXmlDocument* content,
                                                      rt::IToastNotification** value) override {
        if (!value) return E_POINTER;
        *value = nullptr;
        return run_call(L"ToastNotification.CreateToastNotification", L"", [&]() -> HRESULT {
            if (!content) return E_INVALIDARG;
            *value = sim::make<sim::toast_notification>(rt::com_ptr<rt::IXmlDocument>::copy_from(content)).detach();
            return S_OK;
        });
    }
};

const sim::class_registration registration{rt::class_name::ToastNotification,
                                           &sim::new_factory<toast_notification_factory>};

std::wstring serialized(const rt::com_ptr<rt::IXmlDocument>& document) {
    rt::hstring xml;
    rt::check(document.As<rt::IXmlNodeSerializer>()->GetXml(xml.put()));
    return xml.str();
}

}  // namespace

namespace sim {

toast_notification::toast_notification(rt::com_ptr<rt::IXmlDocument> content) : content_(std::move(content)) {}

HRESULT toast_notification::get_Content(rt::IXmlDocument** value) {
    if (!value) return E_POINTER;
    *value = nullptr;
    return run_call(L"ToastNotification.get_Content", L"",
                    [&] { *value = rt::com_ptr<rt::IXmlDocument>(content_).detach(); });
}

HRESULT toast_notification::put_ExpirationTime(rt::IReference<rt::DateTime>* value) {
    return run_call(L"ToastNotification.put_ExpirationTime", L"", [&] {
        std::lock_guard lock(mutex_);
        expiration_ = rt::com_ptr<rt::IReference<rt::DateTime>>::copy_from(value);
    });
}

HRESULT toast_notification::get_ExpirationTime(rt::IReference<rt::DateTime>** value) {
    if (!value) return E_POINTER;
    *value = nullptr;
    return run_call(L"ToastNotification.get_ExpirationTime", L"", [&] {
        std::lock_guard lock(mutex_);
        *value = rt::com_ptr<rt::IReference<rt::DateTime>>(expiration_).detach();
    });
}

std::wstring toast_notification::locked_copy(const std::wstring& text) {
    std::lock_guard lock(mutex_);
    return text;
}

template <class Handler>
HRESULT toast_notification::add_handler(const wchar_t* method, handler_table<Handler>& table, Handler* handler,
                                        rt::EventRegistrationToken* token) {
    if (!token) return E_POINTER;
    return run_call(method, L"", [&]() -> HRESULT {
        if (!handler) return E_INVALIDARG;
        std::lock_guard lock(mutex_);
        token->Value = next_token_++;
        table.emplace(token->Value, routed_handler<Handler>(handler));
        return S_OK;
    });
}

// Removing a token that is not registered is no error, as on the platform.
template <class Handler>
HRESULT toast_notification::remove_handler(const wchar_t* method, handler_table<Handler>& table,
                                           rt::EventRegistrationToken token) {
    return run_call(method, std::to_wstring(token.Value), [&] {
        routed_handler<Handler> removed;
        std::lock_guard lock(mutex_);
        const auto found = table.find(token.Value);
        if (found == table.end()) return;
        removed = std::move(found->second);
        table.erase(found);
    });
}

HRESULT toast_notification::add_Dismissed(rt::ToastDismissedHandler* handler, rt::EventRegistrationToken* token) {
    return add_handler(L"ToastNotification.add_Dismissed", dismissed_, handler, token);
}
HRESULT toast_notification::remove_Dismissed(rt::EventRegistrationToken token) {
    return remove_handler(L"ToastNotification.remove_Dismissed", dismissed_, token);
}
HRESULT toast_notification::add_Activated(rt::ToastActivatedHandler* handler, rt::EventRegistrationToken* token) {
    return add_handler(L"ToastNotification.add_Activated", activated_, handler, token);
}
HRESULT toast_notification::remove_Activated(rt::EventRegistrationToken token) {
    return remove_handler(L"ToastNotification.remove_Activated", activated_, token);
}
HRESULT toast_notification::add_Failed(rt::ToastFailedHandler* handler, rt::EventRegistrationToken* token) {
    return add_handler(L"ToastNotification.add_Failed", failed_, handler, token);
}
HRESULT toast_notification::remove_Failed(rt::EventRegistrationToken token) {
    return remove_handler(L"ToastNotification.remove_Failed", failed_, token);
}

HRESULT toast_notification::put_text(const wchar_t* method, std::wstring& field, HSTRING value) {
    return run_call(method, rt::view_of(value), [&] {
        std::lock_guard lock(mutex_);
        field = rt::to_wstring(value);
    });
}

HRESULT toast_notification::put_Tag(HSTRING value) {
    const size_t length = rt::view_of(value).size();
    if (length == 0 || length > kLongestTag) {
        return run_call(L"ToastNotification.put_Tag", rt::view_of(value), [] { return E_INVALIDARG; });
    }
    return put_text(L"ToastNotification.put_Tag", tag_, value);
}
HRESULT toast_notification::get_Tag(HSTRING* value) {
    return text_result(L"ToastNotification.get_Tag", locked_copy(tag_), value);
}
HRESULT toast_notification::put_Group(HSTRING value) {
    return put_text(L"ToastNotification.put_Group", group_, value);
}
HRESULT toast_notification::get_Group(HSTRING* value) {
    return text_result(L"ToastNotification.get_Group", locked_copy(group_), value);
}
HRESULT toast_notification::put_SuppressPopup(boolean value) {
    return run_call(L"ToastNotification.put_SuppressPopup", value ? L"true" : L"false", [&] {
        std::lock_guard lock(mutex_);
        suppress_popup_ = value != 0;
    });
}
HRESULT toast_notification::get_SuppressPopup(boolean* value) {
    if (!value) return E_POINTER;
    return run_call(L"ToastNotification.get_SuppressPopup", L"", [&] {
        std::lock_guard lock(mutex_);
        *value = suppress_popup_ ? 1 : 0;
    });
}

toast_notification::settings toast_notification::current_settings() {
    settings current;
    current.xml = serialized(content_);
    current.ignored_markup = ignored_toast_markup(content_.get());
    std::lock_guard lock(mutex_);
    current.tag = tag_;
    current.group = group_;
    current.suppress_popup = suppress_popup_;
    if (expiration_) {
        rt::DateTime when{};
        rt::check(expiration_->get_Value(&when));
        current.expiration_time = when.UniversalTime;
    }
    return current;
}

toast_handler_counts toast_notification::handler_counts() {
    std::lock_guard lock(mutex_);
    return {static_cast<UINT32>(activated_.size()), static_cast<UINT32>(dismissed_.size()),
            static_cast<UINT32>(failed_.size())};
}

template <class Handler>
std::vector<routed_handler<Handler>> toast_notification::handlers_of(handler_table<Handler>& table) {
    // The handlers run without the lock, holding their own references: a
    // handler may revoke itself, as the platform allows.
    std::vector<routed_handler<Handler>> handlers;
    std::lock_guard lock(mutex_);
    for (const auto& [token, handler] : table) handlers.push_back(handler);
    return handlers;
}

// On the calling thread, or through a handler's apartment (HandlerRoute.h);
// the first failure a handler that ran here returned.
template <class Handler, class MakeArgs>
HRESULT toast_notification::invoke_all(const std::vector<routed_handler<Handler>>& handlers,
                                       const MakeArgs& make_args) {
    const auto self = rt::com_ptr<rt::IToastNotification>::copy_from(this);
    HRESULT first_failure = S_OK;
    for (const auto& handler : handlers) {
        const HRESULT result = handler.call([self, make_args](Handler* called) {
            const auto args = make_args();
            return called->Invoke(self.get(), args.get());
        });
        if (FAILED(result) && SUCCEEDED(first_failure)) first_failure = result;
    }
    return first_failure;
}

template <class Handler, class MakeArgs>
HRESULT toast_notification::raise(handler_table<Handler>& table, MakeArgs make_args) {
    const auto handlers = handlers_of(table);
    HRESULT result = S_OK;
    sim::run_on_pool_and_wait([&] { result = invoke_all(handlers, make_args); });
    return result;
}

namespace {

rt::com_ptr<rt::IToastActivatedEventArgs> make_activated_args(const std::wstring& arguments,
                                                              const std::optional<std::wstring>& reply_text) {
    std::vector<std::pair<std::wstring, rt::com_ptr<IInspectable>>> input;
    if (reply_text) input.emplace_back(kReplyInputId, sim::box_string(*reply_text));
    return sim::make<activated_args>(arguments, sim::make_value_set(input));
}

rt::com_ptr<rt::IToastDismissedEventArgs> make_dismissed_args(rt::ToastDismissalReason reason) {
    return sim::make<dismissed_args>(reason);
}

}  // namespace

HRESULT toast_notification::raise_racing(const std::wstring& arguments, rt::ToastDismissalReason reason) {
    const auto activated = handlers_of(activated_);
    const auto dismissed = handlers_of(dismissed_);
    const auto activated_arguments = [arguments] { return make_activated_args(arguments, std::nullopt); };
    const auto dismissed_arguments = [reason] { return make_dismissed_args(reason); };
    // Both pool threads are released together, so neither event is reliably first.
    const UniqueHandle start(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const UniqueHandle activated_done(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const UniqueHandle dismissed_done(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!start.valid() || !activated_done.valid() || !dismissed_done.valid()) {
        return HRESULT_FROM_WIN32(GetLastError());
    }
    HRESULT activated_result = S_OK, dismissed_result = S_OK;
    bool activated_submitted = false;
    try {
        sim::run_on_pool([&] {
            WaitForSingleObject(start.get(), INFINITE);
            activated_result = invoke_all(activated, activated_arguments);
            SetEvent(activated_done.get());
        });
        activated_submitted = true;
        sim::run_on_pool([&] {
            WaitForSingleObject(start.get(), INFINITE);
            dismissed_result = invoke_all(dismissed, dismissed_arguments);
            SetEvent(dismissed_done.get());
        });
    } catch (...) {
        // A submitted item uses this frame: it has to end before the frame does.
        SetEvent(start.get());
        if (activated_submitted) WaitForSingleObject(activated_done.get(), INFINITE);
        throw;
    }
    SetEvent(start.get());
    const HANDLE done[] = {activated_done.get(), dismissed_done.get()};
    WaitForMultipleObjects(2, done, TRUE, INFINITE);
    return FAILED(activated_result) ? activated_result : dismissed_result;
}

HRESULT toast_notification::raise_activated(const std::wstring& arguments,
                                            const std::optional<std::wstring>& reply_text) {
    return raise(activated_, [arguments, reply_text] { return make_activated_args(arguments, reply_text); });
}

HRESULT toast_notification::raise_dismissed(rt::ToastDismissalReason reason) {
    return raise(dismissed_, [reason] { return make_dismissed_args(reason); });
}

HRESULT toast_notification::raise_failed(HRESULT error_code) {
    return raise(failed_, [error_code] { return rt::com_ptr<rt::IToastFailedEventArgs>(make<failed_args>(error_code)); });
}

}  // namespace sim
