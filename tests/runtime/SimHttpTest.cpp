// The simulated HTTP client reached through activation, against a one-request
// server on 127.0.0.1 that answers, closes or holds the connection as told.
#include <gtest/gtest.h>

#include <winsock2.h>
#include <ws2tcpip.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "Activation.h"
#include "AsyncWait.h"
#include "ClassNames.h"
#include "ComPtr.h"
#include "Delegate.h"
#include "Foundation.h"
#include "HString.h"
#include "SimRuntimeControl.h"
#include "WebHttp.h"

namespace {

constexpr HRESULT kCancelled = HRESULT_FROM_WIN32(ERROR_CANCELLED);
constexpr std::uint32_t kPatienceMs = 5000;

class winsock_session {
public:
    winsock_session() {
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
    }
    ~winsock_session() { WSACleanup(); }
};

// Accepts one connection, reads one whole request, then ends as told.
class one_request_server {
public:
    enum class ending { answer, close_silently, hold_open };

    explicit one_request_server(ending how, std::string reply = {}) : how_(how), reply_(std::move(reply)) {
        listener_ = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof(address));
        listen(listener_, 1);
        int length = sizeof(address);
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { serve(); });
    }
    ~one_request_server() {
        stopping_ = true;
        thread_.join();
        closesocket(listener_);
    }

    unsigned short port() const { return port_; }

    // The request's bytes; empty when none was complete in time.
    std::string request() {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, std::chrono::milliseconds(kPatienceMs), [&] { return requestRead_; });
        return request_;
    }

    bool client_closed_within(std::chrono::milliseconds patience) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, patience, [&] { return clientClosed_; });
    }

private:
    // False once the server stops.
    bool wait_readable(SOCKET socket) const {
        while (!stopping_) {
            fd_set readable;
            FD_ZERO(&readable);
            FD_SET(socket, &readable);
            timeval tick{0, 20000};
            if (select(0, &readable, nullptr, nullptr, &tick) > 0) return true;
        }
        return false;
    }

    static bool whole_request(const std::string& bytes) {
        const std::size_t head = bytes.find("\r\n\r\n");
        if (head == std::string::npos) return false;
        const std::size_t length = bytes.find("Content-Length: ");
        const std::size_t bodyLength = length < head ? std::stoul(bytes.substr(length + 16)) : 0;
        return bytes.size() >= head + 4 + bodyLength;
    }

    void serve() {
        if (!wait_readable(listener_)) return;
        const SOCKET client = accept(listener_, nullptr, nullptr);
        std::string received;
        char buffer[4096];
        while (!whole_request(received) && wait_readable(client)) {
            const int count = recv(client, buffer, sizeof(buffer), 0);
            if (count <= 0) break;
            received.append(buffer, count);
        }
        notify([&] {
            request_ = received;
            requestRead_ = true;
        });
        if (how_ == ending::answer) send(client, reply_.data(), static_cast<int>(reply_.size()), 0);
        if (how_ == ending::hold_open) {
            while (wait_readable(client) && recv(client, buffer, sizeof(buffer), 0) > 0) {
            }
            if (!stopping_) notify([&] { clientClosed_ = true; });
        }
        closesocket(client);
    }

    template <class Change>
    void notify(Change&& change) {
        {
            std::lock_guard lock(mutex_);
            change();
        }
        changed_.notify_all();
    }

    winsock_session winsock_;
    const ending how_;
    const std::string reply_;
    SOCKET listener_;
    unsigned short port_ = 0;
    std::atomic<bool> stopping_{false};
    std::mutex mutex_;
    std::condition_variable changed_;
    std::string request_;
    bool requestRead_ = false;
    bool clientClosed_ = false;
    std::thread thread_;
};

// A loopback port nothing listens on.
unsigned short refusing_port() {
    one_request_server closed(one_request_server::ending::close_silently);
    return closed.port();  // the listener closes with the server
}

void map_collector_to(unsigned short port) {
    const std::wstring hosts = L"other.invalid=127.0.0.1:9;collector.example.invalid=127.0.0.1:" + std::to_wstring(port);
    SetEnvironmentVariableW(L"SIMRUNTIME_HTTP_HOSTS", hosts.c_str());
}

rt::com_ptr<rt::IHttpClient> create_client() {
    const auto filter = rt::activate_instance<rt::IHttpBaseProtocolFilter>(rt::class_name::HttpBaseProtocolFilter);
    rt::com_ptr<rt::IHttpCacheControl> cacheControl;
    rt::check(filter->get_CacheControl(cacheControl.put()));
    rt::check(cacheControl->put_ReadBehavior(rt::HttpCacheReadBehavior::NoCache));
    const auto factory = rt::get_activation_factory<rt::IHttpClientFactory>(rt::class_name::HttpClient);
    rt::com_ptr<rt::IHttpClient> client;
    rt::check(factory->Create(filter.As<rt::IHttpFilter>().get(), client.put()));
    return client;
}

