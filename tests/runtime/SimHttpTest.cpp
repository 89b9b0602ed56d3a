// The simulated HTTP client reached through activation, against a loopback
// listener that the test serves by hand: what goes on the wire, and the codes
// Windows gives for what the report tests cannot provoke through the collector.
#include <gtest/gtest.h>

#include <winsock2.h>
#include <ws2tcpip.h>
#include <windows.h>

#include <string>

#include "Activation.h"
#include "AsyncWait.h"
#include "ClassNames.h"
#include "ComPtr.h"
#include "Foundation.h"
#include "HString.h"
#include "SimRuntimeControl.h"
#include "WebHttp.h"

namespace {

constexpr std::uint32_t kPatienceMs = 5000;

bool readable_within(SOCKET socket, long milliseconds) {
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(socket, &readable);
    timeval patience{milliseconds / 1000, (milliseconds % 1000) * 1000};
    return select(0, &readable, nullptr, nullptr, &patience) == 1;
}

// One connection on a free loopback port, which the collector's host name is
// mapped to. The test's own thread serves it: the client works on another one.
class loopback_listener {
public:
    loopback_listener() {
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
        listener_ = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof(address));
        listen(listener_, 1);
        int length = sizeof(address);
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
        const std::wstring hosts =
            L"other.invalid=127.0.0.1:9;collector.example.invalid=127.0.0.1:" + std::to_wstring(ntohs(address.sin_port));
        SetEnvironmentVariableW(L"SIMRUNTIME_HTTP_HOSTS", hosts.c_str());
    }
    loopback_listener(const loopback_listener&) = delete;
    loopback_listener& operator=(const loopback_listener&) = delete;
    ~loopback_listener() {
        SetEnvironmentVariableW(L"SIMRUNTIME_HTTP_HOSTS", nullptr);
        if (client_ != INVALID_SOCKET) closesocket(client_);
        closesocket(listener_);
        WSACleanup();
    }

    // The client's whole request; empty when none came in time.
    std::string request() {
        if (!readable_within(listener_, kPatienceMs)) return {};
        client_ = accept(listener_, nullptr, nullptr);
        std::string bytes;
        char buffer[4096];
        while (!whole_request(bytes) && readable_within(client_, kPatienceMs)) {
            const int count = recv(client_, buffer, sizeof(buffer), 0);
            if (count <= 0) break;
            bytes.append(buffer, count);
        }
        return bytes;
    }

    // Sends `bytes` and closes the connection.
    void answer(const std::string& bytes) {
        send(client_, bytes.data(), static_cast<int>(bytes.size()), 0);
        closesocket(client_);
        client_ = INVALID_SOCKET;
    }

    bool client_closed_within(long milliseconds) {
        char byte;
        return readable_within(client_, milliseconds) && recv(client_, &byte, 1, 0) <= 0;
    }

private:
    static bool whole_request(const std::string& bytes) {
        const std::size_t head = bytes.find("\r\n\r\n");
        if (head == std::string::npos) return false;
        const std::size_t length = bytes.find("Content-Length: ");
        const std::size_t bodyLength = length < head ? std::stoul(bytes.substr(length + 16)) : 0;
        return bytes.size() >= head + 4 + bodyLength;
    }

    SOCKET listener_;
    SOCKET client_ = INVALID_SOCKET;
};

// Posts as the module does: a fresh client over a filter that bypasses the cache.
rt::com_ptr<rt::HttpResponseOperation> post(const wchar_t* url, const wchar_t* text) {
    const auto filter = rt::activate_instance<rt::IHttpBaseProtocolFilter>(rt::class_name::HttpBaseProtocolFilter);
    rt::com_ptr<rt::IHttpCacheControl> cacheControl;
    rt::check(filter->get_CacheControl(cacheControl.put()));
    rt::check(cacheControl->put_ReadBehavior(rt::HttpCacheReadBehavior::NoCache));
    rt::com_ptr<rt::IHttpClient> client;
    rt::check(rt::get_activation_factory<rt::IHttpClientFactory>(rt::class_name::HttpClient)
                  ->Create(filter.As<rt::IHttpFilter>().get(), client.put()));

    const auto contents = rt::get_activation_factory<rt::IHttpStringContentFactory>(rt::class_name::HttpStringContent);
    rt::com_ptr<rt::IHttpContent> content;
    rt::check(contents->CreateFromStringWithEncodingAndMediaType(rt::hstring(text).get(), rt::UnicodeEncoding::Utf8,
                                                                 rt::hstring(L"text/plain").get(), content.put()));
    rt::com_ptr<rt::IUriRuntimeClass> uri;
    rt::check(rt::get_activation_factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri)
                  ->CreateUri(rt::hstring(url).get(), uri.put()));
    rt::com_ptr<rt::HttpResponseOperation> operation;
    rt::check(client->PostAsync(uri.get(), content.get(), operation.put()));
    return operation;
}

