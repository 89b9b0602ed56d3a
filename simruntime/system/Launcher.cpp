// Windows.System.Launcher: a URI is handled when an installed application
// declares its scheme. The notification package declares
// "orvale-notification", so that scheme is handled exactly while the package
// is registered for the current user; no other scheme is handled.
// Every launch the handler receives is recorded. Host processes that tests
// start are steered through their environment instead: each launch is
// appended as one line to the file SIMRUNTIME_LAUNCHED_URIS_FILE names, and
// SIMRUNTIME_LAUNCH_RESULT ("true", "false", "error:0x80070005") sets the result.
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "AsyncOperation.h"
#include "ClassNames.h"
#include "ClassTable.h"
#include "EnvironmentVariable.h"
#include "ForeignException.h"
#include "HString.h"
#include "Launcher.h"
#include "LauncherSimControl.h"
#include "PackageTable.h"
#include "RuntimeError.h"
#include "SimCall.h"
#include "SimMethods.h"
#include "SimObject.h"
#include "SimState.h"

namespace {

using rt::LaunchQuerySupportStatus;
using rt::LaunchQuerySupportType;
using sim::environment_variable;
using sim::not_simulated;

constexpr wchar_t kLaunchMethod[] = L"Launcher.LaunchUriAsync";
constexpr wchar_t kQueryMethod[] = L"Launcher.QueryUriSupportAsync";
constexpr wchar_t kLaunchedUrisFileVariable[] = L"SIMRUNTIME_LAUNCHED_URIS_FILE";
constexpr wchar_t kLaunchResultVariable[] = L"SIMRUNTIME_LAUNCH_RESULT";

// What the notification package's manifest declares.
constexpr wchar_t kPackageScheme[] = L"orvale-notification";
constexpr wchar_t kPackageName[] = L"4E7A21C9.store";
constexpr wchar_t kPackagePublisher[] = L"CN=6F2B1D40-8C3E-4A7B-9D15-2E8F0C4A7B31";

struct launch_result {
    bool launched = true;
    HRESULT failure = S_OK;  // when it failed, the operation ends as Error with it
};

struct launcher_state {
    std::vector<std::wstring> launched;
    std::optional<launch_result> steeredResult;
};

// Guarded by sim::state_mutex(). Never destroyed: operation threads may still
// reach it while the process exits.
launcher_state& state() {
    static auto* instance = new launcher_state;
    return *instance;
}

const sim::reset_registration reset{[] { state() = launcher_state{}; }};

// A misspelt steering fails the launch rather than passing unnoticed.
launch_result parse_launch_result(const std::wstring& text) {
    if (text == L"true") return {};
    if (text == L"false") return {false, S_OK};
    constexpr std::wstring_view errorPrefix = L"error:";
    if (text.starts_with(errorPrefix)) {
        const wchar_t* digits = text.c_str() + errorPrefix.size();
        wchar_t* end = nullptr;
        const auto code = static_cast<HRESULT>(std::wcstoul(digits, &end, 16));
        if (end != digits && *end == L'\0' && FAILED(code)) return {false, code};
    }
    return {false, E_INVALIDARG};
}

// "Launcher.LaunchUriAsync(Uri) Method": "The calling app must be visible to
// the user when the API is invoked"; otherwise the launch yields false. A
// steered false stands for that caller.
launch_result planned_launch_result() {
    {
        std::lock_guard lock(sim::state_mutex());
        if (state().steeredResult) return *state().steeredResult;
    }
    const auto steered = environment_variable(kLaunchResultVariable);
    return steered ? parse_launch_result(*steered) : launch_result{};
}

void append_to_launched_uris_file(const std::wstring& uri) {
    const auto path = environment_variable(kLaunchedUrisFileVariable);
    if (!path) return;
    std::string line(uri.size() * 3 + 1, '\0');
    line.resize(WideCharToMultiByte(CP_UTF8, 0, uri.data(), static_cast<int>(uri.size()), line.data(),
                                    static_cast<int>(line.size()), nullptr, nullptr));
    line += '\n';
    FILE* file = nullptr;
    if (_wfopen_s(&file, path->c_str(), L"ab") != 0 || !file) return;
    fwrite(line.data(), 1, line.size(), file);
    fclose(file);
}

void record_launch(const std::wstring& uri) {
    append_to_launched_uris_file(uri);
    std::lock_guard lock(sim::state_mutex());
    state().launched.push_back(uri);
}

bool notification_package_registered() {
    return !sim::find_packages(L"", kPackageName, kPackagePublisher).empty();
}

// "LaunchQuerySupportStatus Enum": Available when an installed application
// handles the activation, AppNotInstalled (1) "No app is installed to handle
// the activation". The package's protocol handler is a plain one: it returns
// no results.
LaunchQuerySupportStatus support_for(const std::wstring& scheme, LaunchQuerySupportType type) {
    if (scheme == kPackageScheme && type == LaunchQuerySupportType::Uri && notification_package_registered()) {
        return LaunchQuerySupportStatus::Available;
    }
    return LaunchQuerySupportStatus::AppNotInstalled;
}

template <class Getter>
std::wstring text_of(rt::IUriRuntimeClass* uri, Getter getter) {
    if (!uri) throw rt::hresult_error(E_POINTER);
    rt::hstring text;
    rt::check((uri->*getter)(text.put()));
    return text.str();
}

// Schemes are ASCII.
class launcher_statics final
    : public sim::activation_factory<launcher_statics, rt::ILauncherStatics, rt::ILauncherStatics2> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::Launcher;

