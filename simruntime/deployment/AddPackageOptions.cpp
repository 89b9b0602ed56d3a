// Windows.Management.Deployment.AddPackageOptions: keeps the switches and the
// external location a caller sets; the package manager reads them when an add starts. Every setter is logged with its value, so tests see which switches
// were set and in which order.
#include <windows.h>

#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "ClassNames.h"
#include "ClassTable.h"
#include "ComPtr.h"
#include "Deployment.h"
#include "SimCall.h"
#include "SimMethods.h"
#include "SimObject.h"

namespace {

using sim::not_simulated;

class add_package_options final : public sim::object<add_package_options, rt::IAddPackageOptions> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::AddPackageOptions;

    HRESULT STDMETHODCALLTYPE get_DependencyPackageUris(rt::IVector<rt::Uri>**) override {
        return not_simulated(L"AddPackageOptions.get_DependencyPackageUris");
    }
    HRESULT STDMETHODCALLTYPE get_TargetVolume(rt::IPackageVolume**) override {
        return not_simulated(L"AddPackageOptions.get_TargetVolume");
    }
    HRESULT STDMETHODCALLTYPE put_TargetVolume(rt::IPackageVolume*) override {
        return not_simulated(L"AddPackageOptions.put_TargetVolume");
    }
    HRESULT STDMETHODCALLTYPE get_OptionalPackageFamilyNames(rt::IVector<HSTRING>**) override {
        return not_simulated(L"AddPackageOptions.get_OptionalPackageFamilyNames");
    }
    HRESULT STDMETHODCALLTYPE get_OptionalPackageUris(rt::IVector<rt::Uri>**) override {
        return not_simulated(L"AddPackageOptions.get_OptionalPackageUris");
    }
    HRESULT STDMETHODCALLTYPE get_RelatedPackageUris(rt::IVector<rt::Uri>**) override {
        return not_simulated(L"AddPackageOptions.get_RelatedPackageUris");
    }
    // "AddPackageOptions.ExternalLocationUri Property": null until a caller sets it.
    HRESULT STDMETHODCALLTYPE get_ExternalLocationUri(rt::IUriRuntimeClass** value) override {
        if (!value) return E_POINTER;
        return run_call(L"AddPackageOptions.get_ExternalLocationUri", L"", [&] {
            std::lock_guard lock(mutex_);
            *value = rt::com_ptr<rt::IUriRuntimeClass>(externalLocation_).detach();
        });
    }
    HRESULT STDMETHODCALLTYPE put_ExternalLocationUri(rt::IUriRuntimeClass* value) override {
        return run_call(L"AddPackageOptions.put_ExternalLocationUri", value ? L"uri" : L"null", [&] {
            std::lock_guard lock(mutex_);
            externalLocation_ = rt::com_ptr<rt::IUriRuntimeClass>::copy_from(value);
        });
    }
    HRESULT STDMETHODCALLTYPE get_StubPackageOption(rt::StubPackageOption*) override {
        return not_simulated(L"AddPackageOptions.get_StubPackageOption");
    }
    HRESULT STDMETHODCALLTYPE put_StubPackageOption(rt::StubPackageOption) override {
        return not_simulated(L"AddPackageOptions.put_StubPackageOption");
    }
    HRESULT STDMETHODCALLTYPE get_DeveloperMode(boolean* value) override { return get(L"DeveloperMode", value); }
    HRESULT STDMETHODCALLTYPE put_DeveloperMode(boolean value) override { return put(L"DeveloperMode", value); }
    HRESULT STDMETHODCALLTYPE get_ForceAppShutdown(boolean* value) override { return get(L"ForceAppShutdown", value); }
    HRESULT STDMETHODCALLTYPE put_ForceAppShutdown(boolean value) override { return put(L"ForceAppShutdown", value); }
    HRESULT STDMETHODCALLTYPE get_ForceTargetAppShutdown(boolean* value) override {
        return get(L"ForceTargetAppShutdown", value);
    }
    HRESULT STDMETHODCALLTYPE put_ForceTargetAppShutdown(boolean value) override {
        return put(L"ForceTargetAppShutdown", value);
    }
    HRESULT STDMETHODCALLTYPE get_ForceUpdateFromAnyVersion(boolean* value) override {
        return get(L"ForceUpdateFromAnyVersion", value);
    }
    HRESULT STDMETHODCALLTYPE put_ForceUpdateFromAnyVersion(boolean value) override {
        return put(L"ForceUpdateFromAnyVersion", value);
    }
    HRESULT STDMETHODCALLTYPE get_InstallAllResources(boolean* value) override {
        return get(L"InstallAllResources", value);
    }
    HRESULT STDMETHODCALLTYPE put_InstallAllResources(boolean value) override {
        return put(L"InstallAllResources", value);
    }
    HRESULT STDMETHODCALLTYPE get_RequiredContentGroupOnly(boolean* value) override {
        return get(L"RequiredContentGroupOnly", value);
    }
    HRESULT STDMETHODCALLTYPE put_RequiredContentGroupOnly(boolean value) override {
        return put(L"RequiredContentGroupOnly", value);
    }
    HRESULT STDMETHODCALLTYPE get_RetainFilesOnFailure(boolean* value) override {
        return get(L"RetainFilesOnFailure", value);
    }
    HRESULT STDMETHODCALLTYPE put_RetainFilesOnFailure(boolean value) override {
        return put(L"RetainFilesOnFailure", value);
    }
    HRESULT STDMETHODCALLTYPE get_StageInPlace(boolean* value) override { return get(L"StageInPlace", value); }
    HRESULT STDMETHODCALLTYPE put_StageInPlace(boolean value) override { return put(L"StageInPlace", value); }
    HRESULT STDMETHODCALLTYPE get_AllowUnsigned(boolean* value) override { return get(L"AllowUnsigned", value); }
    HRESULT STDMETHODCALLTYPE put_AllowUnsigned(boolean value) override { return put(L"AllowUnsigned", value); }
    HRESULT STDMETHODCALLTYPE get_DeferRegistrationWhenPackagesAreInUse(boolean* value) override {
        return get(L"DeferRegistrationWhenPackagesAreInUse", value);
    }
    HRESULT STDMETHODCALLTYPE put_DeferRegistrationWhenPackagesAreInUse(boolean value) override {
        return put(L"DeferRegistrationWhenPackagesAreInUse", value);
    }

private:
    // Logged as "AddPackageOptions.put_<name>(0|1)".
    HRESULT put(std::wstring_view name, boolean value) {
        const std::wstring method = L"AddPackageOptions.put_" + std::wstring(name);
        return run_call(method, value ? L"1" : L"0", [&] {
            std::lock_guard lock(mutex_);
            switches_.insert_or_assign(std::wstring(name), value != 0);
        });
    }
    HRESULT get(std::wstring_view name, boolean* value) {
        if (!value) return E_POINTER;
        const std::wstring method = L"AddPackageOptions.get_" + std::wstring(name);
        return run_call(method, L"", [&] {
            std::lock_guard lock(mutex_);
            const auto found = switches_.find(name);
            *value = found != switches_.end() && found->second;
        });
    }

    std::mutex mutex_;
    std::map<std::wstring, bool, std::less<>> switches_;
    rt::com_ptr<rt::IUriRuntimeClass> externalLocation_;
};

class add_package_options_factory final : public sim::activation_factory<add_package_options_factory> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::AddPackageOptions;

    HRESULT STDMETHODCALLTYPE ActivateInstance(IInspectable** instance) override {
        if (!instance) return E_POINTER;
        *instance = nullptr;
        return run_call(L"AddPackageOptions.ActivateInstance", L"", [&] {
            *instance = static_cast<rt::IAddPackageOptions*>(sim::make<add_package_options>().detach());
        });
    }
};

const sim::class_registration registration{rt::class_name::AddPackageOptions,
                                           &sim::new_factory<add_package_options_factory>};

}  // namespace
