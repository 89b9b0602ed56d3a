#include "PackageTable.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <utility>

#include "PackageSimControl.h"
#include "PackageTableFile.h"
#include "RuntimeError.h"
#include "SimState.h"

namespace {

sim::package_identity default_package_in_file() {
    return {L"Sim.Package", L"CN=Sim", L"Sim.Package_1.0.0.0_x64__sim", {1, 0, 0, 0}};
}

struct package_table {
    std::vector<sim::package_identity> registered;
    sim::package_identity inFile = default_package_in_file();
    std::deque<sim::deployment_report> queuedAddReports;
    std::vector<rt::com_ptr<rt::DeploymentOperation>> operations;
};

// Never destroyed: operation threads may still reach it while the process exits.
package_table& table() {
    static auto* instance = new package_table;
    return *instance;
}

// Under the lock. When the table is kept in a file, another process may have
// changed it since this one last looked.
package_table& current_table() {
    package_table& current = table();
    if (auto stored = sim::load_stored_packages()) {
        current.registered = std::move(stored->registered);
        current.inFile = stored->inFile.value_or(default_package_in_file());
    }
    return current;
}

// Under the lock, after every change.
void store(const package_table& current) { sim::store_packages({current.registered, current.inFile}); }

const sim::reset_registration reset{[] {
    table() = package_table{};
    store(table());
}};

template <class Change>
HRESULT change_table(Change&& change) noexcept {
    return rt::hresult_from([&] {
        std::lock_guard lock(sim::state_mutex());
        change(current_table());
        store(table());
    });
}

// Tabs and line ends would break the table file; package names never hold them.
void require_storable(const wchar_t* text) {
    if (std::wstring_view(text).find_first_of(L"\t\r\n") != std::wstring_view::npos) {
        throw rt::hresult_error(E_INVALIDARG);
    }
}

sim::package_identity identity_of(const wchar_t* name, const wchar_t* publisher, const wchar_t* fullName,
                                  rt::PackageVersion version) {
    if (!name || !publisher || !fullName) throw rt::hresult_error(E_POINTER);
    for (const wchar_t* text : {name, publisher, fullName}) require_storable(text);
    return {name, publisher, fullName, version};
}

}  // namespace

namespace sim {

std::vector<package_identity> find_packages(std::wstring_view userSecurityId, std::wstring_view name,
                                            std::wstring_view publisher) {
    std::lock_guard lock(state_mutex());
    std::vector<package_identity> found;
    if (!userSecurityId.empty()) return found;
    for (const auto& package : current_table().registered) {
        if (package.name == name && package.publisher == publisher) found.push_back(package);
    }
    return found;
}

void register_package_from_file() {
    std::lock_guard lock(state_mutex());
    package_table& current = current_table();
    const package_identity added = current.inFile;
    std::erase_if(current.registered, [&](const package_identity& package) { return package.name == added.name; });
    current.registered.push_back(added);
    store(current);
}

bool remove_package(std::wstring_view fullName) {
    std::lock_guard lock(state_mutex());
    package_table& current = current_table();
    const bool removed = std::erase_if(current.registered, [&](const package_identity& package) {
                             return package.fullName == fullName;
                         }) > 0;
    if (removed) store(current);
    return removed;
}

deployment_report next_add_report() {
    std::lock_guard lock(state_mutex());
    auto& queued = table().queuedAddReports;
    if (queued.empty()) return {};
    deployment_report report = std::move(queued.front());
    queued.pop_front();
    return report;
}

void remember_operation(const rt::com_ptr<rt::DeploymentOperation>& operation) {
    std::lock_guard lock(state_mutex());
    table().operations.push_back(operation);
}

}  // namespace sim

extern "C" __declspec(dllexport) HRESULT SimRuntime_RegisterPackage(const wchar_t* name, const wchar_t* publisher,
                                                                    const wchar_t* fullName, UINT16 major,
                                                                    UINT16 minor, UINT16 build, UINT16 revision) {
    return change_table([&](package_table& current) {
        current.registered.push_back(identity_of(name, publisher, fullName, {major, minor, build, revision}));
    });
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_SetPackageInFile(const wchar_t* name, const wchar_t* publisher,
                                                                     const wchar_t* fullName, UINT16 major,
                                                                     UINT16 minor, UINT16 build, UINT16 revision) {
    return change_table([&](package_table& current) {
        current.inFile = identity_of(name, publisher, fullName, {major, minor, build, revision});
    });
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_QueueUnregisteredDeployment(HRESULT extendedErrorCode,
                                                                                const wchar_t* errorText) {
    if (!errorText) return E_POINTER;
    return change_table([&](package_table& current) {
        current.queuedAddReports.push_back({false, extendedErrorCode, errorText});
    });
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_DeploymentOperationHandler(UINT32 index, IUnknown** handler) {
    if (!handler) return E_POINTER;
    *handler = nullptr;
    rt::com_ptr<rt::DeploymentOperation> operation;
    {
        std::lock_guard lock(sim::state_mutex());
        if (index < table().operations.size()) operation = table().operations[index];
    }
    if (!operation) return S_FALSE;
    rt::com_ptr<rt::DeploymentOperation::completed_handler> completed;
    const HRESULT read = operation->get_Completed(completed.put());
    *handler = completed.detach();
    return read;
}
