// Windows.Web.Http.HttpResponseMessage as HttpClient hands it out. Its
// properties stay writable, as on Windows.
#include <windows.h>

#include <mutex>
#include <string>
#include <utility>

#include "HString.h"
#include "HttpText.h"
#include "NotSimulatedResult.h"
#include "SimCall.h"
#include "SimHttpContent.h"
#include "SimHttpResponse.h"
#include "SimMethods.h"
#include "SimObject.h"

namespace {

// HTTP_E_STATUS_*: the facility of HTTP status codes, which carries the status in its low bits.
HRESULT status_error(rt::HttpStatusCode status) { return static_cast<HRESULT>(0x80190000u | static_cast<unsigned>(status)); }

bool is_success(rt::HttpStatusCode status) {
    return static_cast<int>(status) >= 200 && static_cast<int>(status) <= 299;
}

struct response_state {
    rt::HttpStatusCode status = rt::HttpStatusCode::Ok;
    std::wstring reason;
    rt::com_ptr<rt::IHttpContent> content;
    rt::HttpResponseMessageSource source = rt::HttpResponseMessageSource::Network;
    rt::HttpVersion version = rt::HttpVersion::Http11;
};

class response_message final : public sim::object<response_message, rt::IHttpResponseMessage, rt::IClosable> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.Web.Http.HttpResponseMessage";

    explicit response_message(response_state state) : state_(std::move(state)) {}

    HRESULT STDMETHODCALLTYPE get_Content(rt::IHttpContent** value) override {
        return get(L"HttpResponseMessage.get_Content", value,
                   [](const response_state& state) { return rt::com_ptr<rt::IHttpContent>(state.content).detach(); });
    }
    HRESULT STDMETHODCALLTYPE put_Content(rt::IHttpContent* value) override {
        return put(L"HttpResponseMessage.put_Content", L"",
                   [&](response_state& state) { state.content = rt::com_ptr<rt::IHttpContent>::copy_from(value); });
    }
    HRESULT STDMETHODCALLTYPE get_IsSuccessStatusCode(boolean* value) override {
        return get(L"HttpResponseMessage.get_IsSuccessStatusCode", value,
                   [](const response_state& state) -> boolean { return is_success(state.status) ? 1 : 0; });
    }
    HRESULT STDMETHODCALLTYPE get_ReasonPhrase(HSTRING* value) override {
        return get(L"HttpResponseMessage.get_ReasonPhrase", value,
                   [](const response_state& state) { return rt::hstring(state.reason).detach(); });
    }
    HRESULT STDMETHODCALLTYPE put_ReasonPhrase(HSTRING value) override {
        return put(L"HttpResponseMessage.put_ReasonPhrase", rt::view_of(value),
                   [&](response_state& state) { state.reason = rt::to_wstring(value); });
    }
    HRESULT STDMETHODCALLTYPE get_Source(rt::HttpResponseMessageSource* value) override {
        return get(L"HttpResponseMessage.get_Source", value, [](const response_state& state) { return state.source; });
    }
    HRESULT STDMETHODCALLTYPE put_Source(rt::HttpResponseMessageSource value) override {
        return put(L"HttpResponseMessage.put_Source", std::to_wstring(static_cast<int>(value)),
                   [&](response_state& state) { state.source = value; });
    }
    HRESULT STDMETHODCALLTYPE get_StatusCode(rt::HttpStatusCode* value) override {
        return get(L"HttpResponseMessage.get_StatusCode", value, [](const response_state& state) { return state.status; });
    }
    HRESULT STDMETHODCALLTYPE put_StatusCode(rt::HttpStatusCode value) override {
        return put(L"HttpResponseMessage.put_StatusCode", std::to_wstring(static_cast<int>(value)),
                   [&](response_state& state) { state.status = value; });
    }
    HRESULT STDMETHODCALLTYPE get_Version(rt::HttpVersion* value) override {
        return get(L"HttpResponseMessage.get_Version", value, [](const response_state& state) { return state.version; });
    }
    HRESULT STDMETHODCALLTYPE put_Version(rt::HttpVersion value) override {
        return put(L"HttpResponseMessage.put_Version", std::to_wstring(static_cast<int>(value)),
                   [&](response_state& state) { state.version = value; });
    }

    HRESULT STDMETHODCALLTYPE EnsureSuccessStatusCode(rt::IHttpResponseMessage** result) override {
        if (!result) return E_POINTER;
        *result = nullptr;
        return run_call(L"HttpResponseMessage.EnsureSuccessStatusCode", L"", [&]() -> HRESULT {
            std::lock_guard lock(mutex_);
            if (!is_success(state_.status)) return status_error(state_.status);
            AddRef();
            *result = this;
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE get_Headers(rt::IHttpResponseHeaderCollection** value) override {
        return sim::not_simulated_result(L"HttpResponseMessage.get_Headers", value);
    }
    HRESULT STDMETHODCALLTYPE get_RequestMessage(rt::IHttpRequestMessage** value) override {
        return sim::not_simulated_result(L"HttpResponseMessage.get_RequestMessage", value);
    }
    HRESULT STDMETHODCALLTYPE put_RequestMessage(rt::IHttpRequestMessage*) override {
        return not_simulated(L"HttpResponseMessage.put_RequestMessage");
    }

    HRESULT STDMETHODCALLTYPE Close() override { return run_call(L"HttpResponseMessage.Close", L"", [] {}); }

private:
    template <class Value, class Read>
    HRESULT get(std::wstring_view method, Value* value, Read&& read) {
        if (!value) return E_POINTER;
        return run_call(method, L"", [&] {
            std::lock_guard lock(mutex_);
            *value = read(state_);
        });
    }

    template <class Write>
    HRESULT put(std::wstring_view method, std::wstring_view arguments, Write&& write) {
        return run_call(method, arguments, [&] {
            std::lock_guard lock(mutex_);
            write(state_);
        });
    }

    std::mutex mutex_;
    response_state state_;
};

}  // namespace

namespace sim {

rt::com_ptr<rt::IHttpResponseMessage> make_http_response(const http_response& response) {
    response_state state;
    state.status = static_cast<rt::HttpStatusCode>(response.status);
    state.reason = decoded_text(response.reason, "");
    state.content = make_received_content({response.body, response.contentType});
    return make<response_message>(std::move(state));
}

}  // namespace sim
