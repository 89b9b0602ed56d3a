// Windows.Storage.StorageFolder: folders found by full path; an object answers
// its path and name and creates and finds the files in it.
#include <windows.h>

#include <string>
#include <utility>

#include "ClassNames.h"
#include "ClassTable.h"
#include "HString.h"
#include "RuntimeError.h"
#include "SimMethods.h"
#include "SimObject.h"
#include "SimStorageItem.h"
#include "Storage.h"
#include "StorageDisk.h"
#include "StorageOperations.h"
#include "StoragePaths.h"

namespace {

using sim::not_simulated;
using FileOperation = rt::IAsyncOperation<rt::StorageFile>;
using FolderOperation = rt::IAsyncOperation<rt::StorageFolder>;

class storage_folder final : public sim::storage_item<storage_folder, rt::IStorageFolder> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::StorageFolder;
    static constexpr const wchar_t* short_name = L"StorageFolder";

    explicit storage_folder(std::wstring path) : storage_item(std::move(path)) {}

    HRESULT STDMETHODCALLTYPE CreateFileAsync(HSTRING desiredName, rt::CreationCollisionOption options,
                                              FileOperation** operation) override {
        return create_file(L"StorageFolder.CreateFileAsync", desiredName, options, operation);
    }
    // The platform's default is FailIfExists.
    HRESULT STDMETHODCALLTYPE CreateFileAsyncOverloadDefaultOptions(HSTRING desiredName,
                                                                    FileOperation** operation) override {
        return create_file(L"StorageFolder.CreateFileAsyncOverloadDefaultOptions", desiredName,
                           rt::CreationCollisionOption::FailIfExists, operation);
    }

    HRESULT STDMETHODCALLTYPE GetFileAsync(HSTRING name, FileOperation** operation) override {
        std::wstring text(rt::view_of(name));
        return sim::storage_operation(*this, L"StorageFolder.GetFileAsync", text, operation,
                                    [folder = path(), text] {
                                        sim::check_item_name(text);
                                        return sim::find_storage_file(sim::child_path(folder, text));
                                    });
    }

    // Nothing needs the rest.
    HRESULT STDMETHODCALLTYPE CreateFolderAsyncOverloadDefaultOptions(HSTRING, FolderOperation**) override {
        return not_simulated(L"StorageFolder.CreateFolderAsyncOverloadDefaultOptions");
    }
    HRESULT STDMETHODCALLTYPE CreateFolderAsync(HSTRING, rt::CreationCollisionOption, FolderOperation**) override {
        return not_simulated(L"StorageFolder.CreateFolderAsync");
    }
    HRESULT STDMETHODCALLTYPE GetFolderAsync(HSTRING, FolderOperation**) override {
        return not_simulated(L"StorageFolder.GetFolderAsync");
    }
    HRESULT STDMETHODCALLTYPE GetItemAsync(HSTRING, rt::IAsyncOperation<rt::IStorageItem>**) override {
        return not_simulated(L"StorageFolder.GetItemAsync");
    }
    HRESULT STDMETHODCALLTYPE GetFilesAsyncOverloadDefaultOptionsStartAndCount(
        rt::IAsyncOperation<rt::IVectorView<rt::StorageFile>>**) override {
        return not_simulated(L"StorageFolder.GetFilesAsyncOverloadDefaultOptionsStartAndCount");
    }
    HRESULT STDMETHODCALLTYPE GetFoldersAsyncOverloadDefaultOptionsStartAndCount(
        rt::IAsyncOperation<rt::IVectorView<rt::StorageFolder>>**) override {
        return not_simulated(L"StorageFolder.GetFoldersAsyncOverloadDefaultOptionsStartAndCount");
    }
    HRESULT STDMETHODCALLTYPE GetItemsAsyncOverloadDefaultStartAndCount(
        rt::IAsyncOperation<rt::IVectorView<rt::IStorageItem>>**) override {
        return not_simulated(L"StorageFolder.GetItemsAsyncOverloadDefaultStartAndCount");
    }

private:
    HRESULT create_file(const wchar_t* method, HSTRING desiredName, rt::CreationCollisionOption option,
                        FileOperation** operation) {
        std::wstring name(rt::view_of(desiredName));
        const std::wstring arguments = name + L", " + std::to_wstring(static_cast<int>(option));
        return sim::storage_operation(*this, method, arguments, operation, [folder = path(), name, option] {
            return sim::make_storage_file(sim::create_file_in(folder, name, option));
        });
    }
};

// A file at the path is refused as Windows refuses it: ERROR_DIRECTORY.
rt::com_ptr<rt::IStorageFolder> find_storage_folder(std::wstring_view text) {
    std::wstring path = sim::storage_path(text);
    if (sim::existing_item(path) != sim::disk_item::folder) {
        throw rt::hresult_error(HRESULT_FROM_WIN32(ERROR_DIRECTORY));
    }
    return sim::make_storage_folder(std::move(path));
}

class storage_folder_statics final
    : public sim::activation_factory<storage_folder_statics, rt::IStorageFolderStatics> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::StorageFolder;

    HRESULT STDMETHODCALLTYPE GetFolderFromPathAsync(HSTRING path, FolderOperation** operation) override {
        std::wstring text(rt::view_of(path));
        return sim::storage_operation(*this, L"StorageFolder.GetFolderFromPathAsync", text, operation,
                                      [text] { return find_storage_folder(text); });
    }
};

const sim::class_registration registration{rt::class_name::StorageFolder,
                                           &sim::new_factory<storage_folder_statics>};

}  // namespace

namespace sim {

rt::com_ptr<rt::IStorageFolder> make_storage_folder(std::wstring path) {
    return make<storage_folder>(std::move(path));
}

}  // namespace sim