    HRESULT STDMETHODCALLTYPE LaunchUriAsync(rt::IUriRuntimeClass* uri, rt::IAsyncOperation<bool>** operation) override {
        if (!operation) return E_POINTER;
        *operation = nullptr;
        return rt::hresult_from([&] {
            // The handler receives the URI as the caller wrote it.
            const std::wstring text = text_of(uri, &rt::IUriRuntimeClass::get_RawUri);
            return run_call(kLaunchMethod, text, [&] {
                const launch_result result = planned_launch_result();
                *operation = sim::start_async<rt::IAsyncOperation<bool>>(sim::plan_for(kLaunchMethod), [text, result] {
                                 if (FAILED(result.failure)) throw rt::hresult_error(result.failure);
                                 if (result.launched) record_launch(text);
                                 return result.launched;
                             }).detach();
            });
        });
    }

    HRESULT STDMETHODCALLTYPE QueryUriSupportAsync(rt::IUriRuntimeClass* uri, LaunchQuerySupportType type,
                                                   rt::LaunchQuerySupportOperation** operation) override {
        if (!operation) return E_POINTER;
        *operation = nullptr;
        sim::throw_if_planned(kQueryMethod);
        return rt::hresult_from([&] {
            const std::wstring text = text_of(uri, &rt::IUriRuntimeClass::get_RawUri);
            const std::wstring scheme = text_of(uri, &rt::IUriRuntimeClass::get_SchemeName);
            const std::wstring arguments = text + L", " + std::to_wstring(static_cast<int>(type));
            return run_call(kQueryMethod, arguments, [&]() -> HRESULT {
                if (type != LaunchQuerySupportType::Uri && type != LaunchQuerySupportType::UriForResults) {
                    return E_INVALIDARG;
                }
                *operation = sim::start_async<rt::LaunchQuerySupportOperation>(
                                 sim::plan_for(kQueryMethod), [scheme, type] { return support_for(scheme, type); })
                                 .detach();
                return S_OK;
            });
        });
    }

