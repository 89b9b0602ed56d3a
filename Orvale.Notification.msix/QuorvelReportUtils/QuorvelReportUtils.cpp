#include "QuorvelReportUtils.h"

#include <windows.h>
#include <objbase.h>

#include <list>
#include <mutex>
#include <thread>
#include <utility>

namespace quorvel {

namespace {

std::mutex& ReportThreadsMutex() {
    static std::mutex mutex;
    return mutex;
}

// Joined by the entry's closing phase; a std::list, so a thread keeps its place while others are added.
std::list<std::thread>& ReportThreads() {
    static std::list<std::thread> threads;
    return threads;
}

// Report threads join the multithreaded apartment themselves.
class MultithreadedApartment {
public:
    MultithreadedApartment() : initialized_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {}
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
    std::lock_guard lock(ReportThreadsMutex());
    ReportThreads().emplace_back([folder = std::move(folder), body = std::move(body), url = std::move(url),
                                  aid = std::move(aid)]() noexcept {
        try {
            const MultithreadedApartment apartment;
            StoreAndPost(folder, body, url, aid);
        } catch (...) {
        }
    });
}

void JoinReportThreads() {
    std::lock_guard lock(ReportThreadsMutex());
    auto& threads = ReportThreads();
    while (!threads.empty()) {
        if (threads.front().joinable()) threads.front().join();
        threads.pop_front();
    }
}

}  // namespace quorvel