rt::com_ptr<rt::HttpResponseOperation> post(const wchar_t* url, const wchar_t* text) {
    const auto contents = rt::get_activation_factory<rt::IHttpStringContentFactory>(rt::class_name::HttpStringContent);
    rt::com_ptr<rt::IHttpContent> content;
    rt::check(contents->CreateFromStringWithEncodingAndMediaType(rt::hstring(text).get(), rt::UnicodeEncoding::Utf8,
                                                                 rt::hstring(L"text/plain").get(), content.put()));
    const auto uris = rt::get_activation_factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri);
    rt::com_ptr<rt::IUriRuntimeClass> uri;
    rt::check(uris->CreateUri(rt::hstring(url).get(), uri.put()));
    rt::com_ptr<rt::HttpResponseOperation> operation;
    rt::check(create_client()->PostAsync(uri.get(), content.get(), operation.put()));
    return operation;
}

HRESULT error_code_of(const rt::com_ptr<rt::HttpResponseOperation>& operation) {
    HRESULT code = S_OK;
    rt::check(operation.As<rt::IAsyncInfo>()->get_ErrorCode(&code));
    return code;
}

struct received_response {
    rt::HttpStatusCode status = rt::HttpStatusCode::None;
    std::wstring text;
};

// Of an operation that completed.
received_response response_of(const rt::com_ptr<rt::HttpResponseOperation>& operation) {
    rt::com_ptr<rt::IHttpResponseMessage> message;
    rt::check(operation->GetResults(message.put()));
    received_response response;
    rt::check(message->get_StatusCode(&response.status));
    rt::com_ptr<rt::IHttpContent> content;
    rt::check(message->get_Content(content.put()));
    rt::com_ptr<rt::HttpStringOperation> reading;
    rt::check(content->ReadAsStringAsync(reading.put()));
    response.text = rt::wait_for_result(reading.get()).str();
    return response;
}

class SimHttp : public ::testing::Test {
protected:
    void SetUp() override { sim_control::reset(); }
    void TearDown() override { SetEnvironmentVariableW(L"SIMRUNTIME_HTTP_HOSTS", nullptr); }
};

}  // namespace

TEST_F(SimHttp, PostSendsTheRequestToTheMappedHostAndCompletesOnAnotherThread) {
    one_request_server server(one_request_server::ending::answer,
                              "HTTP/1.1 200 OK\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Length: 11\r\n\r\n"
                              "accepted \xC3\xBC");
    map_collector_to(server.port());
    sim_control::set_async_delay_ms(200);  // the handler is set before the end
    const auto operation = post(L"https://collector.example.invalid/collect?v=2", L"report=1&\u00fc");

    const auto completedOn = std::make_shared<std::atomic<DWORD>>(0);
    rt::check(operation->put_Completed(
        rt::make_delegate<rt::HttpResponseOperation::completed_handler>(
            [completedOn](rt::HttpResponseOperation*, rt::AsyncStatus) { *completedOn = GetCurrentThreadId(); })
            .get()));
    for (int waited = 0; *completedOn == 0 && waited < 5000; waited += 10) Sleep(10);
    EXPECT_NE(GetCurrentThreadId(), completedOn->load());
    const received_response response = response_of(operation);
    EXPECT_EQ(rt::HttpStatusCode::Ok, response.status);
    EXPECT_EQ(L"accepted \u00fc", response.text);

    EXPECT_EQ("POST /collect?v=2 HTTP/1.1\r\n"
              "Host: collector.example.invalid\r\n"
              "Content-Type: text/plain; charset=UTF-8\r\n"
              "Content-Length: 11\r\n"
              "Connection: close\r\n\r\n"
              "report=1&\xC3\xBC",
              server.request());
    EXPECT_EQ(1u, sim_control::call_count(L"HttpCacheControl.put_ReadBehavior"));
    const auto log = sim_control::call_log();
    EXPECT_NE(log.end(), std::find(log.begin(), log.end(), L"HttpCacheControl.put_ReadBehavior(3)"));
}

