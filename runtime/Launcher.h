#pragma once
// Windows.System.Launcher: launching a URI by its protocol, and asking first
// whether any application handles it. A static class: its statics come from
// the activation factory of rt::class_name::Launcher.
#include <windows.h>
#include <hstring.h>
#include <inspectable.h>

#include <cstdint>

#include "Collections.h"
#include "Foundation.h"
#include "Guid.h"
#include "Signature.h"

namespace rt {

enum class LaunchQuerySupportType : std::int32_t { Uri = 0, UriForResults = 1 };
template <>
struct signature<LaunchQuerySupportType> : enum_signature<"Windows.System.LaunchQuerySupportType", LaunchQuerySupportType> {};

enum class LaunchQuerySupportStatus : std::int32_t {
    Available = 0,
    AppNotInstalled = 1,
    AppUnavailable = 2,
    NotSupported = 3,
    Unknown = 4,
};
template <>
struct signature<LaunchQuerySupportStatus>
    : enum_signature<"Windows.System.LaunchQuerySupportStatus", LaunchQuerySupportStatus> {};

using LaunchQuerySupportOperation = IAsyncOperation<LaunchQuerySupportStatus>;

// Only passed through here; nothing calls into them.
struct IStorageFile;
struct ILauncherOptions;
struct LaunchUriResult;
struct AppInfo;

struct ILauncherStatics : IInspectable {
    static constexpr GUID iid = guid("277151c3-9e3e-42f6-91a4-5dfdeb232451");
    virtual HRESULT STDMETHODCALLTYPE LaunchFileAsync(IStorageFile* file, IAsyncOperation<bool>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE LaunchFileWithOptionsAsync(IStorageFile* file, ILauncherOptions* options,
                                                                 IAsyncOperation<bool>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE LaunchUriAsync(IUriRuntimeClass* uri, IAsyncOperation<bool>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE LaunchUriWithOptionsAsync(IUriRuntimeClass* uri, ILauncherOptions* options,
                                                                IAsyncOperation<bool>** operation) = 0;
};

struct ILauncherStatics2 : IInspectable {
    static constexpr GUID iid = guid("59ba2fbb-24cb-4c02-a4c4-8294569d54f1");
    virtual HRESULT STDMETHODCALLTYPE LaunchUriForResultsAsync(IUriRuntimeClass* uri, ILauncherOptions* options,
                                                               IAsyncOperation<LaunchUriResult>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE LaunchUriForResultsWithDataAsync(IUriRuntimeClass* uri, ILauncherOptions* options,
                                                                       IPropertySet* inputData,
                                                                       IAsyncOperation<LaunchUriResult>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE LaunchUriWithDataAsync(IUriRuntimeClass* uri, ILauncherOptions* options,
                                                             IPropertySet* inputData,
                                                             IAsyncOperation<bool>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE QueryUriSupportAsync(IUriRuntimeClass* uri,
                                                           LaunchQuerySupportType launchQuerySupportType,
                                                           LaunchQuerySupportOperation** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE QueryUriSupportWithPackageFamilyNameAsync(
        IUriRuntimeClass* uri, LaunchQuerySupportType launchQuerySupportType, HSTRING packageFamilyName,
        LaunchQuerySupportOperation** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE QueryFileSupportAsync(IStorageFile* file,
                                                            LaunchQuerySupportOperation** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE QueryFileSupportWithPackageFamilyNameAsync(
        IStorageFile* file, HSTRING packageFamilyName, LaunchQuerySupportOperation** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindUriSchemeHandlersAsync(HSTRING scheme,
                                                                 IAsyncOperation<IVectorView<AppInfo>>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindUriSchemeHandlersWithLaunchUriTypeAsync(
        HSTRING scheme, LaunchQuerySupportType launchQuerySupportType,
        IAsyncOperation<IVectorView<AppInfo>>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindFileHandlersAsync(HSTRING extension,
                                                            IAsyncOperation<IVectorView<AppInfo>>** operation) = 0;
};

}  // namespace rt
