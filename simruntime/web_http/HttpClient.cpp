// Windows.Web.Http.HttpClient. PostAsync really sends the request, as plain
// HTTP to the endpoint SIMRUNTIME_HTTP_HOSTS maps the URL's host to (else the
// host itself), through what the base protocol filter does by default
// (HttpFilterDefaults.h), and completes with the status and body of the last answer.
#include <windows.h>

#include <memory>
#include <string>
#include <utility>

#include "ClassNames.h"
#include "ClassTable.h"
#include "HString.h"
#include "HttpConnection.h"
#include "HttpFilterDefaults.h"
#include "HttpResponseOperation.h"
#include "HttpText.h"
#include "HttpWire.h"
#include "NotSimulatedResult.h"
#include "SimCall.h"
#include "SimHttpContent.h"
#include "SimHttpResponse.h"
#include "SimObject.h"
#include "SimState.h"
#include "WebHttp.h"

namespace {

using uri_text_getter = HRESULT (STDMETHODCALLTYPE rt::IUriRuntimeClass::*)(HSTRING*);

std::wstring uri_text(rt::IUriRuntimeClass* uri, uri_text_getter getter) {
    rt::hstring text;
    rt::check((uri->*getter)(text.put()));
    return text.str();
}

struct post_target {
    sim::http_location location;
    sim::http_post post;
};

// E_INVALIDARG for a URI that is neither http nor https.
post_target describe_post(rt::IUriRuntimeClass* uri, const sim::http_body& body) {
    const std::wstring scheme = uri_text(uri, &rt::IUriRuntimeClass::get_SchemeName);
    if (scheme != L"http" && scheme != L"https") throw rt::hresult_error(E_INVALIDARG);
    const std::wstring host = uri_text(uri, &rt::IUriRuntimeClass::get_Host);
    INT32 port = 0;
    rt::check(uri->get_Port(&port));
    std::wstring target = uri_text(uri, &rt::IUriRuntimeClass::get_Path);
    if (target.empty()) target = L"/";
    target += uri_text(uri, &rt::IUriRuntimeClass::get_Query);
    return {sim::http_location{scheme, host, port, sim::utf8_of(target)},
            sim::http_post{{}, {}, body.contentType, body.bytes}};
}

rt::com_ptr<sim::http_response_operation> start_post(post_target target) {
    auto abort = std::make_shared<sim::abort_signal>();
    auto operation = sim::make<sim::http_response_operation>(
        sim::plan_for(L"HttpClient.PostAsync"), abort, [abort, target = std::move(target)] {
            return sim::make_http_response(sim::send_through_default_filter(target.location, target.post, *abort));
        });
    operation->start();
    return operation;
}

class http_client final : public sim::object<http_client, rt::IHttpClient, rt::IClosable> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::HttpClient;

    // Requests do not pass through the filter; it is held as Windows holds it.
    explicit http_client(rt::com_ptr<rt::IHttpFilter> filter) : filter_(std::move(filter)) {}

