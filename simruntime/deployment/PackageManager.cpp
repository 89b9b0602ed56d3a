// Windows.Management.Deployment.PackageManager over the simulated package
// table: finding the current user's packages, adding one from a file:/// URI
// and removing one by full name. Operations end as the steering state plans.
#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "AsyncOperation.h"
#include "ClassNames.h"
#include "ClassTable.h"
#include "Deployment.h"
#include "DeploymentResult.h"
#include "ForeignException.h"
#include "HString.h"
#include "Package.h"
#include "PackageTable.h"
#include "RuntimeError.h"
#include "SimCall.h"
#include "SimIterable.h"
#include "SimMethods.h"
#include "SimObject.h"
#include "SimState.h"

namespace {

using sim::not_simulated;

constexpr wchar_t kAddMethod[] = L"PackageManager.AddPackageByUriAsync";
constexpr wchar_t kRemoveMethod[] = L"PackageManager.RemovePackageAsync";
constexpr wchar_t kFindMethod[] = L"PackageManager.FindPackagesByUserSecurityIdNamePublisher";

// "file:///C:/A/b.msix" is C:\A\b.msix; empty for any other kind of URI.
std::optional<std::wstring> windows_path_of(std::wstring_view uri) {
    constexpr std::wstring_view prefix = L"file:///";
    if (uri.size() <= prefix.size() ||
        CompareStringOrdinal(uri.data(), static_cast<int>(prefix.size()), prefix.data(),
                             static_cast<int>(prefix.size()), TRUE) != CSTR_EQUAL) {
        return std::nullopt;
    }
    std::wstring path(uri.substr(prefix.size()));
    for (wchar_t& c : path) {
        if (c == L'/') c = L'\\';
    }
    return path;
}

bool is_file(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

// The options are read when the add starts, as a caller may reuse them.
sim::add_request request_of(rt::IAddPackageOptions* options) {
    boolean forceApp = 0, forceTarget = 0;
    rt::check(options->get_ForceAppShutdown(&forceApp));
    rt::check(options->get_ForceTargetAppShutdown(&forceTarget));
    rt::com_ptr<rt::IUriRuntimeClass> externalLocation;
    rt::check(options->get_ExternalLocationUri(externalLocation.put()));
    return {forceApp != 0 || forceTarget != 0, static_cast<bool>(externalLocation)};
}

std::wstring raw_text_of(rt::IUriRuntimeClass* uri) {
    if (!uri) throw rt::hresult_error(E_POINTER);
    rt::hstring text;
    rt::check(uri->get_RawUri(text.put()));
    return text.str();
}

// Arguments as logged: "\"a\", \"b\"".
std::wstring quoted(std::initializer_list<std::wstring_view> texts) {
    std::wstring joined;
    for (const auto text : texts) {
        if (!joined.empty()) joined += L", ";
        joined += L'"';
        joined += text;
        joined += L'"';
    }
    return joined;
}

rt::com_ptr<rt::DeploymentOperation> start_operation(const wchar_t* method,
                                                     std::function<rt::com_ptr<rt::IDeploymentResult>()> produce) {
    sim::async_plan plan = sim::plan_for(method);
    plan.cancel_delay_ms = sim::deployment_cancel_delay_ms();
    auto operation = sim::start_async<rt::DeploymentOperation>(plan, std::move(produce));
    sim::remember_operation(operation);
    return operation;
}

class package_manager final : public sim::object<package_manager, rt::IPackageManager, rt::IPackageManager9> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::PackageManager;

    HRESULT STDMETHODCALLTYPE FindPackagesByUserSecurityIdNamePublisher(
        HSTRING userSecurityId, HSTRING packageName, HSTRING packagePublisher,
        rt::IIterable<rt::Package>** packageCollection) override {
        if (!packageCollection) return E_POINTER;
        *packageCollection = nullptr;
        const std::wstring_view user = rt::view_of(userSecurityId);
        const std::wstring_view name = rt::view_of(packageName);
        const std::wstring_view publisher = rt::view_of(packagePublisher);
        sim::throw_if_planned(kFindMethod);
        return run_call(kFindMethod, quoted({user, name, publisher}), [&] {
            sim::item_list<rt::Package> packages;
            for (const auto& identity : sim::find_packages(user, name, publisher)) {
                packages.push_back(sim::make_package(identity));
            }
            *packageCollection = sim::make<sim::iterable<rt::Package>>(std::move(packages)).detach();
        });
    }

    HRESULT STDMETHODCALLTYPE RemovePackageAsync(HSTRING packageFullName,
                                                 rt::DeploymentOperation** deploymentOperation) override {
        if (!deploymentOperation) return E_POINTER;
        *deploymentOperation = nullptr;
        const std::wstring fullName(rt::view_of(packageFullName));
        sim::throw_if_planned(kRemoveMethod);
        return run_call(kRemoveMethod, fullName, [&] {
            *deploymentOperation = start_operation(kRemoveMethod, [fullName] {
                                       if (!sim::remove_package(fullName)) {
                                           throw rt::hresult_error(HRESULT_FROM_WIN32(ERROR_INSTALL_PACKAGE_NOT_FOUND));
                                       }
                                       return sim::make_deployment_result({});
                                   }).detach();
        });
    }

    HRESULT STDMETHODCALLTYPE AddPackageByUriAsync(rt::IUriRuntimeClass* packageUri, rt::IAddPackageOptions* options,
                                                   rt::DeploymentOperation** operation) override {
        if (!operation) return E_POINTER;
        *operation = nullptr;
        if (!options) return E_POINTER;
        sim::throw_if_planned(kAddMethod);
        return rt::hresult_from([&] {
            const std::wstring uri = raw_text_of(packageUri);
            return run_call(kAddMethod, uri, [&] {
                const sim::add_request request = request_of(options);
                const sim::deployment_report report = sim::next_add_report();
                *operation = start_operation(kAddMethod, [uri, report, request] {
                                 const auto path = windows_path_of(uri);
                                 if (!path || !is_file(*path)) {
                                     throw rt::hresult_error(HRESULT_FROM_WIN32(ERROR_INSTALL_OPEN_PACKAGE_FAILED));
                                 }
                                 if (report.isRegistered) sim::register_package_from_file(request);
                                 return sim::make_deployment_result(report);
                             }).detach();
            });
        });
    }

    // Nothing needs the rest.
    HRESULT STDMETHODCALLTYPE AddPackageAsync(rt::IUriRuntimeClass*, rt::IIterable<rt::Uri>*, rt::DeploymentOptions,
                                              rt::DeploymentOperation**) override {
        return not_simulated(L"PackageManager.AddPackageAsync");
    }
    HRESULT STDMETHODCALLTYPE UpdatePackageAsync(rt::IUriRuntimeClass*, rt::IIterable<rt::Uri>*, rt::DeploymentOptions,
                                                 rt::DeploymentOperation**) override {
        return not_simulated(L"PackageManager.UpdatePackageAsync");
    }
    HRESULT STDMETHODCALLTYPE StagePackageAsync(rt::IUriRuntimeClass*, rt::IIterable<rt::Uri>*,
                                                rt::DeploymentOperation**) override {
        return not_simulated(L"PackageManager.StagePackageAsync");
    }
    HRESULT STDMETHODCALLTYPE RegisterPackageAsync(rt::IUriRuntimeClass*, rt::IIterable<rt::Uri>*,
                                                   rt::DeploymentOptions, rt::DeploymentOperation**) override {
        return not_simulated(L"PackageManager.RegisterPackageAsync");
    }
    HRESULT STDMETHODCALLTYPE FindPackages(rt::IIterable<rt::Package>**) override {
        return not_simulated(L"PackageManager.FindPackages");
    }
    HRESULT STDMETHODCALLTYPE FindPackagesByUserSecurityId(HSTRING, rt::IIterable<rt::Package>**) override {
        return not_simulated(L"PackageManager.FindPackagesByUserSecurityId");
    }
    HRESULT STDMETHODCALLTYPE FindPackagesByNamePublisher(HSTRING, HSTRING, rt::IIterable<rt::Package>**) override {
        return not_simulated(L"PackageManager.FindPackagesByNamePublisher");
    }
    HRESULT STDMETHODCALLTYPE FindUsers(HSTRING, rt::IIterable<rt::PackageUserInformation>**) override {
        return not_simulated(L"PackageManager.FindUsers");
    }
    HRESULT STDMETHODCALLTYPE SetPackageState(HSTRING, rt::PackageState) override {
        return not_simulated(L"PackageManager.SetPackageState");
    }
    HRESULT STDMETHODCALLTYPE FindPackageByPackageFullName(HSTRING, rt::IPackage**) override {
        return not_simulated(L"PackageManager.FindPackageByPackageFullName");
    }
    HRESULT STDMETHODCALLTYPE CleanupPackageForUserAsync(HSTRING, HSTRING, rt::DeploymentOperation**) override {
        return not_simulated(L"PackageManager.CleanupPackageForUserAsync");
    }
    HRESULT STDMETHODCALLTYPE FindPackagesByPackageFamilyName(HSTRING, rt::IIterable<rt::Package>**) override {
        return not_simulated(L"PackageManager.FindPackagesByPackageFamilyName");
    }
    HRESULT STDMETHODCALLTYPE FindPackagesByUserSecurityIdPackageFamilyName(HSTRING, HSTRING,
                                                                            rt::IIterable<rt::Package>**) override {
        return not_simulated(L"PackageManager.FindPackagesByUserSecurityIdPackageFamilyName");
    }
    HRESULT STDMETHODCALLTYPE FindPackageByUserSecurityIdPackageFullName(HSTRING, HSTRING, rt::IPackage**) override {
        return not_simulated(L"PackageManager.FindPackageByUserSecurityIdPackageFullName");
    }
    HRESULT STDMETHODCALLTYPE FindProvisionedPackages(rt::IVector<rt::Package>**) override {
        return not_simulated(L"PackageManager.FindProvisionedPackages");
    }
    HRESULT STDMETHODCALLTYPE StagePackageByUriAsync(rt::IUriRuntimeClass*, rt::IStagePackageOptions*,
                                                     rt::DeploymentOperation**) override {
        return not_simulated(L"PackageManager.StagePackageByUriAsync");
    }
    HRESULT STDMETHODCALLTYPE RegisterPackageByUriAsync(rt::IUriRuntimeClass*, rt::IRegisterPackageOptions*,
                                                        rt::DeploymentOperation**) override {
        return not_simulated(L"PackageManager.RegisterPackageByUriAsync");
    }
    HRESULT STDMETHODCALLTYPE RegisterPackagesByFullNameAsync(rt::IIterable<HSTRING>*, rt::IRegisterPackageOptions*,
                                                              rt::DeploymentOperation**) override {
        return not_simulated(L"PackageManager.RegisterPackagesByFullNameAsync");
    }
    HRESULT STDMETHODCALLTYPE SetPackageStubPreference(HSTRING, rt::PackageStubPreference) override {
        return not_simulated(L"PackageManager.SetPackageStubPreference");
    }
    HRESULT STDMETHODCALLTYPE GetPackageStubPreference(HSTRING, rt::PackageStubPreference*) override {
        return not_simulated(L"PackageManager.GetPackageStubPreference");
    }
};

class package_manager_factory final : public sim::activation_factory<package_manager_factory> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::PackageManager;

    HRESULT STDMETHODCALLTYPE ActivateInstance(IInspectable** instance) override {
        if (!instance) return E_POINTER;
        *instance = nullptr;
        return run_call(L"PackageManager.ActivateInstance", L"", [&] {
            *instance = static_cast<rt::IPackageManager*>(sim::make<package_manager>().detach());
        });
    }
};

const sim::class_registration registration{rt::class_name::PackageManager,
                                           &sim::new_factory<package_manager_factory>};

}  // namespace
