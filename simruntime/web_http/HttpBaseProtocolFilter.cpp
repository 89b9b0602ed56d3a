// Windows.Web.Http.Filters.HttpBaseProtocolFilter and its HttpCacheControl.
// The simulated client sends every request to the network whatever the
// cache behaviours say; they are kept and logged so tests can read them.
// Redirects, credential prompts and cookies follow the filter's defaults.
#include <windows.h>

#include <atomic>
#include <string>
#include <string_view>

#include "ClassNames.h"
#include "ClassTable.h"
#include "NotSimulatedResult.h"
#include "SimCall.h"
#include "SimMethods.h"
#include "SimObject.h"
#include "WebHttp.h"

namespace {

template <class Behavior>
HRESULT read_behavior(std::wstring_view method, const std::atomic<Behavior>& kept, Behavior* value) {
    if (!value) return E_POINTER;
    return sim::run_call(method, L"", [&] { *value = kept.load(); });
}

template <class Behavior>
HRESULT write_behavior(std::wstring_view method, std::atomic<Behavior>& kept, Behavior value, Behavior last) {
    return sim::run_call(method, std::to_wstring(static_cast<int>(value)), [&]() -> HRESULT {
        if (static_cast<int>(value) < 0 || static_cast<int>(value) > static_cast<int>(last)) return E_INVALIDARG;
        kept.store(value);
        return S_OK;
    });
}

class cache_control final : public sim::object<cache_control, rt::IHttpCacheControl> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.Web.Http.Filters.HttpCacheControl";

    HRESULT STDMETHODCALLTYPE get_ReadBehavior(rt::HttpCacheReadBehavior* value) override {
        return read_behavior(L"HttpCacheControl.get_ReadBehavior", read_, value);
    }
    HRESULT STDMETHODCALLTYPE put_ReadBehavior(rt::HttpCacheReadBehavior value) override {
        return write_behavior(L"HttpCacheControl.put_ReadBehavior", read_, value, rt::HttpCacheReadBehavior::NoCache);
    }
    HRESULT STDMETHODCALLTYPE get_WriteBehavior(rt::HttpCacheWriteBehavior* value) override {
        return read_behavior(L"HttpCacheControl.get_WriteBehavior", write_, value);
    }
    HRESULT STDMETHODCALLTYPE put_WriteBehavior(rt::HttpCacheWriteBehavior value) override {
        return write_behavior(L"HttpCacheControl.put_WriteBehavior", write_, value, rt::HttpCacheWriteBehavior::NoCache);
    }

private:
    std::atomic<rt::HttpCacheReadBehavior> read_{rt::HttpCacheReadBehavior::Default};
    std::atomic<rt::HttpCacheWriteBehavior> write_{rt::HttpCacheWriteBehavior::Default};
};

