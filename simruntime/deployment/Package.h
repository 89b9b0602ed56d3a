#pragma once
// Windows.ApplicationModel.Package and its PackageId, as the simulated
// package manager hands them out: a snapshot of one registration.
#include <string>

#include "ApplicationModel.h"
#include "ComPtr.h"

namespace sim {

struct package_identity {
    std::wstring name;
    std::wstring publisher;
    std::wstring fullName;
    rt::PackageVersion version{};
};

rt::com_ptr<rt::IPackage> make_package(const package_identity& identity);

}  // namespace sim
