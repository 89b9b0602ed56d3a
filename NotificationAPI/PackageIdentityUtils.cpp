#include "PackageIdentityUtils.h"

#include <windows.h>

#include <cwchar>
#include <filesystem>

#include <fmt/format.h>
#include <fmt/xchar.h>

#include "Activation.h"
#include "ClassNames.h"
#include "HString.h"
#include "HostLog.h"
#include "RuntimeError.h"

namespace {

constexpr wchar_t kDirectoryFunction[] = L"GetNotificationApiDllDirectory";
constexpr wchar_t kQueryFunction[] = L"QueryInstalledNotificationPackageVersion";
constexpr wchar_t kExportFunction[] = L"GetInstalledNotificationPackageVersion";

// Any address inside this module identifies it.
const int kAddressInsideModule = 0;

HMODULE ThisModule() {
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            reinterpret_cast<LPCWSTR>(&kAddressInsideModule), &module)) {
        return nullptr;
    }
    return module;
}

std::wstring ModuleFileName(HMODULE module) {
    wchar_t name[MAX_PATH] = {};
    GetModuleFileNameW(module, name, MAX_PATH);
    return name;
}

}  // namespace

std::wstring ParentFolderOfPath(std::wstring_view path) {
    try {
        return std::filesystem::path(path).parent_path().wstring();
    } catch (...) {
        return {};
    }
}

std::wstring GetNotificationApiDllDirectory() {
    const HMODULE module = ThisModule();
    if (module == nullptr) {
        HOST_LOG_ERROR(kDirectoryFunction, L"[{}]GetModuleHandleExW failed, GetLastError={}", kDirectoryFunction,
                       GetLastError());
        return {};
    }
    try {
        return ParentFolderOfPath(ModuleFileName(module));
    } catch (...) {
        HOST_LOG_ERROR(kDirectoryFunction, L"[{}]GetNotificationApiDllDirectory unknown exception", kDirectoryFunction);
        return {};
    }
}

rt::com_ptr<rt::IPackageManager> CreatePackageManager() {
    return rt::activate_instance<rt::IPackageManager>(rt::class_name::PackageManager);
}

rt::com_ptr<rt::IIterable<rt::Package>> FindNotificationPackages(rt::IPackageManager* packageManager) {
    // An empty security id means the current user.
    const rt::hstring currentUser;
    const rt::hstring name(kNotificationPackageName);
    const rt::hstring publisher(kNotificationPackagePublisher);
    rt::com_ptr<rt::IIterable<rt::Package>> packages;
    rt::check(packageManager->FindPackagesByUserSecurityIdNamePublisher(currentUser.get(), name.get(), publisher.get(),
                                                                        packages.put()));
    return packages;
}

rt::com_ptr<rt::IPackage> FirstNotificationPackage() {
    const auto packages = FindNotificationPackages(CreatePackageManager().get());
    rt::com_ptr<rt::IIterator<rt::Package>> position;
    rt::check(packages->First(position.put()));
    boolean hasCurrent = 0;
    rt::check(position->get_HasCurrent(&hasCurrent));
    rt::com_ptr<rt::IPackage> package;
    if (hasCurrent) rt::check(position->get_Current(package.put()));
    return package;
}

rt::PackageVersion PackageVersionOf(rt::IPackage* package) {
    rt::com_ptr<rt::IPackageId> id;
    rt::check(package->get_Id(id.put()));
    rt::PackageVersion version{};
    rt::check(id->get_Version(&version));
    return version;
}

std::optional<rt::PackageVersion> FirstNotificationPackageVersion() {
    const auto package = FirstNotificationPackage();
    if (!package) return std::nullopt;
    return PackageVersionOf(package.get());
}

std::optional<rt::PackageVersion> QueryInstalledNotificationPackageVersion() {
    try {
        return FirstNotificationPackageVersion();
    } catch (const rt::hresult_error& e) {
        // The text names the export, the tag this function: callers search the logs by both.
        HOST_LOG_ERROR(kQueryFunction, L"[{}]GetInstalledNotificationPackageVersion exception, hr=0x{:08X}, msg={}",
                       kQueryFunction, host_log::Hex(e.code()), e.message());
    } catch (...) {
        HOST_LOG_ERROR(kQueryFunction, L"[{}]GetInstalledNotificationPackageVersion unknown exception", kQueryFunction);
    }
    return std::nullopt;
}

std::string QueryInstalledNotificationPackageVersionString() {
    const auto version = QueryInstalledNotificationPackageVersion();
    if (!version) return {};
    try {
        return fmt::format("{}.{}.{}.{}", version->Major, version->Minor, version->Build, version->Revision);
    } catch (...) {
        HOST_LOG_ERROR(kQueryFunction, L"[{}]QueryInstalledNotificationPackageVersionString unknown exception",
                       kQueryFunction);
        return {};
    }
}

extern "C" bool GetInstalledNotificationPackageVersion(wchar_t* buffer, std::uint32_t bufferLength) {
    if (buffer == nullptr || bufferLength == 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    // Every later failure leaves the caller an empty string.
    buffer[0] = L'\0';

    // The runtime calls of the query leave codes of their own behind; "not
    // registered" must leave the caller's code as it was.
    const DWORD callersLastError = GetLastError();
    const auto version = QueryInstalledNotificationPackageVersion();
    if (!version) {
        SetLastError(callersLastError);
        return false;
    }

    try {
        const std::wstring text =
            fmt::format(L"{}.{}.{}.{}", version->Major, version->Minor, version->Build, version->Revision);
        if (text.size() + 1 > bufferLength) {
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return false;
        }
        wcscpy_s(buffer, bufferLength, text.c_str());
        return true;
    } catch (...) {
        HOST_LOG_ERROR(kExportFunction, L"[{}]GetInstalledNotificationPackageVersion unknown exception",
                       kExportFunction);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return false;
    }
}
