// Windows.Foundation.Uri, which Wine does not provide: created from absolute
// URI text, with the escaping statics.
#include <windows.h>

#include <string>
#include <utility>

#include "ClassNames.h"
#include "ClassTable.h"
#include "ForeignException.h"
#include "Foundation.h"
#include "HString.h"
#include "SimCall.h"
#include "SimObject.h"
#include "UriText.h"

namespace {

class uri final
    : public sim::object<uri, rt::IUriRuntimeClass, rt::IUriRuntimeClassWithAbsoluteCanonicalUri, rt::IStringable> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::Uri;

    explicit uri(sim::uri_parts parts)
        : parts_(std::move(parts)), absolute_(sim::absolute_uri(parts_)), display_(sim::display_uri(parts_)) {}

    HRESULT STDMETHODCALLTYPE get_AbsoluteUri(HSTRING* value) override {
        return text_result(L"Uri.get_AbsoluteUri", absolute_, value);
    }
    HRESULT STDMETHODCALLTYPE get_DisplayUri(HSTRING* value) override {
        return text_result(L"Uri.get_DisplayUri", display_, value);
    }
    HRESULT STDMETHODCALLTYPE get_Domain(HSTRING*) override { return not_simulated(L"Uri.get_Domain"); }
    HRESULT STDMETHODCALLTYPE get_Extension(HSTRING* value) override {
        return text_result(L"Uri.get_Extension", sim::path_extension(parts_.path), value);
    }
    HRESULT STDMETHODCALLTYPE get_Fragment(HSTRING* value) override {
        return text_result(L"Uri.get_Fragment", parts_.fragment, value);
    }
    HRESULT STDMETHODCALLTYPE get_Host(HSTRING* value) override { return text_result(L"Uri.get_Host", parts_.host, value); }
    HRESULT STDMETHODCALLTYPE get_Password(HSTRING* value) override {
        return text_result(L"Uri.get_Password", parts_.password, value);
    }
    HRESULT STDMETHODCALLTYPE get_Path(HSTRING* value) override { return text_result(L"Uri.get_Path", parts_.path, value); }
    HRESULT STDMETHODCALLTYPE get_Query(HSTRING* value) override {
        return text_result(L"Uri.get_Query", parts_.query, value);
    }
    HRESULT STDMETHODCALLTYPE get_QueryParsed(rt::IWwwFormUrlDecoderRuntimeClass**) override {
        return not_simulated(L"Uri.get_QueryParsed");
    }
    HRESULT STDMETHODCALLTYPE get_RawUri(HSTRING* value) override { return text_result(L"Uri.get_RawUri", parts_.raw, value); }
    HRESULT STDMETHODCALLTYPE get_SchemeName(HSTRING* value) override {
        return text_result(L"Uri.get_SchemeName", parts_.scheme, value);
    }
    HRESULT STDMETHODCALLTYPE get_UserName(HSTRING* value) override {
        return text_result(L"Uri.get_UserName", parts_.userName, value);
    }
    HRESULT STDMETHODCALLTYPE get_Port(INT32* value) override {
        if (!value) return E_POINTER;
        return run_call(L"Uri.get_Port", L"", [&] { *value = sim::port_number(parts_); });
    }
    HRESULT STDMETHODCALLTYPE get_Suspicious(boolean* value) override {
        if (!value) return E_POINTER;
        return run_call(L"Uri.get_Suspicious", L"", [&] { *value = 0; });
    }
    HRESULT STDMETHODCALLTYPE Equals(rt::IUriRuntimeClass* other, boolean* value) override {
        if (!value) return E_POINTER;
        return run_call(L"Uri.Equals", L"", [&]() -> HRESULT {
            *value = 0;
            if (!other) return S_OK;
            rt::hstring otherUri;
            rt::check(other->get_AbsoluteUri(otherUri.put()));
            *value = otherUri.view() == absolute_ ? 1 : 0;
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE CombineUri(HSTRING, rt::IUriRuntimeClass**) override {
        return not_simulated(L"Uri.CombineUri");
    }

    HRESULT STDMETHODCALLTYPE get_AbsoluteCanonicalUri(HSTRING* value) override {
        return text_result(L"Uri.get_AbsoluteCanonicalUri", absolute_, value);
    }
    HRESULT STDMETHODCALLTYPE get_DisplayIri(HSTRING* value) override {
        return text_result(L"Uri.get_DisplayIri", display_, value);
    }

    HRESULT STDMETHODCALLTYPE ToString(HSTRING* value) override { return text_result(L"Uri.ToString", absolute_, value); }

private:
    const sim::uri_parts parts_;
    const std::wstring absolute_;
    const std::wstring display_;
};

class uri_factory final
    : public sim::activation_factory<uri_factory, rt::IUriRuntimeClassFactory, rt::IUriEscapeStatics> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::Uri;

    HRESULT STDMETHODCALLTYPE CreateUri(HSTRING text, rt::IUriRuntimeClass** instance) override {
        if (!instance) return E_POINTER;
        *instance = nullptr;
        sim::throw_if_planned(L"Uri.CreateUri");
        return run_call(L"Uri.CreateUri", rt::view_of(text), [&]() -> HRESULT {
            auto parts = sim::parse_absolute_uri(rt::view_of(text));
            if (!parts) return E_INVALIDARG;
            *instance = sim::make<uri>(std::move(*parts)).detach();
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE CreateWithRelativeUri(HSTRING, HSTRING, rt::IUriRuntimeClass** instance) override {
        if (instance) *instance = nullptr;
        return not_simulated(L"Uri.CreateWithRelativeUri");
    }

    HRESULT STDMETHODCALLTYPE EscapeComponent(HSTRING toEscape, HSTRING* value) override {
        if (!value) return E_POINTER;
        return run_call(L"Uri.EscapeComponent", rt::view_of(toEscape),
                        [&] { *value = rt::hstring(sim::escape_component(rt::view_of(toEscape))).detach(); });
    }
    HRESULT STDMETHODCALLTYPE UnescapeComponent(HSTRING toUnescape, HSTRING* value) override {
        if (!value) return E_POINTER;
        return run_call(L"Uri.UnescapeComponent", rt::view_of(toUnescape),
                        [&] { *value = rt::hstring(sim::unescape_component(rt::view_of(toUnescape))).detach(); });
    }
};

const sim::class_registration registration{rt::class_name::Uri, &sim::new_factory<uri_factory>};

}  // namespace
