#include "StorageRecycle.h"

#include <windows.h>
#include <hstring.h>

#include <atomic>
#include <vector>

#include "EnvironmentVariable.h"
#include "HString.h"
#include "RuntimeError.h"
#include "SimState.h"
#include "StorageDisk.h"
#include "StoragePaths.h"

namespace sim {

namespace {

struct recycled_item {
    std::wstring original;
    std::wstring in_bin;
};

std::vector<recycled_item>& recycled() {
    static std::vector<recycled_item> items;
    return items;
}

const reset_registration reset{[] { recycled().clear(); }};

[[noreturn]] void throw_last_error() { throw rt::hresult_error(HRESULT_FROM_WIN32(GetLastError())); }

std::wstring known_folder_variable(const wchar_t* name) {
    return environment_variable(name).value_or(std::wstring());
}

bool starts_with_folder(const std::wstring& path, const std::wstring& folder) {
    return !folder.empty() && path.size() > folder.size() && path[folder.size()] == L'\\' &&
           CompareStringOrdinal(path.c_str(), static_cast<int>(folder.size()), folder.c_str(),
                                static_cast<int>(folder.size()), TRUE) == CSTR_EQUAL;
}

// "ApplicationData.LocalFolder Property" and its siblings: a package's
// application-data folders all lie in "%LOCALAPPDATA%\Packages\<family>\".
// Any other folder, the roaming application data of a desktop process
// included, is not an application storage location.
bool in_application_storage(const std::wstring& path) {
    const std::wstring local = known_folder_variable(L"LOCALAPPDATA");
    return !local.empty() && starts_with_folder(path, local + L"\\Packages");
}

// "$Recycle.Bin\SimRuntime" at the root of the item's volume ("C:\" or "\\server\share\").
std::wstring recycle_folder_for(const std::wstring& path) {
    wchar_t root[MAX_PATH] = {};
    if (!GetVolumePathNameW(path.c_str(), root, MAX_PATH)) throw_last_error();
    std::wstring folder = std::wstring(root) + L"$Recycle.Bin";
    CreateDirectoryW(folder.c_str(), nullptr);
    folder += L"\\SimRuntime";
    CreateDirectoryW(folder.c_str(), nullptr);
    return folder;
}

// One name per deleted item of any process: "<pid>-<n>-<original name>".
std::wstring name_in_bin(const std::wstring& path) {
    static std::atomic<unsigned> next{1};
    return std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(next++) + L"-" + item_name(path);
}

void move_to_recycle_folder(const std::wstring& path) {
    const std::wstring inBin = child_path(recycle_folder_for(path), name_in_bin(path));
    if (!MoveFileExW(path.c_str(), inBin.c_str(), MOVEFILE_COPY_ALLOWED)) throw_last_error();
    std::lock_guard lock(state_mutex());
    recycled().push_back({path, inBin});
}

}  // namespace

// "StorageDeleteOption Enum": PermanentDelete "permanently deletes the item";
// Default deletes an item in an application storage location permanently and
// any other "according to the default behavior of File Explorer for that
// location", which on a local disk is the Recycle Bin (taken here for every
// such location). "StorageFile.DeleteAsync Method": the overload without
// options uses Default.
void delete_storage_file(const std::wstring& path, rt::StorageDeleteOption option) {
    if (option != rt::StorageDeleteOption::Default && option != rt::StorageDeleteOption::PermanentDelete) {
        throw rt::hresult_error(E_INVALIDARG);
    }
    if (option == rt::StorageDeleteOption::PermanentDelete || in_application_storage(path)) {
        delete_file(path);
        return;
    }
    if (existing_item(path) != disk_item::file) throw rt::hresult_error(E_INVALIDARG);
    move_to_recycle_folder(path);
}

}  // namespace sim

// The `index`-th item moved to a recycle folder since the last reset: where it
// was and where it is now. S_FALSE and nulls past the end.
extern "C" __declspec(dllexport) HRESULT SimRuntime_RecycledItem(UINT32 index, HSTRING* original, HSTRING* inBin) {
    if (!original || !inBin) return E_POINTER;
    *original = nullptr;
    *inBin = nullptr;
    return rt::hresult_from([&]() -> HRESULT {
        std::lock_guard lock(sim::state_mutex());
        if (index >= sim::recycled().size()) return S_FALSE;
        const auto& item = sim::recycled()[index];
        *original = rt::hstring(item.original).detach();
        *inBin = rt::hstring(item.in_bin).detach();
        return S_OK;
    });
}
