#include "LoopbackCollector.h"

#include <winsock2.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "HttpRequest.h"
#include "LoopbackSocket.h"
#include "ReportBody.h"

namespace {

const char* ReasonPhrase(int status) {
    switch (status) {
        case 200: return "OK";
        case 204: return "No Content";
        case 301: return "Moved Permanently";
        case 302: return "Found";
        case 303: return "See Other";
        case 307: return "Temporary Redirect";
        case 308: return "Permanent Redirect";
        case 401: return "Unauthorized";
        case 400: return "Bad Request";
        case 404: return "Not Found";
        case 500: return "Internal Server Error";
        case 503: return "Service Unavailable";
        default: return "Status";
    }
}

// The text that goes back with a status: the problem of a rejected request
// helps whoever reads the client's log.
std::string Response(int status, const std::string& header, const std::string& text) {
    std::string response = "HTTP/1.1 " + std::to_string(status) + " " + ReasonPhrase(status) + "\r\n";
    if (!header.empty()) response += header + "\r\n";
    if (status != 204 && status != 304) {
        response += "Content-Type: text/plain; charset=utf-8\r\nContent-Length: " + std::to_string(text.size()) +
                    "\r\n";
    }
    response += "Connection: close\r\n\r\n";
    if (status != 204 && status != 304) response += text;
    return response;
}

std::string RequestProblem(const HttpRequest& request, InspectedReport& report) {
    if (request.method != "POST") return "method " + request.method + ", not POST";
    if (request.path != "/collect") return "path " + request.path + ", not /collect";
    if (!request.problem.empty()) return request.problem;
    report = InspectReportBody(request.body);
    return report.problem;
}

bool IsAccepted(const LoopbackCollector::ReceivedReport& report) {
    return report.answered && report.answer.status == 200 && report.problem.empty();
}

}  // namespace

LoopbackCollector::LoopbackCollector(unsigned short port)
    : winsock_(std::make_unique<WinsockSession>()),
      listener_(std::make_unique<UniqueSocket>(ListenOnLoopback(port))),
      port_(LocalPort(listener_->get())),
      acceptThread_([this] { AcceptConnections(); }) {}

LoopbackCollector::~LoopbackCollector() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    acceptThread_.join();
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return serving_ == 0; });
}

std::wstring LoopbackCollector::HostMapping(const std::wstring& hostName) const {
    return hostName + L"=127.0.0.1:" + std::to_wstring(port_);
}

void LoopbackCollector::AnswerWith(int status) {
    std::lock_guard lock(mutex_);
    defaultStatus_ = status;
}

void LoopbackCollector::QueueAnswer(Answer answer) {
    std::lock_guard lock(mutex_);
    queued_.push_back(std::move(answer));
}

void LoopbackCollector::AnswerOthersWith(int status) {
    std::lock_guard lock(mutex_);
    othersStatus_ = status;
}

void LoopbackCollector::WaitForAnswersInFlight(std::unique_lock<std::mutex>& lock) const {
    changed_.wait_for(lock, std::chrono::seconds(5), [this] { return answering_ == 0; });
}

std::vector<LoopbackCollector::ReceivedReport> LoopbackCollector::Received() const {
    std::unique_lock lock(mutex_);
    WaitForAnswersInFlight(lock);
    return received_;
}

std::vector<LoopbackCollector::ReceivedReport> LoopbackCollector::Accepted(size_t firstReceived) const {
    std::unique_lock lock(mutex_);
    WaitForAnswersInFlight(lock);
    std::vector<ReceivedReport> accepted;
    for (size_t index = firstReceived; index < received_.size(); ++index) {
        if (IsAccepted(received_[index])) accepted.push_back(received_[index]);
    }
    return accepted;
}

size_t LoopbackCollector::ReceivedCount() const {
    std::lock_guard lock(mutex_);
    return received_.size();
}

bool LoopbackCollector::WaitForReceived(size_t count, unsigned timeoutMs) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] { return received_.size() >= count; });
}

bool LoopbackCollector::WaitForAccepted(size_t count, unsigned timeoutMs) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] { return AcceptedCount() >= count; });
}

std::string LoopbackCollector::CheckReportBody(const std::string& body) { return InspectReportBody(body).problem; }

size_t LoopbackCollector::AcceptedCount() const {
    size_t count = 0;
    for (const auto& report : received_) count += IsAccepted(report) ? 1 : 0;
    return count;
}

void LoopbackCollector::AcceptConnections() {
    while (WaitReadable(listener_->get(), stopping_)) {
        UniqueSocket client(accept(listener_->get(), nullptr, nullptr));
        if (client.valid()) ServeOnPool(std::move(client));
    }
}

namespace {

void CALLBACK RunPooledWork(PTP_CALLBACK_INSTANCE, void* context) {
    const std::unique_ptr<std::function<void()>> work(static_cast<std::function<void()>*>(context));
    (*work)();
}

}  // namespace

void LoopbackCollector::ServeOnPool(UniqueSocket client) {
    {
        std::lock_guard lock(mutex_);
        ++serving_;
    }
    auto socket = std::make_shared<UniqueSocket>(std::move(client));
    auto work = std::make_unique<std::function<void()>>([this, socket] {
        Serve(*socket);
        socket->reset();
        ConnectionDone();
    });
    if (TrySubmitThreadpoolCallback(&RunPooledWork, work.get(), nullptr)) {
        work.release();  // the callback owns it now
        return;
    }
    // No pool thread to be had: the connection closes unanswered, as a collector out of threads would.
    ConnectionDone();
}

// The last thing a connection does: the destructor waits for it, and it
// notifies under the lock, since once the lock is let go the collector may be gone.
void LoopbackCollector::ConnectionDone() {
    std::lock_guard lock(mutex_);
    --serving_;
    changed_.notify_all();
}

void LoopbackCollector::Serve(const UniqueSocket& client) {
    const std::optional<HttpRequest> request = ReadHttpRequest(client.get(), stopping_);
    if (!request) return;
    InspectedReport report;
    const std::string problem = RequestProblem(*request, report);

    size_t index;
    Answer answer;
    {
        std::lock_guard lock(mutex_);
        answer = problem.empty() ? NextAnswer() : Answer::Now(othersStatus_);
        index = received_.size();
        received_.push_back({request->method, request->path, request->contentType, request->cookie, request->body,
                             problem, answer, false, report.message});
        if (answer.kind == Answer::Kind::Status) ++answering_;
    }
    changed_.notify_all();

    if (answer.kind == Answer::Kind::Drop) return;
    if (answer.kind == Answer::Kind::Late && !WaitLate(answer.delayMs)) return;
    const bool sent = SendAll(client.get(), Response(answer.status, answer.header, problem.empty() ? "ok" : problem));
    shutdown(client.get(), SD_SEND);
    {
        std::lock_guard lock(mutex_);
        received_[index].answered = sent;
        if (answer.kind == Answer::Kind::Status) --answering_;
    }
    changed_.notify_all();
}

LoopbackCollector::Answer LoopbackCollector::NextAnswer() {
    if (queued_.empty()) return Answer::Now(defaultStatus_);
    const Answer next = queued_.front();
    queued_.pop_front();
    return next;
}

bool LoopbackCollector::WaitLate(unsigned delayMs) {
    std::unique_lock lock(mutex_);
    return !changed_.wait_for(lock, std::chrono::milliseconds(delayMs), [this] { return stopping_.load(); });
}
