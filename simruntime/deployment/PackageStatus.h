#pragma once
// Windows.ApplicationModel.PackageStatus: what a registration's states (the
// sim_control::package_state bits, any combination) make each of its
// properties read.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "ApplicationModel.h"
#include "ComPtr.h"

namespace sim {

// A snapshot of these states, as Package.Status hands it out.
rt::com_ptr<rt::IPackageStatus> make_package_status(std::uint32_t states);

// "Tampered,Disabled" for the package table file; "" for none.
std::wstring package_state_names(std::uint32_t states);
// Nullopt when a name is not one of the states.
std::optional<std::uint32_t> package_states_from_names(std::wstring_view names);

}  // namespace sim
