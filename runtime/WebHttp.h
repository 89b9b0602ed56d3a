#pragma once
// Windows.Web.Http and Windows.Web.Http.Filters: the HTTP client, string
// content, responses and the base protocol filter with its cache control.
// HttpClient and the filter also implement IClosable; a filter handed to
// IHttpClientFactory::Create is its IHttpFilter, reached through QueryInterface.
#include <windows.h>
#include <hstring.h>
#include <inspectable.h>

#include <cstdint>

#include "Collections.h"
#include "Foundation.h"
#include "Guid.h"
#include "Signature.h"
#include "Storage.h"

namespace rt {

enum class HttpStatusCode : std::int32_t {
    None = 0,
    Continue = 100,
    SwitchingProtocols = 101,
    Processing = 102,
    Ok = 200,
    Created = 201,
    Accepted = 202,
    NonAuthoritativeInformation = 203,
    NoContent = 204,
    ResetContent = 205,
    PartialContent = 206,
    MultiStatus = 207,
    AlreadyReported = 208,
    IMUsed = 226,
    MultipleChoices = 300,
    MovedPermanently = 301,
    Found = 302,
    SeeOther = 303,
    NotModified = 304,
    UseProxy = 305,
    TemporaryRedirect = 307,
    PermanentRedirect = 308,
    BadRequest = 400,
    Unauthorized = 401,
    PaymentRequired = 402,
    Forbidden = 403,
    NotFound = 404,
    MethodNotAllowed = 405,
    NotAcceptable = 406,
    ProxyAuthenticationRequired = 407,
    RequestTimeout = 408,
    Conflict = 409,
    Gone = 410,
    LengthRequired = 411,
    PreconditionFailed = 412,
    RequestEntityTooLarge = 413,
    RequestUriTooLong = 414,
    UnsupportedMediaType = 415,
    RequestedRangeNotSatisfiable = 416,
    ExpectationFailed = 417,
    UnprocessableEntity = 422,
    Locked = 423,
    FailedDependency = 424,
    UpgradeRequired = 426,
    PreconditionRequired = 428,
    TooManyRequests = 429,
    RequestHeaderFieldsTooLarge = 431,
    InternalServerError = 500,
    NotImplemented = 501,
    BadGateway = 502,
    ServiceUnavailable = 503,
    GatewayTimeout = 504,
    HttpVersionNotSupported = 505,
    VariantAlsoNegotiates = 506,
    InsufficientStorage = 507,
    LoopDetected = 508,
    NotExtended = 510,
    NetworkAuthenticationRequired = 511,
};
template <> struct signature<HttpStatusCode> : enum_signature<"Windows.Web.Http.HttpStatusCode", HttpStatusCode> {};

enum class HttpProgressStage : std::int32_t {
    None = 0,
    DetectingProxy = 10,
    ResolvingName = 20,
    ConnectingToServer = 30,
    NegotiatingSsl = 40,
    SendingHeaders = 50,
    SendingContent = 60,
    WaitingForResponse = 70,
    ReceivingHeaders = 80,
    ReceivingContent = 90,
};
template <>
struct signature<HttpProgressStage> : enum_signature<"Windows.Web.Http.HttpProgressStage", HttpProgressStage> {};

// 48 bytes on x64; the two totals may be null.
struct HttpProgress {
    HttpProgressStage Stage;
    std::uint64_t BytesSent;
    IReference<std::uint64_t>* TotalBytesToSend;
    std::uint64_t BytesReceived;
    IReference<std::uint64_t>* TotalBytesToReceive;
    std::uint32_t Retries;
};
template <>
struct signature<HttpProgress>
    : struct_signature<"Windows.Web.Http.HttpProgress", HttpProgressStage, std::uint64_t, IReference<std::uint64_t>,
                       std::uint64_t, IReference<std::uint64_t>, std::uint32_t> {};

enum class HttpCompletionOption : std::int32_t { ResponseContentRead = 0, ResponseHeadersRead = 1 };
template <>
struct signature<HttpCompletionOption> : enum_signature<"Windows.Web.Http.HttpCompletionOption", HttpCompletionOption> {};

enum class HttpResponseMessageSource : std::int32_t { None = 0, Cache = 1, Network = 2 };
template <>
struct signature<HttpResponseMessageSource>
    : enum_signature<"Windows.Web.Http.HttpResponseMessageSource", HttpResponseMessageSource> {};

enum class HttpVersion : std::int32_t { None = 0, Http10 = 1, Http11 = 2, Http20 = 3 };
template <> struct signature<HttpVersion> : enum_signature<"Windows.Web.Http.HttpVersion", HttpVersion> {};

// Windows.Web.Http.Filters.
enum class HttpCacheReadBehavior : std::int32_t { Default = 0, MostRecent = 1, OnlyFromCache = 2, NoCache = 3 };
template <>
struct signature<HttpCacheReadBehavior>
    : enum_signature<"Windows.Web.Http.Filters.HttpCacheReadBehavior", HttpCacheReadBehavior> {};

enum class HttpCacheWriteBehavior : std::int32_t { Default = 0, NoCache = 1 };
template <>
struct signature<HttpCacheWriteBehavior>
    : enum_signature<"Windows.Web.Http.Filters.HttpCacheWriteBehavior", HttpCacheWriteBehavior> {};

// Only passed through here; nothing calls into them.
struct IInputStream;
struct IOutputStream;
struct IHttpRequestMessage;
struct IHttpRequestHeaderCollection;
struct IHttpContentHeaderCollection;
struct IHttpResponseHeaderCollection;
struct IHttpCookieManager;
struct ICertificate;
struct IPasswordCredential;
enum class ChainValidationResult : std::int32_t;

// Not exclusive: the default interface of every content class.
struct IHttpContent : IInspectable {
    static constexpr GUID iid = guid("6b14a441-fba7-4bd2-af0a-839de7c295da");
    virtual HRESULT STDMETHODCALLTYPE get_Headers(IHttpContentHeaderCollection** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE BufferAllAsync(
        IAsyncOperationWithProgress<std::uint64_t, std::uint64_t>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReadAsBufferAsync(IAsyncOperationWithProgress<IBuffer, std::uint64_t>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReadAsInputStreamAsync(
        IAsyncOperationWithProgress<IInputStream, std::uint64_t>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReadAsStringAsync(IAsyncOperationWithProgress<HSTRING, std::uint64_t>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE TryComputeLength(UINT64* length, boolean* succeeded) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteToStreamAsync(
        IOutputStream* outputStream, IAsyncOperationWithProgress<std::uint64_t, std::uint64_t>** operation) = 0;
};

using HttpStringOperation = IAsyncOperationWithProgress<HSTRING, std::uint64_t>;

struct HttpStringContent : runtime_class<"Windows.Web.Http.HttpStringContent", IHttpContent> {};

// Every result is the new content's IHttpContent.
struct IHttpStringContentFactory : IInspectable {
    static constexpr GUID iid = guid("46649d5b-2e93-48eb-8e61-19677878e57f");
    virtual HRESULT STDMETHODCALLTYPE CreateFromString(HSTRING content, IHttpContent** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateFromStringWithEncoding(HSTRING content, UnicodeEncoding encoding,
                                                                   IHttpContent** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateFromStringWithEncodingAndMediaType(HSTRING content,
                                                                               UnicodeEncoding encoding,
                                                                               HSTRING mediaType,
                                                                               IHttpContent** value) = 0;
};

struct IHttpResponseMessage : IInspectable {
    static constexpr GUID iid = guid("fee200fb-8664-44e0-95d9-42696199bffc");
    virtual HRESULT STDMETHODCALLTYPE get_Content(IHttpContent** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Content(IHttpContent* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Headers(IHttpResponseHeaderCollection** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_IsSuccessStatusCode(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ReasonPhrase(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ReasonPhrase(HSTRING value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_RequestMessage(IHttpRequestMessage** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_RequestMessage(IHttpRequestMessage* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Source(HttpResponseMessageSource* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Source(HttpResponseMessageSource value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_StatusCode(HttpStatusCode* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_StatusCode(HttpStatusCode value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Version(HttpVersion* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Version(HttpVersion value) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnsureSuccessStatusCode(IHttpResponseMessage** result) = 0;
};

struct HttpResponseMessage : runtime_class<"Windows.Web.Http.HttpResponseMessage", IHttpResponseMessage> {};

using HttpResponseOperation = IAsyncOperationWithProgress<HttpResponseMessage, HttpProgress>;

// Not exclusive: applications may write filters of their own.
struct IHttpFilter : IInspectable {
    static constexpr GUID iid = guid("a4cb6dd5-0902-439e-bfd7-e12552b165ce");
    virtual HRESULT STDMETHODCALLTYPE SendRequestAsync(IHttpRequestMessage* request,
                                                       HttpResponseOperation** operation) = 0;
};

struct IHttpCacheControl : IInspectable {
    static constexpr GUID iid = guid("c77e1cb4-3cea-4eb5-ac85-04e186e63ab7");
    virtual HRESULT STDMETHODCALLTYPE get_ReadBehavior(HttpCacheReadBehavior* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ReadBehavior(HttpCacheReadBehavior value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_WriteBehavior(HttpCacheWriteBehavior* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_WriteBehavior(HttpCacheWriteBehavior value) = 0;
};

struct IHttpBaseProtocolFilter : IInspectable {
    static constexpr GUID iid = guid("71c89b09-e131-4b54-a53c-eb43ff37e9bb");
    virtual HRESULT STDMETHODCALLTYPE get_AllowAutoRedirect(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_AllowAutoRedirect(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_AllowUI(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_AllowUI(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_AutomaticDecompression(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_AutomaticDecompression(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_CacheControl(IHttpCacheControl** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_CookieManager(IHttpCookieManager** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ClientCertificate(ICertificate** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ClientCertificate(ICertificate* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_IgnorableServerCertificateErrors(IVector<ChainValidationResult>** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_MaxConnectionsPerServer(UINT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_MaxConnectionsPerServer(UINT32 value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ProxyCredential(IPasswordCredential** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ProxyCredential(IPasswordCredential* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ServerCredential(IPasswordCredential** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ServerCredential(IPasswordCredential* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_UseProxy(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_UseProxy(boolean value) = 0;
};

struct HttpBaseProtocolFilter
    : runtime_class<"Windows.Web.Http.Filters.HttpBaseProtocolFilter", IHttpBaseProtocolFilter> {};

struct IHttpClient : IInspectable {
    static constexpr GUID iid = guid("7fda1151-3574-4880-a8ba-e6b1e0061f3d");
    virtual HRESULT STDMETHODCALLTYPE DeleteAsync(IUriRuntimeClass* uri, HttpResponseOperation** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAsync(IUriRuntimeClass* uri, HttpResponseOperation** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetWithOptionAsync(IUriRuntimeClass* uri, HttpCompletionOption completionOption,
                                                         HttpResponseOperation** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBufferAsync(IUriRuntimeClass* uri,
                                                     IAsyncOperationWithProgress<IBuffer, HttpProgress>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInputStreamAsync(
        IUriRuntimeClass* uri, IAsyncOperationWithProgress<IInputStream, HttpProgress>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStringAsync(IUriRuntimeClass* uri,
                                                     IAsyncOperationWithProgress<HSTRING, HttpProgress>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE PostAsync(IUriRuntimeClass* uri, IHttpContent* content,
                                                HttpResponseOperation** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE PutAsync(IUriRuntimeClass* uri, IHttpContent* content,
                                               HttpResponseOperation** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE SendRequestAsync(IHttpRequestMessage* request,
                                                       HttpResponseOperation** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE SendRequestWithOptionAsync(IHttpRequestMessage* request,
                                                                 HttpCompletionOption completionOption,
                                                                 HttpResponseOperation** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_DefaultRequestHeaders(IHttpRequestHeaderCollection** value) = 0;
};

struct HttpClient : runtime_class<"Windows.Web.Http.HttpClient", IHttpClient> {};

struct IHttpClientFactory : IInspectable {
    static constexpr GUID iid = guid("c30c4eca-e3fa-4f99-afb4-63cc65009462");
    virtual HRESULT STDMETHODCALLTYPE Create(IHttpFilter* filter, IHttpClient** client) = 0;
};

}  // namespace rt
