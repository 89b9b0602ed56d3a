#include "PackageTable.h"

#include <algorithm>
#include <deque>
#include <map>
#include <mutex>
#include <utility>

#include "PackageSimControl.h"
#include "PackageTableFile.h"
#include "HString.h"
#include "RuntimeError.h"
#include "SimState.h"

namespace {

constexpr HRESULT kInstallFailed = static_cast<HRESULT>(0x80073CF9);

sim::package_identity default_package_in_file() {
    return {L"Sim.Package", L"CN=Sim", L"Sim.Package_1.0.0.0_x64__sim", {1, 0, 0, 0}};
}

struct package_table {
    std::vector<sim::package_identity> registered;
    sim::package_identity inFile = default_package_in_file();
    std::deque<sim::deployment_report> queuedAddReports;
    std::vector<rt::com_ptr<rt::DeploymentOperation>> operations;
    // Steering of the platform's rules for adds (register_package_from_file).
    std::map<std::wstring, std::vector<std::wstring>, std::less<>> runningProcesses;  // by package name
    std::vector<std::wstring> shutDownProcesses;
    bool refuseRegisteredVersion = false;
    bool inFileNeedsExternalLocation = false;
    std::vector<std::wstring> registeredWithoutIdentity;  // full names
    std::uint32_t cancelDelayMs = 0;
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

std::optional<std::uint32_t> registered_package_states(std::wstring_view fullName) {
    std::lock_guard lock(state_mutex());
    for (const auto& package : current_table().registered) {
        if (package.fullName == fullName) return package.states;
    }
    return std::nullopt;
}

// The rules an add meets, in the order the platform applies them.
void register_package_from_file(const add_request& request) {
    std::lock_guard lock(state_mutex());
    package_table& current = current_table();
    const package_identity added = current.inFile;
    // "Grant package identity by packaging with external location", Troubleshooting: adding a version
    // that is already registered fails with 0x80073CF9 (a steering switch, off by default).
    const bool sameVersionRegistered = std::ranges::any_of(current.registered, [&](const package_identity& package) {
        const rt::PackageVersion& a = package.version;
        const rt::PackageVersion& b = added.version;
        return package.name == added.name && a.Major == b.Major && a.Minor == b.Minor && a.Build == b.Build &&
               a.Revision == b.Revision;
    });
    if (current.refuseRegisteredVersion && sameVersionRegistered) throw rt::hresult_error(kInstallFailed);
    // "AddPackageOptions.ForceAppShutdown Property", "AddPackageOptions.ForceTargetAppShutdown Property":
    // the processes of a package in use are shut down forcibly so that registration can continue.
    // Without either, "Troubleshooting packaging, deployment, and query of Windows apps":
    // ERROR_PACKAGES_IN_USE.
    if (auto running = current.runningProcesses.find(added.name); running != current.runningProcesses.end()) {
        if (!request.forceShutdown) throw rt::hresult_error(HRESULT_FROM_WIN32(ERROR_PACKAGES_IN_USE));
        current.shutDownProcesses.insert(current.shutDownProcesses.end(), running->second.begin(), running->second.end());
        current.runningProcesses.erase(running);
    }
    // "AddPackageOptions.ExternalLocationUri Property", "Grant package identity by packaging with
    // external location": a package with external location added without one registers, without an
    // error, but gives no identity at run time.
    if (current.inFileNeedsExternalLocation && !request.externalLocation) {
        current.registeredWithoutIdentity.push_back(added.fullName);
    }
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

std::uint32_t deployment_cancel_delay_ms() {
    std::lock_guard lock(state_mutex());
    return table().cancelDelayMs;
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

extern "C" __declspec(dllexport) HRESULT SimRuntime_SetPackageProcesses(const wchar_t* name, const wchar_t* processes) {
    if (!name || !processes) return E_POINTER;
    return change_table([&](package_table& current) {
        std::vector<std::wstring>& running = current.runningProcesses[name];
        running.clear();
        std::wstring_view rest(processes);
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find(L';'), rest.size());
            if (end > 0) running.emplace_back(rest.substr(0, end));
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
        if (running.empty()) current.runningProcesses.erase(name);
    });
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_SetAddRules(BOOL refuseRegisteredVersion,
                                                                BOOL fileNeedsExternalLocation) {
    return change_table([&](package_table& current) {
        current.refuseRegisteredVersion = refuseRegisteredVersion != FALSE;
        current.inFileNeedsExternalLocation = fileNeedsExternalLocation != FALSE;
    });
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_SetDeploymentCancelDelayMs(UINT32 delayMs) {
    return change_table([&](package_table& current) { current.cancelDelayMs = delayMs; });
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_SetPackageStatus(const wchar_t* fullName, UINT32 states) {
    if (!fullName) return E_POINTER;
    return change_table([&](package_table& current) {
        if ((states & ~sim_control::any_package_state) != 0) throw rt::hresult_error(E_INVALIDARG);
        const auto registration = std::ranges::find_if(
            current.registered, [&](const sim::package_identity& package) { return package.fullName == fullName; });
        if (registration == current.registered.end()) throw rt::hresult_error(E_INVALIDARG);
        registration->states = states;
    });
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_AddRecord(UINT32 kind, UINT32 index, HSTRING* text) {
    if (!text) return E_POINTER;
    *text = nullptr;
    bool found = false;
    const HRESULT read = change_table([&](package_table& current) {
        const auto& records = kind == 0 ? current.shutDownProcesses : current.registeredWithoutIdentity;
        if (index >= records.size()) return;
        *text = rt::hstring(records[index]).detach();
        found = true;
    });
    if (FAILED(read)) return read;
    return found ? S_OK : S_FALSE;
}