TEST_F(SimHttp, StatusAndBodyArriveAsSentWhateverTheStatus) {
    struct exchange {
        const char* reply;
        rt::HttpStatusCode status;
        const wchar_t* text;
    };
    for (const exchange& expected : {
             exchange{"HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok", rt::HttpStatusCode::Ok, L"ok"},
             exchange{"HTTP/1.1 204 No Content\r\n\r\n", rt::HttpStatusCode::NoContent, L""},
             // Without a length the body runs to the close.
             exchange{"HTTP/1.0 500 Internal Server Error\r\ncontent-type: text/plain\r\n\r\nbroken",
                      rt::HttpStatusCode::InternalServerError, L"broken"},
         }) {
        one_request_server server(one_request_server::ending::answer, expected.reply);
        map_collector_to(server.port());
        const auto operation = post(L"http://collector.example.invalid:8080/", L"x");
        ASSERT_EQ(rt::AsyncStatus::Completed, rt::wait_for_status(operation.get(), kPatienceMs)) << expected.reply;
        const received_response response = response_of(operation);
        EXPECT_EQ(expected.status, response.status) << expected.reply;
        EXPECT_EQ(expected.text, response.text) << expected.reply;
        EXPECT_EQ(0u, server.request().find("POST / HTTP/1.1\r\nHost: collector.example.invalid:8080\r\n"));
    }
}

TEST_F(SimHttp, FailedExchangesEndAsErrorWithTheCodesWindowsGives) {
    struct failure {
        one_request_server::ending how;
        const char* reply;
        HRESULT code;
    };
    for (const failure& expected : {
             failure{one_request_server::ending::close_silently, "", static_cast<HRESULT>(0x80072EFE)},
             failure{one_request_server::ending::answer, "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nshort",
                     static_cast<HRESULT>(0x80072EFE)},
             failure{one_request_server::ending::answer, "hello there\r\n\r\n", static_cast<HRESULT>(0x80072F78)},
         }) {
        one_request_server server(expected.how, expected.reply);
        map_collector_to(server.port());
        const auto operation = post(L"https://collector.example.invalid/collect", L"x");
        EXPECT_EQ(rt::AsyncStatus::Error, rt::wait_for_status(operation.get(), kPatienceMs)) << expected.reply;
        EXPECT_EQ(expected.code, error_code_of(operation)) << expected.reply;
        rt::com_ptr<rt::IHttpResponseMessage> message;
        EXPECT_EQ(expected.code, operation->GetResults(message.put()));
    }

    // Unmapped hosts are resolved and reached with the URL's own port.
    SetEnvironmentVariableW(L"SIMRUNTIME_HTTP_HOSTS", nullptr);
    const std::wstring refusingUrl = L"http://127.0.0.1:" + std::to_wstring(refusing_port()) + L"/collect";
    const auto refused = post(refusingUrl.c_str(), L"x");
    EXPECT_EQ(rt::AsyncStatus::Error, rt::wait_for_status(refused.get(), kPatienceMs));
    EXPECT_EQ(static_cast<HRESULT>(0x80072EFD), error_code_of(refused));
    const auto unresolved = post(L"https://collector.example.invalid/collect", L"x");
    EXPECT_EQ(rt::AsyncStatus::Error, rt::wait_for_status(unresolved.get(), kPatienceMs));
    EXPECT_EQ(static_cast<HRESULT>(0x80072EE7), error_code_of(unresolved));
}

TEST_F(SimHttp, CancelEndsAnUnansweredPostAtOnceAndClosesItsConnection) {
    one_request_server server(one_request_server::ending::hold_open);
    map_collector_to(server.port());
    const auto operation = post(L"https://collector.example.invalid/collect", L"x");
    ASSERT_FALSE(server.request().empty());

    rt::com_ptr<rt::IHttpResponseMessage> message;
    EXPECT_EQ(rt::hresults::illegal_method_call, operation->GetResults(message.put()));
    const auto endedAs = std::make_shared<std::atomic<rt::AsyncStatus>>(rt::AsyncStatus::Started);
    const auto handler = rt::make_delegate<rt::HttpResponseOperation::completed_handler>(
        [endedAs](rt::HttpResponseOperation*, rt::AsyncStatus status) { *endedAs = status; });
    rt::check(operation->put_Completed(handler.get()));
    EXPECT_EQ(rt::hresults::illegal_delegate_assignment, operation->put_Completed(handler.get()));

    rt::check(operation.As<rt::IAsyncInfo>()->Cancel());
    rt::AsyncStatus status = rt::AsyncStatus::Started;
    rt::check(operation.As<rt::IAsyncInfo>()->get_Status(&status));
    EXPECT_EQ(rt::AsyncStatus::Canceled, status);
    EXPECT_EQ(kCancelled, error_code_of(operation));
    EXPECT_TRUE(server.client_closed_within(std::chrono::milliseconds(2000)));
    for (int waited = 0; *endedAs == rt::AsyncStatus::Started && waited < 2000; waited += 10) Sleep(10);
    EXPECT_EQ(rt::AsyncStatus::Canceled, endedAs->load());
}
