// Windows.Web.Http.HttpStringContent (made by its factory) and the content of
// received responses, which Windows hands out as HttpStreamContent.
#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AsyncOperation.h"
#include "ClassNames.h"
#include "ClassTable.h"
#include "HString.h"
#include "HttpText.h"
#include "NotSimulatedResult.h"
#include "SimCall.h"
#include "SimHttpContent.h"
#include "SimObject.h"
#include "SimState.h"

namespace {

// How the client reads the bytes of a content made here; never crosses a module boundary.
struct ISimHttpBody : IInspectable {
    static constexpr GUID iid = rt::guid("8985baae-9a46-45ed-9d1d-dd0fe53d8313");
    virtual const sim::http_body& STDMETHODCALLTYPE body() = 0;
};

struct string_content_names {
    static constexpr const wchar_t* runtime_class_name = rt::class_name::HttpStringContent;
    static constexpr std::wstring_view short_name = L"HttpStringContent";
};

struct stream_content_names {
    static constexpr const wchar_t* runtime_class_name = L"Windows.Web.Http.HttpStreamContent";
    static constexpr std::wstring_view short_name = L"HttpStreamContent";
};

template <class Names>
class content final : public sim::object<content<Names>, rt::IHttpContent, rt::IClosable, ISimHttpBody> {
public:
    static constexpr const wchar_t* runtime_class_name = Names::runtime_class_name;

    explicit content(sim::http_body body) : body_(std::move(body)) {}

    HRESULT STDMETHODCALLTYPE get_Headers(rt::IHttpContentHeaderCollection** value) override {
        return sim::not_simulated_result(method(L"get_Headers"), value);
    }
    HRESULT STDMETHODCALLTYPE BufferAllAsync(
        rt::IAsyncOperationWithProgress<std::uint64_t, std::uint64_t>** operation) override {
        return sim::not_simulated_result(method(L"BufferAllAsync"), operation);
    }
    HRESULT STDMETHODCALLTYPE ReadAsBufferAsync(
        rt::IAsyncOperationWithProgress<rt::IBuffer, std::uint64_t>** operation) override {
        return sim::not_simulated_result(method(L"ReadAsBufferAsync"), operation);
    }
    HRESULT STDMETHODCALLTYPE ReadAsInputStreamAsync(
        rt::IAsyncOperationWithProgress<rt::IInputStream, std::uint64_t>** operation) override {
        return sim::not_simulated_result(method(L"ReadAsInputStreamAsync"), operation);
    }
    HRESULT STDMETHODCALLTYPE WriteToStreamAsync(
        rt::IOutputStream*, rt::IAsyncOperationWithProgress<std::uint64_t, std::uint64_t>** operation) override {
        return sim::not_simulated_result(method(L"WriteToStreamAsync"), operation);
    }

    HRESULT STDMETHODCALLTYPE ReadAsStringAsync(rt::HttpStringOperation** operation) override {
        if (!operation) return E_POINTER;
        *operation = nullptr;
        const std::wstring name = method(L"ReadAsStringAsync");
        return this->run_call(name, L"", [&] {
            const std::vector<std::uint64_t> progress{body_.bytes.size()};
            *operation = sim::start_async<rt::HttpStringOperation>(
                             sim::plan_for(name),
                             [body = body_] { return rt::hstring(sim::decoded_text(body.bytes, body.contentType)); },
                             progress)
                             .detach();
        });
    }

    HRESULT STDMETHODCALLTYPE TryComputeLength(UINT64* length, boolean* succeeded) override {
        if (!length || !succeeded) return E_POINTER;
        return this->run_call(method(L"TryComputeLength"), L"", [&] {
            *length = body_.bytes.size();
            *succeeded = 1;
        });
    }

    HRESULT STDMETHODCALLTYPE Close() override { return this->run_call(method(L"Close"), L"", [] {}); }

    const sim::http_body& STDMETHODCALLTYPE body() override { return body_; }

private:
    static std::wstring method(std::wstring_view name) {
        return std::wstring(Names::short_name) + L"." + std::wstring(name);
    }

    const sim::http_body body_;
};

class string_content_factory final
    : public sim::activation_factory<string_content_factory, rt::IHttpStringContentFactory> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::HttpStringContent;

    HRESULT STDMETHODCALLTYPE CreateFromString(HSTRING text, rt::IHttpContent** value) override {
        return create(L"HttpStringContent.CreateFromString", text, rt::UnicodeEncoding::Utf8, L"text/plain", value);
    }
    HRESULT STDMETHODCALLTYPE CreateFromStringWithEncoding(HSTRING text, rt::UnicodeEncoding encoding,
                                                           rt::IHttpContent** value) override {
        return create(L"HttpStringContent.CreateFromStringWithEncoding", text, encoding, L"text/plain", value);
    }
    HRESULT STDMETHODCALLTYPE CreateFromStringWithEncodingAndMediaType(HSTRING text, rt::UnicodeEncoding encoding,
                                                                       HSTRING mediaType,
                                                                       rt::IHttpContent** value) override {
        return create(L"HttpStringContent.CreateFromStringWithEncodingAndMediaType", text, encoding,
                      rt::view_of(mediaType), value);
    }

private:
    HRESULT create(std::wstring_view method, HSTRING text, rt::UnicodeEncoding encoding,
                          std::wstring_view mediaType, rt::IHttpContent** value) {
        if (!value) return E_POINTER;
        *value = nullptr;
        const std::wstring arguments = std::wstring(rt::view_of(text)) + L", " +
                                       std::to_wstring(static_cast<int>(encoding)) + L", " + std::wstring(mediaType);
        return run_call(method, arguments, [&]() -> HRESULT {
            if (mediaType.empty()) return E_INVALIDARG;
            sim::http_body body{sim::encoded_text(rt::view_of(text), encoding),
                                sim::utf8_of(mediaType) + "; charset=" + sim::charset_name(encoding)};
            *value = sim::make<content<string_content_names>>(std::move(body)).detach();
            return S_OK;
        });
    }
};

const sim::class_registration registration{rt::class_name::HttpStringContent,
                                           &sim::new_factory<string_content_factory>};

}  // namespace

namespace sim {

rt::com_ptr<rt::IHttpContent> make_received_content(http_body body) {
    return make<content<stream_content_names>>(std::move(body));
}

std::optional<http_body> body_of(rt::IHttpContent* content) {
    const auto simulated = rt::com_ptr<rt::IHttpContent>::copy_from(content).TryAs<ISimHttpBody>();
    if (!simulated) return std::nullopt;
    return simulated->body();
}

}  // namespace sim
