#pragma once
// How tests steer the simulated package manager (beside SimRuntimeControl.h,
// which steers what all simulated classes share: delays, outcomes, failures,
// the call log).
#include <windows.h>
#include <unknwn.h>
#include <hstring.h>

#include <cstdint>
#include <string>
#include <vector>

#include "ComPtr.h"
#include "HString.h"
#include "SimRuntimeControl.h"

extern "C" {
// Adds a registration for the current user, after those already there.
SIMRUNTIME_EXPORT HRESULT
    SimRuntime_RegisterPackage(const wchar_t* name, const wchar_t* publisher, const wchar_t* fullName, UINT16 major,
                               UINT16 minor, UINT16 build, UINT16 revision);
// The identity that adding any existing package file registers.
SIMRUNTIME_EXPORT HRESULT
    SimRuntime_SetPackageInFile(const wchar_t* name, const wchar_t* publisher, const wchar_t* fullName, UINT16 major,
                                UINT16 minor, UINT16 build, UINT16 revision);
// The next add operation completes without registering: IsRegistered false,
// with this ExtendedErrorCode and ErrorText. Queued reports are used in order.
SIMRUNTIME_EXPORT HRESULT SimRuntime_QueueUnregisteredDeployment(HRESULT extendedErrorCode, const wchar_t* errorText);
// The completion handler that the `index`-th package operation since the last
// reset holds: a new reference, or null before that operation started and
// once it ended and let its handler go.
SIMRUNTIME_EXPORT HRESULT SimRuntime_DeploymentOperationHandler(UINT32 index, IUnknown** handler);
// The next call of `method` lets a C++ exception out instead of returning an
// HRESULT (package manager methods, Uri.CreateUri and
// Launcher.QueryUriSupportAsync); calls queue.
SIMRUNTIME_EXPORT HRESULT SimRuntime_ThrowFromNextCall(const wchar_t* method);
// Processes ("a.exe;b.exe") running under the package of that name, until an
// add of it shuts them down; empty: none.
SIMRUNTIME_EXPORT HRESULT SimRuntime_SetPackageProcesses(const wchar_t* name, const wchar_t* processes);
// Rules for adds that are off by default: refusing a version already
// registered (0x80073CF9), and a package file that gives identity only with
// an external location.
SIMRUNTIME_EXPORT HRESULT SimRuntime_SetAddRules(BOOL refuseRegisteredVersion, BOOL fileNeedsExternalLocation);
// Cancel on a package operation ends it as Canceled only this long after the request.
SIMRUNTIME_EXPORT HRESULT SimRuntime_SetDeploymentCancelDelayMs(UINT32 delayMs);
// The states (sim_control::package_state bits) that Package.Status reports
// for the registration of that full name from now on; 0: OK. Kept with the
// registration, in the table file too, until an add replaces it.
SIMRUNTIME_EXPORT HRESULT SimRuntime_SetPackageStatus(const wchar_t* fullName, UINT32 states);
// The `index`-th record of `kind` since the last reset: 0 a process an add
// shut down, 1 the full name of a package registered without identity;
// S_FALSE and null past the end.
SIMRUNTIME_EXPORT HRESULT SimRuntime_AddRecord(UINT32 kind, UINT32 index, HSTRING* text);
}

namespace sim_control {

struct package_registration {
    std::wstring name;
    std::wstring publisher;
    std::wstring fullName;
    std::uint16_t major = 1, minor = 0, build = 0, revision = 0;
};

inline void register_package(const package_registration& package) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_RegisterPackage)(package.name.c_str(), package.publisher.c_str(),
                                                            package.fullName.c_str(), package.major, package.minor,
                                                            package.build, package.revision),
          "SimRuntime_RegisterPackage");
}

inline void set_package_in_file(const package_registration& package) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_SetPackageInFile)(package.name.c_str(), package.publisher.c_str(),
                                                             package.fullName.c_str(), package.major, package.minor,
                                                             package.build, package.revision),
          "SimRuntime_SetPackageInFile");
}

inline void queue_unregistered_deployment(HRESULT extendedErrorCode, const std::wstring& errorText) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_QueueUnregisteredDeployment)(extendedErrorCode, errorText.c_str()),
          "SimRuntime_QueueUnregisteredDeployment");
}

inline rt::com_ptr<IUnknown> deployment_operation_handler(UINT32 index) {
    rt::com_ptr<IUnknown> handler;
    check(SIM_CONTROL_FUNCTION(SimRuntime_DeploymentOperationHandler)(index, handler.put()),
          "SimRuntime_DeploymentOperationHandler");
    return handler;
}

inline void throw_from_next_call(const wchar_t* method) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_ThrowFromNextCall)(method), "SimRuntime_ThrowFromNextCall");
}

inline void set_package_processes(const std::wstring& name, const std::wstring& processes) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_SetPackageProcesses)(name.c_str(), processes.c_str()),
          "SimRuntime_SetPackageProcesses");
}

struct add_rules {
    bool refuseRegisteredVersion = false;
    bool fileNeedsExternalLocation = false;
};

inline void set_add_rules(const add_rules& rules) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_SetAddRules)(rules.refuseRegisteredVersion, rules.fileNeedsExternalLocation),
          "SimRuntime_SetAddRules");
}

inline void set_deployment_cancel_delay_ms(UINT32 delayMs) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_SetDeploymentCancelDelayMs)(delayMs), "SimRuntime_SetDeploymentCancelDelayMs");
}

// What the leaf properties of PackageStatus report, one bit each; the
// aggregate ones (NotAvailable, NeedsRemediation, Servicing, VerifyIsOK)
// follow from them.
enum package_state : std::uint32_t {
    package_offline = 1u << 0,
    data_offline = 1u << 1,
    disabled = 1u << 2,
    license_issue = 1u << 3,
    modified = 1u << 4,
    tampered = 1u << 5,
    dependency_issue = 1u << 6,
    deployment_in_progress = 1u << 7,
};
inline constexpr std::uint32_t any_package_state = (deployment_in_progress << 1) - 1;

inline void set_package_status(const std::wstring& fullName, std::uint32_t states) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_SetPackageStatus)(fullName.c_str(), states), "SimRuntime_SetPackageStatus");
}

namespace package_detail {
inline std::vector<std::wstring> add_records(UINT32 kind) {
    const auto read = SIM_CONTROL_FUNCTION(SimRuntime_AddRecord);
    return read_lines([&](UINT32 index, HSTRING* text) { return read(kind, index, text); }, "SimRuntime_AddRecord");
}
}  // namespace package_detail

// Processes the adds shut down, in order.
inline std::vector<std::wstring> shut_down_processes() { return package_detail::add_records(0); }
// Full names of packages registered without giving identity.
inline std::vector<std::wstring> registered_without_identity() { return package_detail::add_records(1); }

}  // namespace sim_control