HRESULT error_code_of(const rt::com_ptr<rt::HttpResponseOperation>& operation) {
    HRESULT code = S_OK;
    rt::check(operation.As<rt::IAsyncInfo>()->get_ErrorCode(&code));
    return code;
}

class SimHttp : public ::testing::Test {
protected:
    void SetUp() override { sim_control::reset(); }
};

}  // namespace

TEST_F(SimHttp, PostWritesTheRequestAsWindowsDoesAndReadsTheAnswer) {
    loopback_listener server;
    const auto operation = post(L"https://collector.example.invalid/collect?v=2", L"report=1&\u00fc");
    EXPECT_EQ("POST /collect?v=2 HTTP/1.1\r\n"
              "Host: collector.example.invalid\r\n"
              "Content-Type: text/plain; charset=UTF-8\r\n"
              "Content-Length: 11\r\n"
              "Connection: close\r\n\r\n"
              "report=1&\xC3\xBC",
              server.request());
    server.answer("HTTP/1.1 200 OK\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Length: 11\r\n\r\n"
                  "accepted \xC3\xBC");

    ASSERT_EQ(rt::AsyncStatus::Completed, rt::wait_for_status(operation.get(), kPatienceMs));
    rt::com_ptr<rt::IHttpResponseMessage> message;
    rt::check(operation->GetResults(message.put()));
    rt::HttpStatusCode status = rt::HttpStatusCode::None;
    rt::check(message->get_StatusCode(&status));
    EXPECT_EQ(rt::HttpStatusCode::Ok, status);
    rt::com_ptr<rt::IHttpContent> content;
    rt::check(message->get_Content(content.put()));
    rt::com_ptr<rt::HttpStringOperation> reading;
    rt::check(content->ReadAsStringAsync(reading.put()));
    EXPECT_EQ(L"accepted \u00fc", rt::wait_for_result(reading.get()).str());
}

// The codes of a refused connection and of one closed without an answer are
// pinned by the report tests (ReportUpload.RefusedAndDroppedConnectionsRollBack).
TEST_F(SimHttp, FailedExchangesEndAsErrorWithTheCodesWindowsGives) {
    struct failure {
        const char* reply;
        HRESULT code;
    };
    for (const failure& expected : {
             failure{"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nshort", static_cast<HRESULT>(0x80072EFE)},
             failure{"hello there\r\n\r\n", static_cast<HRESULT>(0x80072F78)},
         }) {
        loopback_listener server;
        const auto operation = post(L"https://collector.example.invalid/collect", L"x");
        ASSERT_FALSE(server.request().empty()) << expected.reply;
        server.answer(expected.reply);
        EXPECT_EQ(rt::AsyncStatus::Error, rt::wait_for_status(operation.get(), kPatienceMs)) << expected.reply;
        EXPECT_EQ(expected.code, error_code_of(operation)) << expected.reply;
        rt::com_ptr<rt::IHttpResponseMessage> message;
        EXPECT_EQ(expected.code, operation->GetResults(message.put())) << expected.reply;
    }

    // No longer mapped: the host is looked up, and not found.
    const auto unresolved = post(L"https://collector.example.invalid/collect", L"x");
    EXPECT_EQ(rt::AsyncStatus::Error, rt::wait_for_status(unresolved.get(), kPatienceMs));
    EXPECT_EQ(static_cast<HRESULT>(0x80072EE7), error_code_of(unresolved));
}

// What Cancel does to any operation is the shared core's (SimAsyncOperation);
// a request's own part is letting go of its connection.
TEST_F(SimHttp, CancelEndsAnUnansweredPostAtOnceAndClosesItsConnection) {
    loopback_listener server;
    const auto operation = post(L"https://collector.example.invalid/collect", L"x");
    ASSERT_FALSE(server.request().empty());

    rt::check(operation.As<rt::IAsyncInfo>()->Cancel());
    rt::AsyncStatus status = rt::AsyncStatus::Started;
    rt::check(operation.As<rt::IAsyncInfo>()->get_Status(&status));
    EXPECT_EQ(rt::AsyncStatus::Canceled, status);
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_CANCELLED), error_code_of(operation));
    EXPECT_TRUE(server.client_closed_within(2000));
}
