#include <fmt/format.h>

#include "Activation.h"
#include "AsyncWait.h"
#include "ClassNames.h"
#include "DiagnosticChecks.h"
#include "Foundation.h"
#include "HString.h"
#include "ViewerText.h"
#include "Launcher.h"
#include "PackageIdentityUtils.h"
#include "RuntimeError.h"

namespace diagnose {

namespace {

constexpr wchar_t kProtocolUri[] = L"orvale-notification:";
constexpr std::uint32_t kQueryTimeoutMs = 10000;

const char* SupportText(rt::LaunchQuerySupportStatus status) {
    switch (status) {
        case rt::LaunchQuerySupportStatus::Available: return "available";
        case rt::LaunchQuerySupportStatus::AppNotInstalled: return "no application installed for it";
        case rt::LaunchQuerySupportStatus::AppUnavailable: return "its application is unavailable";
        case rt::LaunchQuerySupportStatus::NotSupported: return "not supported";
        case rt::LaunchQuerySupportStatus::Unknown: break;
    }
    return "unknown";
}

// What the guarded launcher asks before every registration launch.
rt::LaunchQuerySupportStatus QueryProtocolSupport() {
    const auto uriFactory = rt::get_activation_factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri);
    rt::com_ptr<rt::IUriRuntimeClass> uri;
    rt::check(uriFactory->CreateUri(rt::hstring(kProtocolUri).get(), uri.put()));
    const auto launcher = rt::get_activation_factory<rt::ILauncherStatics2>(rt::class_name::Launcher);
    rt::com_ptr<rt::LaunchQuerySupportOperation> query;
    rt::check(launcher->QueryUriSupportAsync(uri.get(), rt::LaunchQuerySupportType::Uri, query.put()));
    // One completion handler only: an operation refuses a second one.
    const rt::AsyncStatus ended = rt::wait_for_status(query.get(), kQueryTimeoutMs);
    const auto info = query.As<rt::IAsyncInfo>();
    if (ended == rt::AsyncStatus::Started) {
        rt::check(info->Cancel());
        throw rt::hresult_error(HRESULT_FROM_WIN32(ERROR_TIMEOUT));
    }
    if (ended != rt::AsyncStatus::Completed) {
        HRESULT errorCode = E_FAIL;
        rt::check(info->get_ErrorCode(&errorCode));
        throw rt::hresult_error(errorCode);
    }
    rt::LaunchQuerySupportStatus status = rt::LaunchQuerySupportStatus::Unknown;
    rt::check(query->GetResults(&status));
    return status;
}

CheckLine PackageLine() {
    try {
        const auto version = FirstNotificationPackageVersion();
        if (!version) {
            return {Verdict::Fail, "package",
                    fmt::format("{} is not registered for this user", viewer::Utf8(kNotificationPackageName))};
        }
        return {Verdict::Ok, "package",
                fmt::format("{} registered, version {}.{}.{}.{}", viewer::Utf8(kNotificationPackageName),
                            version->Major, version->Minor, version->Build, version->Revision)};
    } catch (const rt::hresult_error& error) {
        return {Verdict::Fail, "package", fmt::format("the package manager failed: 0x{:08X}",
                                                      static_cast<std::uint32_t>(error.code()))};
    }
}

CheckLine ProtocolLine() {
    try {
        const auto status = QueryProtocolSupport();
        return {status == rt::LaunchQuerySupportStatus::Available ? Verdict::Ok : Verdict::Fail, "protocol",
                fmt::format("orvale-notification: {}", SupportText(status))};
    } catch (const rt::hresult_error& error) {
        return {Verdict::Fail, "protocol", fmt::format("orvale-notification: the launcher's query failed: 0x{:08X}",
                                                       static_cast<std::uint32_t>(error.code()))};
    }
}

}  // namespace

void CheckNotificationPackage(CheckLines& lines) {
    lines.push_back(PackageLine());
    lines.push_back(ProtocolLine());
}

}  // namespace diagnose