    // Nothing needs the rest.
    HRESULT STDMETHODCALLTYPE LaunchFileAsync(rt::IStorageFile*, rt::IAsyncOperation<bool>**) override {
        return not_simulated(L"Launcher.LaunchFileAsync");
    }
    HRESULT STDMETHODCALLTYPE LaunchFileWithOptionsAsync(rt::IStorageFile*, rt::ILauncherOptions*,
                                                         rt::IAsyncOperation<bool>**) override {
        return not_simulated(L"Launcher.LaunchFileWithOptionsAsync");
    }
    HRESULT STDMETHODCALLTYPE LaunchUriWithOptionsAsync(rt::IUriRuntimeClass*, rt::ILauncherOptions*,
                                                        rt::IAsyncOperation<bool>**) override {
        return not_simulated(L"Launcher.LaunchUriWithOptionsAsync");
    }
    HRESULT STDMETHODCALLTYPE LaunchUriForResultsAsync(rt::IUriRuntimeClass*, rt::ILauncherOptions*,
                                                       rt::IAsyncOperation<rt::LaunchUriResult>**) override {
        return not_simulated(L"Launcher.LaunchUriForResultsAsync");
    }
    HRESULT STDMETHODCALLTYPE LaunchUriForResultsWithDataAsync(rt::IUriRuntimeClass*, rt::ILauncherOptions*,
                                                               rt::IPropertySet*,
                                                               rt::IAsyncOperation<rt::LaunchUriResult>**) override {
        return not_simulated(L"Launcher.LaunchUriForResultsWithDataAsync");
    }
    HRESULT STDMETHODCALLTYPE LaunchUriWithDataAsync(rt::IUriRuntimeClass*, rt::ILauncherOptions*, rt::IPropertySet*,
                                                     rt::IAsyncOperation<bool>**) override {
        return not_simulated(L"Launcher.LaunchUriWithDataAsync");
    }
    HRESULT STDMETHODCALLTYPE QueryUriSupportWithPackageFamilyNameAsync(rt::IUriRuntimeClass*, LaunchQuerySupportType,
                                                                        HSTRING,
                                                                        rt::LaunchQuerySupportOperation**) override {
        return not_simulated(L"Launcher.QueryUriSupportWithPackageFamilyNameAsync");
    }
    HRESULT STDMETHODCALLTYPE QueryFileSupportAsync(rt::IStorageFile*, rt::LaunchQuerySupportOperation**) override {
        return not_simulated(L"Launcher.QueryFileSupportAsync");
    }
    HRESULT STDMETHODCALLTYPE QueryFileSupportWithPackageFamilyNameAsync(rt::IStorageFile*, HSTRING,
                                                                         rt::LaunchQuerySupportOperation**) override {
        return not_simulated(L"Launcher.QueryFileSupportWithPackageFamilyNameAsync");
    }
    HRESULT STDMETHODCALLTYPE
    FindUriSchemeHandlersAsync(HSTRING, rt::IAsyncOperation<rt::IVectorView<rt::AppInfo>>**) override {
        return not_simulated(L"Launcher.FindUriSchemeHandlersAsync");
    }
    HRESULT STDMETHODCALLTYPE FindUriSchemeHandlersWithLaunchUriTypeAsync(
        HSTRING, LaunchQuerySupportType, rt::IAsyncOperation<rt::IVectorView<rt::AppInfo>>**) override {
        return not_simulated(L"Launcher.FindUriSchemeHandlersWithLaunchUriTypeAsync");
    }
    HRESULT STDMETHODCALLTYPE
    FindFileHandlersAsync(HSTRING, rt::IAsyncOperation<rt::IVectorView<rt::AppInfo>>**) override {
        return not_simulated(L"Launcher.FindFileHandlersAsync");
    }
};

const sim::class_registration registration{rt::class_name::Launcher, &sim::new_factory<launcher_statics>};

template <class Change>
HRESULT change_state(Change&& change) noexcept {
    return rt::hresult_from([&] {
        std::lock_guard lock(sim::state_mutex());
        change(state());
    });
}

}  // namespace

extern "C" __declspec(dllexport) HRESULT SimRuntime_LaunchedUri(UINT32 index, HSTRING* uri) {
    if (!uri) return E_POINTER;
    *uri = nullptr;
    bool found = false;
    const HRESULT read = change_state([&](launcher_state& current) {
        if (index >= current.launched.size()) return;
        *uri = rt::hstring(current.launched[index]).detach();
        found = true;
    });
    if (FAILED(read)) return read;
    return found ? S_OK : S_FALSE;
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_SetLaunchResult(BOOL launched, HRESULT failure) {
    return change_state([&](launcher_state& current) {
        current.steeredResult = launch_result{launched != FALSE, failure};
    });
}
