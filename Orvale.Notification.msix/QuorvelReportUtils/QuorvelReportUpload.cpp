#include "QuorvelReportUpload.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include "Activation.h"
#include "ClassNames.h"
#include "Foundation.h"
#include "HString.h"
#include "HostLog.h"
#include "OrvaleBase.h"
#include "QuorvelReportClaim.h"
#include "QuorvelReportCrypto.h"
#include "QuorvelReportFiles.h"
#include "RuntimeError.h"
#include "Storage.h"
#include "Threading.h"
#include "WebHttp.h"

namespace quorvel {

namespace {

constexpr wchar_t kPostFunction[] = L"quorvel::HttpPostReportAsync";
constexpr wchar_t kUploadFunction[] = L"quorvel::UploadClaimedFileAsync";
// 10 seconds in 100-ns units.
constexpr rt::TimeSpan kPostTimeout{100000000};
constexpr std::int32_t kHttpOk = 200;

rt::com_ptr<rt::IHttpClient> CreateHttpClient() {
    const auto filter = rt::activate_instance<rt::IHttpBaseProtocolFilter>(rt::class_name::HttpBaseProtocolFilter);
    rt::com_ptr<rt::IHttpCacheControl> cacheControl;
    rt::check(filter->get_CacheControl(cacheControl.put()));
    rt::check(cacheControl->put_ReadBehavior(rt::HttpCacheReadBehavior::NoCache));
    const auto factory = rt::get_activation_factory<rt::IHttpClientFactory>(rt::class_name::HttpClient);
    rt::com_ptr<rt::IHttpClient> client;
    rt::check(factory->Create(filter.As<rt::IHttpFilter>().get(), client.put()));
    return client;
}

rt::com_ptr<rt::IHttpContent> CreateTextContent(const std::string& utf8Body) {
    const auto factory = rt::get_activation_factory<rt::IHttpStringContentFactory>(rt::class_name::HttpStringContent);
    rt::com_ptr<rt::IHttpContent> content;
    rt::check(factory->CreateFromStringWithEncodingAndMediaType(rt::hstring(base::Utf8ToWide(utf8Body)).get(),
                                                                rt::UnicodeEncoding::Utf8,
                                                                rt::hstring(L"text/plain").get(), content.put()));
    return content;
}

rt::com_ptr<rt::IUriRuntimeClass> CreateUri(const std::wstring& text) {
    const auto factory = rt::get_activation_factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri);
    rt::com_ptr<rt::IUriRuntimeClass> uri;
    rt::check(factory->CreateUri(rt::hstring(text).get(), uri.put()));
    return uri;
}

// A one-shot timer that cancels `operation` unless it is itself cancelled
// first; the owner cancels it on every way out.
class CancelTimer {
public:
    CancelTimer(const rt::com_ptr<rt::IAsyncInfo>& operation, rt::TimeSpan delay) {
        const auto statics = rt::get_activation_factory<rt::IThreadPoolTimerStatics>(rt::class_name::ThreadPoolTimer);
        const auto handler = rt::make_delegate<rt::TimerElapsedHandler>(
            [operation](rt::IThreadPoolTimer*) { return operation->Cancel(); });
        rt::check(statics->CreateTimer(handler.get(), delay, timer_.put()));
    }
    CancelTimer(const CancelTimer&) = delete;
    CancelTimer& operator=(const CancelTimer&) = delete;
    ~CancelTimer() {
        if (timer_) timer_->Cancel();
    }

private:
    rt::com_ptr<rt::IThreadPoolTimer> timer_;
};

rt::async_operation<HSTRING> ReadContentText(rt::com_ptr<rt::IHttpResponseMessage> response) {
    rt::com_ptr<rt::IHttpContent> content;
    rt::check(response->get_Content(content.put()));
    rt::com_ptr<rt::HttpStringOperation> reading;
    rt::check(content->ReadAsStringAsync(reading.put()));
    co_return co_await reading;
}

rt::com_ptr<rt::IAsyncOperation<rt::StorageFile>> StartGetFile(const std::wstring& path) {
    const auto statics = rt::get_activation_factory<rt::IStorageFileStatics>(rt::class_name::StorageFile);
    rt::com_ptr<rt::IAsyncOperation<rt::StorageFile>> operation;
    rt::check(statics->GetFileFromPathAsync(rt::hstring(path).get(), operation.put()));
    return operation;
}

rt::com_ptr<rt::IAsyncOperation<rt::IBuffer>> StartReadBuffer(rt::IStorageFile* file) {
    const auto statics = rt::get_activation_factory<rt::IFileIOStatics>(rt::class_name::FileIO);
    rt::com_ptr<rt::IAsyncOperation<rt::IBuffer>> operation;
    rt::check(statics->ReadBufferAsync(file, operation.put()));
    return operation;
}

// "StorageFile.DeleteAsync Method": the overload without options uses the
// default option, and "StorageDeleteOption Enum": by default an item outside
// the ApplicationData locations (the report folder is not one) goes where File
// Explorer would put it, the user's Recycle Bin on a local disk.
rt::com_ptr<rt::IAsyncAction> StartDelete(const rt::com_ptr<rt::IStorageFile>& file) {
    rt::com_ptr<rt::IAsyncAction> operation;
    rt::check(file.As<rt::IStorageItem>()->DeleteAsync(rt::StorageDeleteOption::PermanentDelete, operation.put()));
    return operation;
}

std::vector<std::uint8_t> BytesOf(const rt::com_ptr<rt::IBuffer>& buffer) {
    UINT32 length = 0;
    rt::check(buffer->get_Length(&length));
    if (length == 0) return {};
    BYTE* bytes = nullptr;
    rt::check(buffer.As<rt::IBufferByteAccess>()->Buffer(&bytes));
    if (!bytes) throw rt::hresult_error(E_POINTER);
    return std::vector<std::uint8_t>(bytes, bytes + length);
}

// Queued files in path order, which is oldest first: their names are
// nanosecond time stamps of equal length.
std::vector<std::wstring> QueuedFilesIn(const std::wstring& folder) {
    std::vector<std::wstring> queued;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (!entry.is_regular_file()) continue;
        const std::wstring name = entry.path().filename().wstring();
        const std::size_t dot = name.rfind(L'.');
        if (dot != std::wstring::npos && name.compare(dot, std::wstring::npos, L".json") == 0) {
            queued.push_back(entry.path().wstring());
        }
    }
    std::sort(queued.begin(), queued.end());
    return queued;
}

}  // namespace

