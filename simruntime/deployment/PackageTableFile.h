#pragma once
// The package table kept in the file SIMRUNTIME_PACKAGE_TABLE_FILE names, so
// that registrations outlive the process that made them, as on Windows: host
// processes that tests start one after another share it. Without the variable
// the table lives in the process only.
#include <optional>
#include <vector>

#include "Package.h"

namespace sim {

struct stored_packages {
    std::vector<package_identity> registered;
    std::optional<package_identity> inFile;  // absent: the default package file
};

// Nullopt when the variable is not set; a missing file holds nothing.
std::optional<stored_packages> load_stored_packages();

// Replaces the file at once (written aside, then renamed over it); does
// nothing when the variable is not set. Throws rt::hresult_error.
void store_packages(const stored_packages& packages);

}  // namespace sim
