#include "NotificationPackageManager.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "Activation.h"
#include "AsyncWait.h"
#include "ClassNames.h"
#include "Deployment.h"
#include "HString.h"
#include "HostLog.h"
#include "ModulePin.h"
#include "PackageIdentityUtils.h"
#include "RuntimeError.h"

namespace {

constexpr wchar_t kIsInstalledFunction[] = L"`anonymous-namespace'::IsNotificationPackageInstalled";
constexpr wchar_t kDoInstallFunction[] = L"`anonymous-namespace'::DoInstallNotificationPackage";
constexpr wchar_t kInstallFunction[] = L"InstallNotificationPackage";
constexpr wchar_t kEnsureFunction[] = L"EnsureNotificationPackageInstalled";
constexpr wchar_t kUninstallFunction[] = L"UninstallNotificationPackage";

constexpr std::uint32_t kEnsureTimeoutMs = 10000;
// A removal that hangs must not hold the host for longer than this per package.
constexpr std::uint32_t kLongestRemovalWaitMs = 30000;

rt::com_ptr<rt::IUriRuntimeClass> CreateUri(const std::wstring& text) {
    const auto factory = rt::get_activation_factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri);
    rt::com_ptr<rt::IUriRuntimeClass> uri;
    rt::check(factory->CreateUri(rt::hstring(text).get(), uri.put()));
    return uri;
}

rt::com_ptr<rt::IAddPackageOptions> CreateForcedAddOptions() {
    auto options = rt::activate_instance<rt::IAddPackageOptions>(rt::class_name::AddPackageOptions);
    rt::check(options->put_ForceUpdateFromAnyVersion(true));
    rt::check(options->put_ForceAppShutdown(true));
    rt::check(options->put_ForceTargetAppShutdown(true));
    return options;
}

rt::com_ptr<rt::IAsyncInfo> AsyncInfoOf(rt::DeploymentOperation* operation) {
    return rt::com_ptr<rt::DeploymentOperation>::copy_from(operation).As<rt::IAsyncInfo>();
}

HRESULT OperationErrorCode(rt::DeploymentOperation* operation) {
    HRESULT errorCode = S_OK;
    rt::check(AsyncInfoOf(operation)->get_ErrorCode(&errorCode));
    return errorCode;
}

// The operation goes on without us; its completion handler releases what it holds.
void AbandonOperation(rt::DeploymentOperation* operation) { rt::check(AsyncInfoOf(operation)->Cancel()); }

HRESULT ReportDeploymentResult(rt::DeploymentOperation* operation) {
    rt::com_ptr<rt::IDeploymentResult> result;
    rt::check(operation->GetResults(result.put()));
    boolean isRegistered = 0;
    rt::check(result.As<rt::IDeploymentResult2>()->get_IsRegistered(&isRegistered));
    if (isRegistered) {
        HOST_LOG_INFO(kDoInstallFunction, L"[{}]installed/updated successfully", kDoInstallFunction);
        return S_OK;
    }
    HRESULT extendedErrorCode = S_OK;
    rt::check(result->get_ExtendedErrorCode(&extendedErrorCode));
    rt::hstring errorText;
    rt::check(result->get_ErrorText(errorText.put()));
    HOST_LOG_ERROR(kDoInstallFunction, L"[{}]failed, hr=0x{:08X}, errorText={}", kDoInstallFunction,
                   host_log::Hex(extendedErrorCode), errorText.view());
    return extendedErrorCode;
}

// The wait hands the operation a completion handler that may run after the
// wait gave up, so the module stays mapped from here on.
rt::AsyncStatus WaitForDeployment(rt::DeploymentOperation* operation, std::uint32_t timeoutMs) {
    PinModuleInMemory();
    return rt::wait_for_status(operation, timeoutMs);
}

rt::com_ptr<rt::DeploymentOperation> StartAddPackage(rt::IUriRuntimeClass* packageUri) {
    const auto options = CreateForcedAddOptions();
    const auto packageManager = CreatePackageManager().As<rt::IPackageManager9>();
    rt::com_ptr<rt::DeploymentOperation> operation;
    rt::check(packageManager->AddPackageByUriAsync(packageUri, options.get(), operation.put()));
    return operation;
}