    HRESULT STDMETHODCALLTYPE PostAsync(rt::IUriRuntimeClass* uri, rt::IHttpContent* content,
                                        rt::HttpResponseOperation** operation) override {
        if (!operation) return E_POINTER;
        *operation = nullptr;
        const std::wstring arguments = uri ? uri_text(uri, &rt::IUriRuntimeClass::get_AbsoluteUri) : L"";
        return run_call(L"HttpClient.PostAsync", arguments, [&]() -> HRESULT {
            if (!uri || !content) return E_INVALIDARG;
            const auto body = sim::body_of(content);
            if (!body) return E_NOTIMPL;  // contents of other components are not simulated
            *operation = start_post(describe_post(uri, *body)).detach();
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE DeleteAsync(rt::IUriRuntimeClass*, rt::HttpResponseOperation** operation) override {
        return sim::not_simulated_result(L"HttpClient.DeleteAsync", operation);
    }
    HRESULT STDMETHODCALLTYPE GetAsync(rt::IUriRuntimeClass*, rt::HttpResponseOperation** operation) override {
        return sim::not_simulated_result(L"HttpClient.GetAsync", operation);
    }
    HRESULT STDMETHODCALLTYPE GetWithOptionAsync(rt::IUriRuntimeClass*, rt::HttpCompletionOption,
                                                 rt::HttpResponseOperation** operation) override {
        return sim::not_simulated_result(L"HttpClient.GetWithOptionAsync", operation);
    }
    HRESULT STDMETHODCALLTYPE GetBufferAsync(
        rt::IUriRuntimeClass*, rt::IAsyncOperationWithProgress<rt::IBuffer, rt::HttpProgress>** operation) override {
        return sim::not_simulated_result(L"HttpClient.GetBufferAsync", operation);
    }
    HRESULT STDMETHODCALLTYPE GetInputStreamAsync(
        rt::IUriRuntimeClass*, rt::IAsyncOperationWithProgress<rt::IInputStream, rt::HttpProgress>** operation) override {
        return sim::not_simulated_result(L"HttpClient.GetInputStreamAsync", operation);
    }
    HRESULT STDMETHODCALLTYPE GetStringAsync(
        rt::IUriRuntimeClass*, rt::IAsyncOperationWithProgress<HSTRING, rt::HttpProgress>** operation) override {
        return sim::not_simulated_result(L"HttpClient.GetStringAsync", operation);
    }
    HRESULT STDMETHODCALLTYPE PutAsync(rt::IUriRuntimeClass*, rt::IHttpContent*,
                                       rt::HttpResponseOperation** operation) override {
        return sim::not_simulated_result(L"HttpClient.PutAsync", operation);
    }
    HRESULT STDMETHODCALLTYPE SendRequestAsync(rt::IHttpRequestMessage*, rt::HttpResponseOperation** operation) override {
        return sim::not_simulated_result(L"HttpClient.SendRequestAsync", operation);
    }
    HRESULT STDMETHODCALLTYPE SendRequestWithOptionAsync(rt::IHttpRequestMessage*, rt::HttpCompletionOption,
                                                         rt::HttpResponseOperation** operation) override {
        return sim::not_simulated_result(L"HttpClient.SendRequestWithOptionAsync", operation);
    }
    HRESULT STDMETHODCALLTYPE get_DefaultRequestHeaders(rt::IHttpRequestHeaderCollection** value) override {
        return sim::not_simulated_result(L"HttpClient.get_DefaultRequestHeaders", value);
    }

    HRESULT STDMETHODCALLTYPE Close() override { return run_call(L"HttpClient.Close", L"", [] {}); }

private:
    const rt::com_ptr<rt::IHttpFilter> filter_;
};

class http_client_factory final : public sim::activation_factory<http_client_factory, rt::IHttpClientFactory> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::HttpClient;

    HRESULT STDMETHODCALLTYPE ActivateInstance(IInspectable** instance) override {
        if (!instance) return E_POINTER;
        *instance = nullptr;
        return run_call(L"HttpClient.ActivateInstance", L"", [&] {
            *instance = static_cast<rt::IHttpClient*>(sim::make<http_client>(nullptr).detach());
        });
    }

    HRESULT STDMETHODCALLTYPE Create(rt::IHttpFilter* filter, rt::IHttpClient** client) override {
        if (!client) return E_POINTER;
        *client = nullptr;
        return run_call(L"HttpClient.Create", L"", [&]() -> HRESULT {
            if (!filter) return E_INVALIDARG;
            *client = sim::make<http_client>(rt::com_ptr<rt::IHttpFilter>::copy_from(filter)).detach();
            return S_OK;
        });
    }
};

const sim::class_registration registration{rt::class_name::HttpClient, &sim::new_factory<http_client_factory>};

}  // namespace
