#pragma once
// A telemetry collector on 127.0.0.1 for tests, tools and the demo. Each
// connection carries one POST of a report to /collect; the collector answers
// it as planned and records it. Requests that are not a POST to /collect with
// a well-formed report are answered 400 at once (or as AnswerOthersWith says)
// and never take a planned answer, so a plan scripts the answers to reports only.
#include <json/value.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

class UniqueSocket;
class WinsockSession;

class LoopbackCollector {
public:
    struct Answer {
        enum class Kind {
            Status,  // answer `status` at once
            Late,    // wait delayMs, then answer `status` (given up when the collector stops)
            Drop,    // close the connection without answering
        };
        Kind kind = Kind::Status;
        int status = 200;
        unsigned delayMs = 0;
        std::string header;  // one more header line, e.g. "Location: /moved"

        static Answer Now(int status) { return {Kind::Status, status, 0}; }
        static Answer WithHeader(int status, std::string header) { return {Kind::Status, status, 0, std::move(header)}; }
        static Answer After(unsigned delayMs, int status = 200) { return {Kind::Late, status, delayMs}; }
        static Answer Dropped() { return {Kind::Drop, 0, 0}; }
    };

    struct ReceivedReport {
        std::string method;
        std::string path;
        std::string contentType;
        std::string cookie;  // the Cookie header
        std::string body;
        std::string problem;  // empty when the request is a POST to /collect with a well-formed report
        Answer answer;        // what the collector does with it
        bool answered = false;  // the status line went out (never for Drop; late only after the wait)
        Json::Value message;    // the decoded message object, null when there is a problem
    };

    // Listens on 127.0.0.1:port, 0 for a free port; throws std::runtime_error
    // when it cannot.
    explicit LoopbackCollector(unsigned short port = 0);
    LoopbackCollector(const LoopbackCollector&) = delete;
    LoopbackCollector& operator=(const LoopbackCollector&) = delete;
    // Stops listening, gives up late answers and joins every thread.
    ~LoopbackCollector();

    unsigned short Port() const { return port_; }
    // "hostName=127.0.0.1:PORT": one entry of SIMRUNTIME_HTTP_HOSTS.
    std::wstring HostMapping(const std::wstring& hostName) const;

    // The answer to every report from now on that no queued answer covers (200 at first).
    void AnswerWith(int status);
    // Answers to the next reports, in the order they arrive.
    void QueueAnswer(Answer answer);
    // The status of every request that is not a report, from now on (400 at first).
    void AnswerOthersWith(int status);

    // Every request in arrival order, recorded as soon as it was read. Both
    // readers first wait (up to 5 s) for the answers that go out at once to be
    // marked sent: a client may act on its answer before that.
    std::vector<ReceivedReport> Received() const;
    // The well-formed reports answered 200, of the requests from the
    // `firstReceived`-th on: a long run looks at what is new only.
    std::vector<ReceivedReport> Accepted(size_t firstReceived = 0) const;
    size_t ReceivedCount() const;
    bool WaitForReceived(size_t count, unsigned timeoutMs) const;
    bool WaitForAccepted(size_t count, unsigned timeoutMs) const;

    // The problem of a report body, empty when it is exactly what the collector expects.
    static std::string CheckReportBody(const std::string& body);

private:
    void AcceptConnections();
    // Serves `client` on a thread of the process's pool: a thread made and
    // ended per connection cost more under Wine than all the rest of a request.
    void ServeOnPool(UniqueSocket client);
    void ConnectionDone();
    void Serve(const UniqueSocket& client);
    Answer NextAnswer();
    // False when the collector stopped during the wait.
    bool WaitLate(unsigned delayMs);
    size_t AcceptedCount() const;
    void WaitForAnswersInFlight(std::unique_lock<std::mutex>& lock) const;

    std::unique_ptr<WinsockSession> winsock_;
    std::unique_ptr<UniqueSocket> listener_;
    unsigned short port_ = 0;
    std::atomic<bool> stopping_{false};

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    int defaultStatus_ = 200;
    int othersStatus_ = 400;
    std::deque<Answer> queued_;
    std::vector<ReceivedReport> received_;
    size_t serving_ = 0;    // connections handed to the pool and not yet done
    size_t answering_ = 0;  // answers at once, recorded and not yet marked sent

    std::thread acceptThread_;
};
