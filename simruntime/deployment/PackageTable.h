#pragma once
// The packages registered for the current user, what the package file holds,
// and what tests planned for package operations. Guarded by sim::state_mutex()
// and cleared by SimRuntime_Reset. When SIMRUNTIME_PACKAGE_TABLE_FILE names a
// file, the registrations and the package file's identity are kept there
// (PackageTableFile.h), read before and written after every operation.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ComPtr.h"
#include "Deployment.h"
#include "DeploymentResult.h"
#include "Package.h"

namespace sim {

// The current user's registrations matching name and publisher, in the order
// they were registered. The simulation knows only the current user, whose
// security id is the empty string.
std::vector<package_identity> find_packages(std::wstring_view userSecurityId, std::wstring_view name,
                                            std::wstring_view publisher);

// The states of the registration with that full name; nullopt when there is none.
std::optional<std::uint32_t> registered_package_states(std::wstring_view fullName);

// What an add asked for, as its AddPackageOptions say.
struct add_request {
    bool forceShutdown = false;     // ForceAppShutdown or ForceTargetAppShutdown
    bool externalLocation = false;  // an ExternalLocationUri was given
};

// Registers the identity the package file holds, replacing a registration of
// the same name, under the platform's rules for adds (PackageTable.cpp);
// throws rt::hresult_error where they refuse it.
void register_package_from_file(const add_request& request);

// False when no registration has that full name.
bool remove_package(std::wstring_view fullName);

// How the next add operation reports: registered unless a test queued otherwise.
deployment_report next_add_report();

// Kept until the next reset, so tests can look at their completion handlers.
void remember_operation(const rt::com_ptr<rt::DeploymentOperation>& operation);

// How long Cancel on a package operation stays a request before the operation
// ends as Canceled (0: at once).
std::uint32_t deployment_cancel_delay_ms();

}  // namespace sim
