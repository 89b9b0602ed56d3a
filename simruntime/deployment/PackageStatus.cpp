#include "PackageStatus.h"

#include <algorithm>
#include <array>

#include "PackageSimControl.h"
#include "SimCall.h"
#include "SimObject.h"

namespace {

using enum sim_control::package_state;

struct state_name {
    std::uint32_t state;
    const wchar_t* name;
};

// Each leaf property reads its own state ("PackageStatus.PackageOffline Property",
// "PackageStatus.DataOffline Property", ... one page each).
constexpr std::array<state_name, 8> kStates{{
    {package_offline, L"PackageOffline"},
    {data_offline, L"DataOffline"},
    {disabled, L"Disabled"},
    {license_issue, L"LicenseIssue"},
    {modified, L"Modified"},
    {tampered, L"Tampered"},
    {dependency_issue, L"DependencyIssue"},
    {deployment_in_progress, L"DeploymentInProgress"},
}};

// The aggregate properties, each as its page words it.
// "PackageStatus.NotAvailable Property": "reflects whether one or more of DataOffline, Disabled, or
// PackageOffline is set".
constexpr std::uint32_t kNotAvailable = data_offline | disabled | package_offline;
// "PackageStatus.NeedsRemediation Property": "reflects whether one or more of NotAvailable, LicenseIssue,
// Modified, or Tampered are set"; "PackageStatus.DependencyIssue Property": that issue "must be resolved
// before this package can be used", which puts it among the states that need remediation.
constexpr std::uint32_t kNeedsRemediation = kNotAvailable | license_issue | modified | tampered | dependency_issue;
// "PackageStatus.Servicing Property": "reflects whether any of the reasons that a package may be serviced
// are currently true such as DeploymentInProgress".
constexpr std::uint32_t kServicing = deployment_in_progress;
// "PackageStatus.VerifyIsOK Method": true when the package "is in good condition and may be used"; the
// page names NotAvailable, LicenseIssue, Modified and Tampered "for example", and the DependencyIssue and
// DeploymentInProgress pages say such a package cannot be used, so any state makes it false.

class package_status final : public sim::object<package_status, rt::IPackageStatus> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.ApplicationModel.PackageStatus";

    explicit package_status(std::uint32_t states) : states_(states) {}

    HRESULT STDMETHODCALLTYPE VerifyIsOK(boolean* value) override {
        if (!value) return E_POINTER;
        return run_call(L"PackageStatus.VerifyIsOK", L"", [&] { *value = states_ == 0 ? 1 : 0; });
    }
    HRESULT STDMETHODCALLTYPE get_NotAvailable(boolean* value) override {
        return read(L"PackageStatus.get_NotAvailable", kNotAvailable, value);
    }
    HRESULT STDMETHODCALLTYPE get_PackageOffline(boolean* value) override {
        return read(L"PackageStatus.get_PackageOffline", package_offline, value);
    }
    HRESULT STDMETHODCALLTYPE get_DataOffline(boolean* value) override {
        return read(L"PackageStatus.get_DataOffline", data_offline, value);
    }
    HRESULT STDMETHODCALLTYPE get_Disabled(boolean* value) override {
        return read(L"PackageStatus.get_Disabled", disabled, value);
    }
    HRESULT STDMETHODCALLTYPE get_NeedsRemediation(boolean* value) override {
        return read(L"PackageStatus.get_NeedsRemediation", kNeedsRemediation, value);
    }
    HRESULT STDMETHODCALLTYPE get_LicenseIssue(boolean* value) override {
        return read(L"PackageStatus.get_LicenseIssue", license_issue, value);
    }
    HRESULT STDMETHODCALLTYPE get_Modified(boolean* value) override {
        return read(L"PackageStatus.get_Modified", modified, value);
    }
    HRESULT STDMETHODCALLTYPE get_Tampered(boolean* value) override {
        return read(L"PackageStatus.get_Tampered", tampered, value);
    }
    HRESULT STDMETHODCALLTYPE get_DependencyIssue(boolean* value) override {
        return read(L"PackageStatus.get_DependencyIssue", dependency_issue, value);
    }
    HRESULT STDMETHODCALLTYPE get_Servicing(boolean* value) override {
        return read(L"PackageStatus.get_Servicing", kServicing, value);
    }
    HRESULT STDMETHODCALLTYPE get_DeploymentInProgress(boolean* value) override {
        return read(L"PackageStatus.get_DeploymentInProgress", deployment_in_progress, value);
    }

private:
    HRESULT read(const wchar_t* method, std::uint32_t states, boolean* value) {
        if (!value) return E_POINTER;
        return run_call(method, L"", [&] { *value = (states_ & states) != 0 ? 1 : 0; });
    }

    // "PackageStatus Class": every property is read-only; a fresh state needs a fresh Package.Status.
    const std::uint32_t states_;
};

}  // namespace

namespace sim {

rt::com_ptr<rt::IPackageStatus> make_package_status(std::uint32_t states) { return make<package_status>(states); }

std::wstring package_state_names(std::uint32_t states) {
    std::wstring names;
    for (const auto& [state, name] : kStates) {
        if ((states & state) == 0) continue;
        if (!names.empty()) names += L',';
        names += name;
    }
    return names;
}

std::optional<std::uint32_t> package_states_from_names(std::wstring_view names) {
    std::uint32_t states = 0;
    while (!names.empty()) {
        const std::size_t end = std::min(names.find(L','), names.size());
        const std::wstring_view name = names.substr(0, end);
        const auto* known = std::ranges::find_if(kStates, [&](const state_name& entry) { return name == entry.name; });
        if (known == kStates.end()) return std::nullopt;
        states |= known->state;
        names.remove_prefix(std::min(end + 1, names.size()));
    }
    return states;
}

}  // namespace sim
