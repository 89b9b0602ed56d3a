#include "QuorvelReportUtils.h"

#include <windows.h>
#include <objbase.h>

#include <list>
#include <mutex>
#include <thread>
#include <utility>

#include "Apartment.h"

namespace quorvel {

namespace {

// Joined by the entry's closing phase; a std::list, so a thread keeps its place
// while others are added. Never destroyed, as the factory cache and the notifier
// are not: a thread still listed when the process detaches the module (ended by
// another thread, a join that threw) would call std::terminate under the loader lock.
struct ReportThreadList {
    std::mutex mutex;
    std::list<std::thread> threads;
};

ReportThreadList& ReportThreads() {
    static auto* const list = new ReportThreadList;
    return *list;
}

// With the process's hold on the multithreaded apartment a report thread runs
// in it implicitly and never leaves it, so what the thread started (completion
// dispatch, a timer handler still inside the platform's code) keeps its
// apartment and its class code after the thread has ended; a thread that
// uninitialised would unload "all DLLs loaded by the thread" ("CoUninitialize
// function"). Only without the hold does the thread join the apartment itself.
class MultithreadedApartment {
public:
    MultithreadedApartment()
        : initialized_(!rt::hold_multithreaded_apartment() && SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {}
    MultithreadedApartment(const MultithreadedApartment&) = delete;
    MultithreadedApartment& operator=(const MultithreadedApartment&) = delete;
    ~MultithreadedApartment() {
        if (initialized_) CoUninitialize();
    }

private:
    bool initialized_;
};

void StoreAndPost(const std::wstring& folder, const std::string& body, const std::wstring& url,
                  const std::string& aid) {
    const std::wstring path = SaveEncryptedReport(folder, body);
    if (!path.empty()) ProcessReportFile(path, url, aid);
}

}  // namespace

void ReportEvent(std::uint32_t level, const ErrorEventInfo& record) {
    const std::string aid = ReportDeviceId();
    const std::string body = BuildReportBody(level, ToEventObject(record), aid, kReporterVersion, kSdkIdentifier);
    const std::wstring folder = GetReportDirectory();
    if (folder.empty()) return;
    StoreAndPost(folder, body, GetReportUrl(), aid);
}

void ReportToggleEventAsync(const ToggleEventInfo& record) {
    std::string aid = ReportDeviceId();
    std::string body = BuildReportBody(kLevelInfo, ToEventObject(record), aid, kReporterVersion, kSdkIdentifier);
    std::wstring url = GetReportUrl();
    std::wstring folder = GetReportDirectory();
    if (folder.empty()) return;
    // Before the thread exists, so that the apartment it activates in outlives it.
    rt::hold_multithreaded_apartment();
    auto& list = ReportThreads();
    std::lock_guard lock(list.mutex);
    list.threads.emplace_back([folder = std::move(folder), body = std::move(body), url = std::move(url),
                                  aid = std::move(aid)]() noexcept {
        try {
            const MultithreadedApartment apartment;
            StoreAndPost(folder, body, url, aid);
        } catch (...) {
        }
    });
}

// The join does not pump messages even on a single-threaded apartment: a report
// thread calls nothing of its joiner's apartment, so it never waits for it.
void JoinReportThreads() {
    auto& list = ReportThreads();
    std::lock_guard lock(list.mutex);
    auto& threads = list.threads;
    while (!threads.empty()) {
        if (threads.front().joinable()) threads.front().join();
        threads.pop_front();
    }
}

}  // namespace quorvel