// Throws what the runtime calls throw; the public callers catch it.
HRESULT DoInstallNotificationPackage(std::uint32_t timeoutMs) {
    const std::wstring folder = GetNotificationApiDllDirectory();
    if (folder.empty()) {
        HOST_LOG_ERROR(kDoInstallFunction, L"[{}]GetDllDirectory failed", kDoInstallFunction);
        return E_FAIL;
    }
    const std::wstring packagePath = folder + L"\\" + kNotificationPackageFileName;
    if (!std::filesystem::exists(packagePath)) {
        HOST_LOG_ERROR(kDoInstallFunction, L"[{}]MSIX file not found: {}", kDoInstallFunction, packagePath);
        return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    }
    const std::wstring uriText = PackageFileUri(packagePath);
    const auto packageUri = CreateUri(uriText);
    HOST_LOG_INFO(kDoInstallFunction, L"[{}]installing msixUri={}, timeoutMs={}", kDoInstallFunction, uriText,
                  timeoutMs);

    const auto operation = StartAddPackage(packageUri.get());
    const rt::AsyncStatus status = WaitForDeployment(operation.get(), timeoutMs);
    if (status == rt::AsyncStatus::Completed) return ReportDeploymentResult(operation.get());
    // A time-out reports whatever code the cancelled operation carries, unlike
    // the removal, which substitutes its own: the install job reports the platform's view.
    if (status == rt::AsyncStatus::Started) AbandonOperation(operation.get());
    const HRESULT errorCode = OperationErrorCode(operation.get());
    HOST_LOG_ERROR(kDoInstallFunction, L"[{}]async status={}, hr=0x{:08X}", kDoInstallFunction,
                   static_cast<int>(status), host_log::Hex(errorCode));
    return errorCode;
}

// A package manager that fails reads as "not installed": the caller then installs.
bool IsNotificationPackageInstalled() {
    try {
        const auto version = FirstNotificationPackageVersion();
        if (!version) {
            HOST_LOG_INFO(kIsInstalledFunction, L"[{}]IsNotificationPackageInstalled: package not installed",
                          kIsInstalledFunction);
            return false;
        }
        HOST_LOG_INFO(kIsInstalledFunction, L"[{}]IsNotificationPackageInstalled: found package, version={}.{}.{}.{}",
                      kIsInstalledFunction, version->Major, version->Minor, version->Build, version->Revision);
        return true;
    } catch (const rt::hresult_error& e) {
        HOST_LOG_ERROR(kIsInstalledFunction, L"[{}]IsNotificationPackageInstalled exception, hr=0x{:08X}, msg={}",
                       kIsInstalledFunction, host_log::Hex(e.code()), e.message());
    } catch (...) {
        HOST_LOG_ERROR(kIsInstalledFunction, L"[{}]IsNotificationPackageInstalled unknown exception",
                       kIsInstalledFunction);
    }
    return false;
}

std::wstring PackageFullName(rt::IPackage* package) {
    rt::com_ptr<rt::IPackageId> id;
    rt::check(package->get_Id(id.put()));
    rt::hstring fullName;
    rt::check(id->get_FullName(fullName.put()));
    return fullName.str();
}

rt::com_ptr<rt::DeploymentOperation> StartRemovePackage(rt::IPackageManager* packageManager,
                                                        const std::wstring& fullName) {
    rt::com_ptr<rt::DeploymentOperation> operation;
    rt::check(packageManager->RemovePackageAsync(rt::hstring(fullName).get(), operation.put()));
    return operation;
}

// Empty when the package went away; otherwise the code that ends the uninstall,
// which may be a success code the platform reported for a cancelled removal.
std::optional<HRESULT> RemovePackage(rt::IPackageManager* packageManager, const std::wstring& fullName,
                                     std::uint32_t timeoutMs) {
    HOST_LOG_INFO(kUninstallFunction, L"[{}]UninstallNotificationPackage: removing {}, timeoutMs={}",
                  kUninstallFunction, fullName, timeoutMs);
    const auto operation = StartRemovePackage(packageManager, fullName);
    const rt::AsyncStatus status = WaitForDeployment(operation.get(), timeoutMs);
    if (status == rt::AsyncStatus::Completed) {
        HOST_LOG_INFO(kUninstallFunction, L"[{}]UninstallNotificationPackage: removed {}", kUninstallFunction,
                      fullName);
        return std::nullopt;
    }
    if (status == rt::AsyncStatus::Started) {
        AbandonOperation(operation.get());
        HOST_LOG_ERROR(kUninstallFunction, L"[{}]UninstallNotificationPackage: timeout ({}ms) removing {}",
                       kUninstallFunction, timeoutMs, fullName);
        return HRESULT_FROM_WIN32(ERROR_TIMEOUT);
    }
    const HRESULT errorCode = OperationErrorCode(operation.get());
    HOST_LOG_ERROR(kUninstallFunction, L"[{}]UninstallNotificationPackage: async failed, status={}, hr=0x{:08X}, name={}",
                   kUninstallFunction, static_cast<int>(status), host_log::Hex(errorCode), fullName);
    return errorCode;
}

}  // namespace

