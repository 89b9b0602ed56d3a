#include "Package.h"

#include <utility>

#include "SimCall.h"
#include "SimMethods.h"
#include "SimObject.h"

namespace {

using sim::not_simulated;
using sim::text_result;

class package_id final : public sim::object<package_id, rt::IPackageId> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.ApplicationModel.PackageId";

    explicit package_id(sim::package_identity identity) : identity_(std::move(identity)) {}

    HRESULT STDMETHODCALLTYPE get_Name(HSTRING* value) override {
        return text_result(L"PackageId.get_Name", identity_.name, value);
    }
    HRESULT STDMETHODCALLTYPE get_Version(rt::PackageVersion* value) override {
        if (!value) return E_POINTER;
        return run_call(L"PackageId.get_Version", L"", [&] { *value = identity_.version; });
    }
    HRESULT STDMETHODCALLTYPE get_Architecture(rt::ProcessorArchitecture* value) override {
        if (!value) return E_POINTER;
        return run_call(L"PackageId.get_Architecture", L"", [&] { *value = rt::ProcessorArchitecture::X64; });
    }
    HRESULT STDMETHODCALLTYPE get_ResourceId(HSTRING* value) override {
        return text_result(L"PackageId.get_ResourceId", L"", value);
    }
    HRESULT STDMETHODCALLTYPE get_Publisher(HSTRING* value) override {
        return text_result(L"PackageId.get_Publisher", identity_.publisher, value);
    }
    HRESULT STDMETHODCALLTYPE get_PublisherId(HSTRING*) override { return not_simulated(L"PackageId.get_PublisherId"); }
    HRESULT STDMETHODCALLTYPE get_FullName(HSTRING* value) override {
        return text_result(L"PackageId.get_FullName", identity_.fullName, value);
    }
    HRESULT STDMETHODCALLTYPE get_FamilyName(HSTRING*) override { return not_simulated(L"PackageId.get_FamilyName"); }

private:
    const sim::package_identity identity_;
};

class package final : public sim::object<package, rt::IPackage> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.ApplicationModel.Package";

    explicit package(const sim::package_identity& identity) : id_(sim::make<package_id>(identity)) {}

    HRESULT STDMETHODCALLTYPE get_Id(rt::IPackageId** value) override {
        if (!value) return E_POINTER;
        return run_call(L"Package.get_Id", L"", [&] { *value = rt::com_ptr<rt::IPackageId>(id_).detach(); });
    }
    HRESULT STDMETHODCALLTYPE get_InstalledLocation(rt::IStorageFolder**) override {
        return not_simulated(L"Package.get_InstalledLocation");
    }
    HRESULT STDMETHODCALLTYPE get_IsFramework(boolean* value) override {
        if (!value) return E_POINTER;
        return run_call(L"Package.get_IsFramework", L"", [&] { *value = 0; });
    }
    HRESULT STDMETHODCALLTYPE get_Dependencies(rt::IVectorView<rt::Package>**) override {
        return not_simulated(L"Package.get_Dependencies");
    }

private:
    const rt::com_ptr<package_id> id_;
};

}  // namespace

namespace sim {

rt::com_ptr<rt::IPackage> make_package(const package_identity& identity) { return make<package>(identity); }

}  // namespace sim