class base_protocol_filter final
    : public sim::object<base_protocol_filter, rt::IHttpBaseProtocolFilter, rt::IHttpFilter, rt::IClosable> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::HttpBaseProtocolFilter;

    HRESULT STDMETHODCALLTYPE get_CacheControl(rt::IHttpCacheControl** value) override {
        if (!value) return E_POINTER;
        return run_call(L"HttpBaseProtocolFilter.get_CacheControl", L"",
                        [&] { *value = rt::com_ptr<rt::IHttpCacheControl>(cacheControl_).detach(); });
    }

    // The defaults, which the client's requests obey (HttpFilterDefaults.h);
    // changing them is not simulated.
    HRESULT STDMETHODCALLTYPE get_AllowAutoRedirect(boolean* value) override {
        if (!value) return E_POINTER;
        return run_call(L"HttpBaseProtocolFilter.get_AllowAutoRedirect", L"", [&] { *value = 1; });
    }
    HRESULT STDMETHODCALLTYPE put_AllowAutoRedirect(boolean) override {
        return not_simulated(L"HttpBaseProtocolFilter.put_AllowAutoRedirect");
    }
    HRESULT STDMETHODCALLTYPE get_AllowUI(boolean* value) override {
        if (!value) return E_POINTER;
        return run_call(L"HttpBaseProtocolFilter.get_AllowUI", L"", [&] { *value = 1; });
    }
    HRESULT STDMETHODCALLTYPE put_AllowUI(boolean) override {
        return not_simulated(L"HttpBaseProtocolFilter.put_AllowUI");
    }
    HRESULT STDMETHODCALLTYPE get_AutomaticDecompression(boolean*) override {
        return not_simulated(L"HttpBaseProtocolFilter.get_AutomaticDecompression");
    }
    HRESULT STDMETHODCALLTYPE put_AutomaticDecompression(boolean) override {
        return not_simulated(L"HttpBaseProtocolFilter.put_AutomaticDecompression");
    }
    HRESULT STDMETHODCALLTYPE get_CookieManager(rt::IHttpCookieManager** value) override {
        return sim::not_simulated_result(L"HttpBaseProtocolFilter.get_CookieManager", value);
    }
    HRESULT STDMETHODCALLTYPE get_ClientCertificate(rt::ICertificate** value) override {
        return sim::not_simulated_result(L"HttpBaseProtocolFilter.get_ClientCertificate", value);
    }
    HRESULT STDMETHODCALLTYPE put_ClientCertificate(rt::ICertificate*) override {
        return not_simulated(L"HttpBaseProtocolFilter.put_ClientCertificate");
    }
    HRESULT STDMETHODCALLTYPE get_IgnorableServerCertificateErrors(
        rt::IVector<rt::ChainValidationResult>** value) override {
        return sim::not_simulated_result(L"HttpBaseProtocolFilter.get_IgnorableServerCertificateErrors", value);
    }
    HRESULT STDMETHODCALLTYPE get_MaxConnectionsPerServer(UINT32*) override {
        return not_simulated(L"HttpBaseProtocolFilter.get_MaxConnectionsPerServer");
    }
    HRESULT STDMETHODCALLTYPE put_MaxConnectionsPerServer(UINT32) override {
        return not_simulated(L"HttpBaseProtocolFilter.put_MaxConnectionsPerServer");
    }
    HRESULT STDMETHODCALLTYPE get_ProxyCredential(rt::IPasswordCredential** value) override {
        return sim::not_simulated_result(L"HttpBaseProtocolFilter.get_ProxyCredential", value);
    }
    HRESULT STDMETHODCALLTYPE put_ProxyCredential(rt::IPasswordCredential*) override {
        return not_simulated(L"HttpBaseProtocolFilter.put_ProxyCredential");
    }
    HRESULT STDMETHODCALLTYPE get_ServerCredential(rt::IPasswordCredential** value) override {
        return sim::not_simulated_result(L"HttpBaseProtocolFilter.get_ServerCredential", value);
    }
    HRESULT STDMETHODCALLTYPE put_ServerCredential(rt::IPasswordCredential*) override {
        return not_simulated(L"HttpBaseProtocolFilter.put_ServerCredential");
    }
    HRESULT STDMETHODCALLTYPE get_UseProxy(boolean*) override {
        return not_simulated(L"HttpBaseProtocolFilter.get_UseProxy");
    }
    HRESULT STDMETHODCALLTYPE put_UseProxy(boolean) override {
        return not_simulated(L"HttpBaseProtocolFilter.put_UseProxy");
    }

    HRESULT STDMETHODCALLTYPE SendRequestAsync(rt::IHttpRequestMessage*, rt::HttpResponseOperation** operation) override {
        return sim::not_simulated_result(L"HttpBaseProtocolFilter.SendRequestAsync", operation);
    }

    HRESULT STDMETHODCALLTYPE Close() override { return run_call(L"HttpBaseProtocolFilter.Close", L"", [] {}); }

private:
    const rt::com_ptr<cache_control> cacheControl_ = sim::make<cache_control>();
};

class base_protocol_filter_factory final : public sim::activation_factory<base_protocol_filter_factory> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::HttpBaseProtocolFilter;

    HRESULT STDMETHODCALLTYPE ActivateInstance(IInspectable** instance) override {
        if (!instance) return E_POINTER;
        *instance = nullptr;
        return run_call(L"HttpBaseProtocolFilter.ActivateInstance", L"", [&] {
            *instance = static_cast<rt::IHttpBaseProtocolFilter*>(sim::make<base_protocol_filter>().detach());
        });
    }
};

const sim::class_registration registration{rt::class_name::HttpBaseProtocolFilter,
                                           &sim::new_factory<base_protocol_filter_factory>};

}  // namespace