std::wstring PackageFileUri(const std::wstring& packagePath) {
    try {
        std::wstring path = packagePath;
        std::replace(path.begin(), path.end(), L'\\', L'/');
        return L"file:///" + path;
    } catch (...) {
        return {};
    }
}

HRESULT InstallNotificationPackage(std::uint32_t timeoutMs) {
    try {
        HOST_LOG_INFO(kInstallFunction, L"[{}]InstallNotificationPackage: force install, timeoutMs={}",
                      kInstallFunction, timeoutMs);
        return DoInstallNotificationPackage(timeoutMs);
    } catch (const rt::hresult_error& e) {
        HOST_LOG_ERROR(kInstallFunction, L"[{}]InstallNotificationPackage exception, hr=0x{:08X}, msg={}",
                       kInstallFunction, host_log::Hex(e.code()), e.message());
        return e.code();
    } catch (...) {
        HOST_LOG_ERROR(kInstallFunction, L"[{}]InstallNotificationPackage unknown exception", kInstallFunction);
        return E_UNEXPECTED;
    }
}

bool EnsureNotificationPackageInstalled() {
    try {
        if (IsNotificationPackageInstalled()) {
            HOST_LOG_INFO(kEnsureFunction, L"[{}]EnsureNotificationPackageInstalled: already installed, skip",
                          kEnsureFunction);
            return true;
        }
        HOST_LOG_INFO(kEnsureFunction, L"[{}]EnsureNotificationPackageInstalled: not installed, installing, timeoutMs={}",
                      kEnsureFunction, kEnsureTimeoutMs);
        return SUCCEEDED(DoInstallNotificationPackage(kEnsureTimeoutMs));
    } catch (const rt::hresult_error& e) {
        HOST_LOG_ERROR(kEnsureFunction, L"[{}]EnsureNotificationPackageInstalled exception, hr=0x{:08X}, msg={}",
                       kEnsureFunction, host_log::Hex(e.code()), e.message());
    } catch (...) {
        HOST_LOG_ERROR(kEnsureFunction, L"[{}]EnsureNotificationPackageInstalled unknown exception", kEnsureFunction);
    }
    return false;
}

HRESULT UninstallNotificationPackage(std::uint32_t timeoutMs) {
    try {
        const std::uint32_t timeout = std::min(timeoutMs, kLongestRemovalWaitMs);
        const auto packageManager = CreatePackageManager();
        const auto packages = FindNotificationPackages(packageManager.get());
        rt::com_ptr<rt::IIterator<rt::Package>> position;
        rt::check(packages->First(position.put()));
        bool anyFound = false;
        boolean hasCurrent = 0;
        for (rt::check(position->get_HasCurrent(&hasCurrent)); hasCurrent; rt::check(position->MoveNext(&hasCurrent))) {
            anyFound = true;
            rt::com_ptr<rt::IPackage> package;
            rt::check(position->get_Current(package.put()));
            const auto stop = RemovePackage(packageManager.get(), PackageFullName(package.get()), timeout);
            if (stop) return *stop;
        }
        if (!anyFound) {
            HOST_LOG_INFO(kUninstallFunction, L"[{}]UninstallNotificationPackage: no package found to remove",
                          kUninstallFunction);
        }
        return S_OK;
    } catch (const rt::hresult_error& e) {
        HOST_LOG_ERROR(kUninstallFunction, L"[{}]UninstallNotificationPackage exception, hr=0x{:08X}, msg={}",
                       kUninstallFunction, host_log::Hex(e.code()), e.message());
        return e.code();
    } catch (...) {
        HOST_LOG_ERROR(kUninstallFunction, L"[{}]UninstallNotificationPackage unknown exception", kUninstallFunction);
        return E_UNEXPECTED;
    }
}
