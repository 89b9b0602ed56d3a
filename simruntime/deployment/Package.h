#pragma once
// Windows.ApplicationModel.Package and its PackageId, as the simulated
// package manager hands them out: a snapshot of one registration.
#include <cstdint>
#include <string>

#include "ApplicationModel.h"
#include "ComPtr.h"

namespace sim {

struct package_identity {
    std::wstring name;
    std::wstring publisher;
    std::wstring fullName;
    rt::PackageVersion version{};
    std::uint32_t states = 0;  // sim_control::package_state bits; 0: OK
};

rt::com_ptr<rt::IPackage> make_package(const package_identity& identity);

}  // namespace sim
