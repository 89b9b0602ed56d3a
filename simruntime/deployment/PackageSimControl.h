#pragma once
// How tests steer the simulated package manager (beside SimRuntimeControl.h,
// which steers what all simulated classes share: delays, outcomes, failures,
// the call log).
#include <windows.h>
#include <unknwn.h>

#include <cstdint>
#include <string>

#include "ComPtr.h"
#include "SimRuntimeControl.h"

extern "C" {
// Adds a registration for the current user, after those already there.
HRESULT SimRuntime_RegisterPackage(const wchar_t* name, const wchar_t* publisher, const wchar_t* fullName,
                                   UINT16 major, UINT16 minor, UINT16 build, UINT16 revision);
// The identity that adding any existing package file registers.
HRESULT SimRuntime_SetPackageInFile(const wchar_t* name, const wchar_t* publisher, const wchar_t* fullName,
                                    UINT16 major, UINT16 minor, UINT16 build, UINT16 revision);
// The next add operation completes without registering: IsRegistered false,
// with this ExtendedErrorCode and ErrorText. Queued reports are used in order.
HRESULT SimRuntime_QueueUnregisteredDeployment(HRESULT extendedErrorCode, const wchar_t* errorText);
// The completion handler that the `index`-th package operation since the last
// reset holds: a new reference, or null before that operation started and
// once it ended and let its handler go.
HRESULT SimRuntime_DeploymentOperationHandler(UINT32 index, IUnknown** handler);
// The next call of `method` lets a C++ exception out instead of returning an
// HRESULT (package manager methods only); calls queue.
HRESULT SimRuntime_ThrowFromNextCall(const wchar_t* method);
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

}  // namespace sim_control
