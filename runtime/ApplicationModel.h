#pragma once
// Windows.ApplicationModel: packages and their identity.
#include <windows.h>
#include <hstring.h>
#include <inspectable.h>

#include <cstdint>

#include "Collections.h"
#include "Foundation.h"
#include "Guid.h"
#include "Signature.h"

namespace rt {

struct PackageVersion {
    std::uint16_t Major;
    std::uint16_t Minor;
    std::uint16_t Build;
    std::uint16_t Revision;
};
template <>
struct signature<PackageVersion> : struct_signature<"Windows.ApplicationModel.PackageVersion", std::uint16_t,
                                                    std::uint16_t, std::uint16_t, std::uint16_t> {};

// Windows.System.ProcessorArchitecture; package identities are its only user here.
enum class ProcessorArchitecture : std::int32_t {
    X86 = 0,
    Arm = 5,
    X64 = 9,
    Neutral = 11,
    Arm64 = 12,
    X86OnArm64 = 14,
    Unknown = 65535,
};
template <>
struct signature<ProcessorArchitecture> : enum_signature<"Windows.System.ProcessorArchitecture", ProcessorArchitecture> {};

// Only passed through here; nothing calls into it.
struct IStorageFolder;

struct IPackageId : IInspectable {
    static constexpr GUID iid = guid("1adb665e-37c7-4790-9980-dd7ae74e8bb2");
    virtual HRESULT STDMETHODCALLTYPE get_Name(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Version(PackageVersion* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Architecture(ProcessorArchitecture* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ResourceId(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Publisher(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_PublisherId(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_FullName(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_FamilyName(HSTRING* value) = 0;
};

struct Package;

struct IPackage : IInspectable {
    static constexpr GUID iid = guid("163c792f-bd75-413c-bf23-b1fe7b95d825");
    virtual HRESULT STDMETHODCALLTYPE get_Id(IPackageId** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_InstalledLocation(IStorageFolder** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_IsFramework(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Dependencies(IVectorView<Package>** value) = 0;
};

struct Package : runtime_class<"Windows.ApplicationModel.Package", IPackage> {};
struct PackageId : runtime_class<"Windows.ApplicationModel.PackageId", IPackageId> {};

// A snapshot: read IPackage3::get_Status again for the current state. Agile.
struct IPackageStatus : IInspectable {
    static constexpr GUID iid = guid("5fe74f71-a365-4c09-a02d-046d525ea1da");
    virtual HRESULT STDMETHODCALLTYPE VerifyIsOK(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_NotAvailable(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_PackageOffline(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_DataOffline(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Disabled(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_NeedsRemediation(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_LicenseIssue(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Modified(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Tampered(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_DependencyIssue(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Servicing(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_DeploymentInProgress(boolean* value) = 0;
};

// Only its slot is needed here: an IAsyncOperation<IVectorView<AppListEntry>>.
struct IAppListEntriesOperation;

// Reached from IPackage by QueryInterface.
struct IPackage3 : IInspectable {
    static constexpr GUID iid = guid("5f738b61-f86a-4917-93d1-f1ee9d3b35d9");
    virtual HRESULT STDMETHODCALLTYPE get_Status(IPackageStatus** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_InstalledDate(DateTime* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAppListEntriesAsync(IAppListEntriesOperation** operation) = 0;
};

}  // namespace rt