void FillLateDeviceId(std::string& body, const std::string& aid) {
    static constexpr char kEmptyAid[] = "\"aid\":\"\"";
    const std::size_t at = body.find(kEmptyAid);
    if (at == std::string::npos) return;
    body.replace(at, sizeof(kEmptyAid) - 1, "\"aid\":\"" + aid + "\"");
}

rt::async_operation<bool> HttpPostReportAsync(std::wstring url, std::string body, std::string trace) {
    const std::wstring traceText = host_log::Wide(trace);
    try {
        const auto client = CreateHttpClient();
        const auto content = CreateTextContent(body);
        HOST_LOG_INFO(kPostFunction, L"[Quorvel] POST start: {}", traceText);
        rt::com_ptr<rt::HttpResponseOperation> posting;
        rt::check(client->PostAsync(CreateUri(url).get(), content.get(), posting.put()));
        rt::com_ptr<rt::IHttpResponseMessage> response;
        {
            const CancelTimer timeout(posting.As<rt::IAsyncInfo>(), kPostTimeout);
            response = co_await posting;
        }
        rt::HttpStatusCode status{};
        rt::check(response->get_StatusCode(&status));
        if (static_cast<std::int32_t>(status) != kHttpOk) {
            HOST_LOG_ERROR(kPostFunction, L"[Quorvel] POST failed, status={} ({})", static_cast<std::int32_t>(status),
                           traceText);
            co_return false;
        }
        // Delivered is delivered, whether or not the answer can be read.
        std::wstring answer;
        bool answerRead = false;
        try {
            answer = (co_await ReadContentText(response)).str();
            answerRead = true;
        } catch (...) {
        }
        if (answerRead) {
            HOST_LOG_INFO(kPostFunction, L"[Quorvel] POST OK: {}, response: {}", traceText, answer);
        } else {
            HOST_LOG_INFO(kPostFunction, L"[Quorvel] POST OK: {}", traceText);
        }
        co_return true;
    } catch (const rt::hresult_error& error) {
        if (error.code() == rt::hresults::canceled) {
            HOST_LOG_WARN(kPostFunction, L"[Quorvel] POST timeout (10s): {}", traceText);
        } else {
            HOST_LOG_ERROR(kPostFunction, L"[Quorvel] POST exception: hr=0x{:08X}, {} ({})", host_log::Hex(error.code()),
                           error.message(), traceText);
        }
    } catch (...) {
        HOST_LOG_ERROR(kPostFunction, L"[Quorvel] POST unknown exception");
    }
    co_return false;
}

rt::async_operation<bool> UploadClaimedFileAsync(std::wstring claimedPath, std::wstring url, std::string aid,
                                                 std::string trace) {
    const std::wstring name = FileNameOf(claimedPath);
    const std::wstring traceText = host_log::Wide(trace);
    try {
        const rt::com_ptr<rt::IStorageFile> file = co_await StartGetFile(claimedPath);
        const std::vector<std::uint8_t> bytes = BytesOf(co_await StartReadBuffer(file.get()));
        if (bytes.empty()) {
            co_await StartDelete(file);
            HOST_LOG_WARN(kUploadFunction, L"[Quorvel] claimed file empty, deleting: {} trace={}", name, traceText);
            co_return true;
        }
        std::string body = DecryptReport(bytes);
        if (body.empty()) {
            co_await StartDelete(file);
            HOST_LOG_WARN(kUploadFunction, L"[Quorvel] claimed file decrypt failed, deleting: {} trace={}", name,
                          traceText);
            co_return true;
        }
        FillLateDeviceId(body, aid);
        if (!co_await HttpPostReportAsync(url, std::move(body), trace)) co_return false;
        co_await StartDelete(file);
        HOST_LOG_INFO(kUploadFunction, L"[Quorvel] upload OK, deleted: {} trace={}", name, traceText);
        co_return true;
    } catch (const rt::hresult_error& error) {
        HOST_LOG_ERROR(kUploadFunction, L"[Quorvel] Upload claimed file exception: file={} hr=0x{:08X}, {}", name,
                       host_log::Hex(error.code()), error.message());
    } catch (...) {
        HOST_LOG_ERROR(kUploadFunction, L"[Quorvel] Upload claimed file unknown exception: file={}", name);
    }
    co_return false;
}

void UploadPendingReports(const std::wstring& folder, const std::wstring& url, const std::string& aid) {
    try {
        std::error_code error;
        if (!std::filesystem::exists(folder, error)) return;
        RecoverStaleClaimedFiles(folder);
        for (const std::wstring& path : QueuedFilesIn(folder)) {
            if (!ProcessReportFile(path, url, aid)) break;
        }
    } catch (...) {
    }
}

}  // namespace quorvel
