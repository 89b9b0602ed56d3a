#include <utility>

#include <fmt/format.h>

#include "Activation.h"
#include "ApplicationModel.h"
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

using StatusGetter = HRESULT (STDMETHODCALLTYPE rt::IPackageStatus::*)(boolean*);

// In the interface's order: each group comes before the states it gathers.
constexpr std::pair<const char*, StatusGetter> kStatusProperties[] = {
    {"NotAvailable", &rt::IPackageStatus::get_NotAvailable},
    {"PackageOffline", &rt::IPackageStatus::get_PackageOffline},
    {"DataOffline", &rt::IPackageStatus::get_DataOffline},
    {"Disabled", &rt::IPackageStatus::get_Disabled},
    {"NeedsRemediation", &rt::IPackageStatus::get_NeedsRemediation},
    {"LicenseIssue", &rt::IPackageStatus::get_LicenseIssue},
    {"Modified", &rt::IPackageStatus::get_Modified},
    {"Tampered", &rt::IPackageStatus::get_Tampered},
    {"DependencyIssue", &rt::IPackageStatus::get_DependencyIssue},
    {"Servicing", &rt::IPackageStatus::get_Servicing},
    {"DeploymentInProgress", &rt::IPackageStatus::get_DeploymentInProgress},
};

// Empty when the package may be used; else the names of the status properties that are set.
std::string UnusableState(rt::IPackage* package) {
    rt::com_ptr<rt::IPackageStatus> status;
    rt::check(rt::com_ptr<rt::IPackage>::copy_from(package).As<rt::IPackage3>()->get_Status(status.put()));
    boolean ok = 0;
    rt::check(status->VerifyIsOK(&ok));
    if (ok) return {};
    std::string names;
    for (const auto& [name, getter] : kStatusProperties) {
        boolean set = 0;
        rt::check((status.get()->*getter)(&set));
        if (set) names += names.empty() ? name : fmt::format(", {}", name);
    }
    return names.empty() ? "VerifyIsOK false" : names;
}

CheckLine PackageLine() {
    try {
        const auto package = FirstNotificationPackage();
        if (!package) {
            return {Verdict::Fail, "package",
                    fmt::format("{} is not registered for this user", viewer::Utf8(kNotificationPackageName))};
        }
        const rt::PackageVersion version = PackageVersionOf(package.get());
        const std::string registered = fmt::format("{} registered, version {}.{}.{}.{}",
                                                   viewer::Utf8(kNotificationPackageName), version.Major,
                                                   version.Minor, version.Build, version.Revision);
        // A registration that is not OK runs none of the package's code, its background tasks included.
        if (const std::string state = UnusableState(package.get()); !state.empty()) {
            return {Verdict::Fail, "package",
                    fmt::format("{}, but not usable ({}): its background tasks would not run", registered, state)};
        }
        return {Verdict::Ok, "package", registered};
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
