#include "SafeLaunchUri.h"

#include "Activation.h"
#include "AsyncWait.h"
#include "ClassNames.h"
#include "HString.h"
#include "HostLog.h"
#include "Launcher.h"
#include "RuntimeError.h"

namespace {

constexpr wchar_t kAsyncFunction[] = L"SafeLaunchUriAsync";
constexpr wchar_t kSyncFunction[] = L"SafeLaunchUri";

rt::com_ptr<rt::IUriRuntimeClass> CreateUri(const std::wstring& text) {
    const auto factory = rt::get_activation_factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri);
    rt::com_ptr<rt::IUriRuntimeClass> uri;
    rt::check(factory->CreateUri(rt::hstring(text).get(), uri.put()));
    return uri;
}

// Launcher is not agile: its statics belong to the apartment of the thread
// that fetched them, and a coroutine resumes on whichever thread completed
// what it awaited. So each step fetches them on its own thread and lets them
// go before it suspends.
rt::com_ptr<rt::ILauncherStatics> LauncherStatics() {
    return rt::get_activation_factory<rt::ILauncherStatics>(rt::class_name::Launcher);
}

rt::com_ptr<rt::LaunchQuerySupportOperation> StartUriSupportQuery(rt::IUriRuntimeClass* uri) {
    const auto launcher2 = LauncherStatics().As<rt::ILauncherStatics2>();
    rt::com_ptr<rt::LaunchQuerySupportOperation> query;
    rt::check(launcher2->QueryUriSupportAsync(uri, rt::LaunchQuerySupportType::Uri, query.put()));
    return query;
}

rt::com_ptr<rt::IAsyncOperation<bool>> StartLaunch(rt::IUriRuntimeClass* uri) {
    rt::com_ptr<rt::IAsyncOperation<bool>> launch;
    rt::check(LauncherStatics()->LaunchUriAsync(uri, launch.put()));
    return launch;
}

}  // namespace

rt::async_operation<bool> SafeLaunchUriAsync(std::wstring uri) {
    try {
        const auto target = CreateUri(uri);
        const rt::LaunchQuerySupportStatus support = co_await StartUriSupportQuery(target.get());
        if (support != rt::LaunchQuerySupportStatus::Available) {
            HOST_LOG_WARN(kAsyncFunction, L"[SafeLaunchUri] URI handler not available (status={}), skipping launch: {}",
                          static_cast<int>(support), uri);
            co_return false;
        }
        if (co_await StartLaunch(target.get())) {
            HOST_LOG_INFO(kAsyncFunction, L"[SafeLaunchUri] Launched successfully: {}", uri);
            co_return true;
        }
        HOST_LOG_ERROR(kAsyncFunction, L"[SafeLaunchUri] Launch returned false: {}", uri);
        co_return false;
    } catch (const rt::hresult_error& e) {
        HOST_LOG_ERROR(kAsyncFunction, L"[SafeLaunchUri] Exception: 0x{:08X} - {}, URI: {}", host_log::Hex(e.code()),
                       e.message(), uri);
        co_return false;
    } catch (...) {
        HOST_LOG_ERROR(kAsyncFunction, L"[SafeLaunchUri] Unknown exception, URI: {}", uri);
        co_return false;
    }
}

bool SafeLaunchUri(const std::wstring& uri) noexcept {
    try {
        const auto launch = SafeLaunchUriAsync(uri);
        return rt::wait_for_result(launch.get());
    } catch (...) {
        HOST_LOG_ERROR(kSyncFunction, L"[SafeLaunchUri] Sync wrapper exception, URI: {}", uri);
        return false;
    }
}
