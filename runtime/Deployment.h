#pragma once
// Windows.Management.Deployment: the package manager, its options and results.
#include <windows.h>
#include <hstring.h>
#include <inspectable.h>

#include <cstdint>

#include "ApplicationModel.h"
#include "Collections.h"
#include "Foundation.h"
#include "Guid.h"
#include "Signature.h"

namespace rt {

enum class DeploymentProgressState : std::int32_t { Queued = 0, Processing = 1 };
template <>
struct signature<DeploymentProgressState>
    : enum_signature<"Windows.Management.Deployment.DeploymentProgressState", DeploymentProgressState> {};

struct DeploymentProgress {
    DeploymentProgressState state;
    std::uint32_t percentage;
};
template <>
struct signature<DeploymentProgress>
    : struct_signature<"Windows.Management.Deployment.DeploymentProgress", DeploymentProgressState, std::uint32_t> {};

// Flags.
enum class DeploymentOptions : std::uint32_t {
    None = 0,
    ForceApplicationShutdown = 0x1,
    DevelopmentMode = 0x2,
    InstallAllResources = 0x20,
    ForceTargetApplicationShutdown = 0x40,
    RequiredContentGroupOnly = 0x100,
    ForceUpdateFromAnyVersion = 0x40000,
    RetainFilesOnFailure = 0x200000,
    StageInPlace = 0x400000,
};
template <>
struct signature<DeploymentOptions> : enum_signature<"Windows.Management.Deployment.DeploymentOptions", DeploymentOptions> {};

// Flags.
enum class RemovalOptions : std::uint32_t {
    None = 0,
    PreserveRoamableApplicationData = 0x80,
    PreserveApplicationData = 0x1000,
    RemoveForAllUsers = 0x80000,
};
template <>
struct signature<RemovalOptions> : enum_signature<"Windows.Management.Deployment.RemovalOptions", RemovalOptions> {};

enum class PackageState : std::int32_t { Normal = 0, LicenseInvalid = 1, Modified = 2, Tampered = 3 };
template <>
struct signature<PackageState> : enum_signature<"Windows.Management.Deployment.PackageState", PackageState> {};

// Flags.
enum class PackageTypes : std::uint32_t {
    None = 0,
    Main = 0x1,
    Framework = 0x2,
    Resource = 0x4,
    Bundle = 0x8,
    Xap = 0x10,
    Optional = 0x20,
    All = 0xFFFFFFFF,
};
template <>
struct signature<PackageTypes> : enum_signature<"Windows.Management.Deployment.PackageTypes", PackageTypes> {};

enum class StubPackageOption : std::int32_t { Default = 0, InstallFull = 1, InstallStub = 2, UsePreference = 3 };
template <>
struct signature<StubPackageOption> : enum_signature<"Windows.Management.Deployment.StubPackageOption", StubPackageOption> {};

enum class PackageStubPreference : std::int32_t { Full = 0, Stub = 1 };
template <>
struct signature<PackageStubPreference>
    : enum_signature<"Windows.Management.Deployment.PackageStubPreference", PackageStubPreference> {};

// Only passed through here; nothing calls into them.
struct PackageUserInformation;
struct IPackageVolume;
struct IStagePackageOptions;
struct IRegisterPackageOptions;

struct IDeploymentResult : IInspectable {
    static constexpr GUID iid = guid("2563b9ae-b77d-4c1f-8a7b-20e6ad515ef3");
    virtual HRESULT STDMETHODCALLTYPE get_ErrorText(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ActivityId(GUID* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ExtendedErrorCode(HRESULT* value) = 0;
};

struct IDeploymentResult2 : IInspectable {
    static constexpr GUID iid = guid("fc0e715c-5a01-4bd7-bcf1-381c8c82e04a");
    virtual HRESULT STDMETHODCALLTYPE get_IsRegistered(boolean* value) = 0;
};

struct DeploymentResult : runtime_class<"Windows.Management.Deployment.DeploymentResult", IDeploymentResult> {};

// What every package-manager operation returns.
using DeploymentOperation = IAsyncOperationWithProgress<DeploymentResult, DeploymentProgress>;

struct IPackageManager : IInspectable {
    static constexpr GUID iid = guid("9a7d4b65-5e8f-4fc7-a2e5-7f6925cb8b53");
    virtual HRESULT STDMETHODCALLTYPE AddPackageAsync(IUriRuntimeClass* packageUri, IIterable<Uri>* dependencyPackageUris,
                                                      DeploymentOptions deploymentOptions,
                                                      DeploymentOperation** deploymentOperation) = 0;
    virtual HRESULT STDMETHODCALLTYPE UpdatePackageAsync(IUriRuntimeClass* packageUri,
                                                         IIterable<Uri>* dependencyPackageUris,
                                                         DeploymentOptions deploymentOptions,
                                                         DeploymentOperation** deploymentOperation) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemovePackageAsync(HSTRING packageFullName,
                                                         DeploymentOperation** deploymentOperation) = 0;
    virtual HRESULT STDMETHODCALLTYPE StagePackageAsync(IUriRuntimeClass* packageUri, IIterable<Uri>* dependencyPackageUris,
                                                        DeploymentOperation** deploymentOperation) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterPackageAsync(IUriRuntimeClass* manifestUri,
                                                           IIterable<Uri>* dependencyPackageUris,
                                                           DeploymentOptions deploymentOptions,
                                                           DeploymentOperation** deploymentOperation) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindPackages(IIterable<Package>** packageCollection) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindPackagesByUserSecurityId(HSTRING userSecurityId,
                                                                   IIterable<Package>** packageCollection) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindPackagesByNamePublisher(HSTRING packageName, HSTRING packagePublisher,
                                                                  IIterable<Package>** packageCollection) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindPackagesByUserSecurityIdNamePublisher(
        HSTRING userSecurityId, HSTRING packageName, HSTRING packagePublisher, IIterable<Package>** packageCollection) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindUsers(HSTRING packageFullName,
                                                IIterable<PackageUserInformation>** users) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetPackageState(HSTRING packageFullName, PackageState packageState) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindPackageByPackageFullName(HSTRING packageFullName, IPackage** packageInformation) = 0;
    virtual HRESULT STDMETHODCALLTYPE CleanupPackageForUserAsync(HSTRING packageName, HSTRING userSecurityId,
                                                                 DeploymentOperation** deploymentOperation) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindPackagesByPackageFamilyName(HSTRING packageFamilyName,
                                                                      IIterable<Package>** packageCollection) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindPackagesByUserSecurityIdPackageFamilyName(
        HSTRING userSecurityId, HSTRING packageFamilyName, IIterable<Package>** packageCollection) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindPackageByUserSecurityIdPackageFullName(HSTRING userSecurityId,
                                                                                 HSTRING packageFullName,
                                                                                 IPackage** packageInformation) = 0;
};

// The default interface of AddPackageOptions.
struct IAddPackageOptions : IInspectable {
    static constexpr GUID iid = guid("05cee018-f68f-422b-95a4-66679ec77fc0");
    virtual HRESULT STDMETHODCALLTYPE get_DependencyPackageUris(IVector<Uri>** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_TargetVolume(IPackageVolume** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_TargetVolume(IPackageVolume* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_OptionalPackageFamilyNames(IVector<HSTRING>** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_OptionalPackageUris(IVector<Uri>** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_RelatedPackageUris(IVector<Uri>** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ExternalLocationUri(IUriRuntimeClass** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ExternalLocationUri(IUriRuntimeClass* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_StubPackageOption(StubPackageOption* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_StubPackageOption(StubPackageOption value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_DeveloperMode(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_DeveloperMode(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ForceAppShutdown(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ForceAppShutdown(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ForceTargetAppShutdown(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ForceTargetAppShutdown(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ForceUpdateFromAnyVersion(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ForceUpdateFromAnyVersion(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_InstallAllResources(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_InstallAllResources(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_RequiredContentGroupOnly(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_RequiredContentGroupOnly(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_RetainFilesOnFailure(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_RetainFilesOnFailure(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_StageInPlace(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_StageInPlace(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_AllowUnsigned(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_AllowUnsigned(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_DeferRegistrationWhenPackagesAreInUse(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_DeferRegistrationWhenPackagesAreInUse(boolean value) = 0;
};

struct IPackageManager9 : IInspectable {
    static constexpr GUID iid = guid("1aa79035-cc71-4b2e-80a6-c7041d8579a7");
    virtual HRESULT STDMETHODCALLTYPE FindProvisionedPackages(IVector<Package>** result) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddPackageByUriAsync(IUriRuntimeClass* packageUri, IAddPackageOptions* options,
                                                           DeploymentOperation** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE StagePackageByUriAsync(IUriRuntimeClass* packageUri, IStagePackageOptions* options,
                                                             DeploymentOperation** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterPackageByUriAsync(IUriRuntimeClass* manifestUri,
                                                                IRegisterPackageOptions* options,
                                                                DeploymentOperation** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterPackagesByFullNameAsync(IIterable<HSTRING>* packageFullNames,
                                                                      IRegisterPackageOptions* options,
                                                                      DeploymentOperation** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetPackageStubPreference(HSTRING packageFamilyName,
                                                               PackageStubPreference useStub) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPackageStubPreference(HSTRING packageFamilyName,
                                                               PackageStubPreference* value) = 0;
};

}  // namespace rt
