// Windows.Storage.StorageFile: files found by full path; an object answers its
// path and name and deletes its file.
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
#include "StorageRecycle.h"

namespace {

using sim::not_simulated;

class storage_file final : public sim::storage_item<storage_file, rt::IStorageFile> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::StorageFile;
    static constexpr const wchar_t* short_name = L"StorageFile";

    explicit storage_file(std::wstring path) : storage_item(std::move(path)) {}

    static void delete_from_disk(const std::wstring& path, rt::StorageDeleteOption option) {
        sim::delete_storage_file(path, option);
    }

    // Nothing needs the rest.
    HRESULT STDMETHODCALLTYPE get_FileType(HSTRING*) override { return not_simulated(L"StorageFile.get_FileType"); }
    HRESULT STDMETHODCALLTYPE get_ContentType(HSTRING*) override {
        return not_simulated(L"StorageFile.get_ContentType");
    }
    HRESULT STDMETHODCALLTYPE OpenAsync(rt::FileAccessMode, rt::IAsyncOperation<rt::IRandomAccessStream>**) override {
        return not_simulated(L"StorageFile.OpenAsync");
    }
    HRESULT STDMETHODCALLTYPE OpenTransactedWriteAsync(rt::IAsyncOperation<rt::StorageStreamTransaction>**) override {
        return not_simulated(L"StorageFile.OpenTransactedWriteAsync");
    }
    HRESULT STDMETHODCALLTYPE CopyOverloadDefaultNameAndOptions(rt::IStorageFolder*,
                                                                rt::IAsyncOperation<rt::StorageFile>**) override {
        return not_simulated(L"StorageFile.CopyOverloadDefaultNameAndOptions");
    }
    HRESULT STDMETHODCALLTYPE CopyOverloadDefaultOptions(rt::IStorageFolder*, HSTRING,
                                                         rt::IAsyncOperation<rt::StorageFile>**) override {
        return not_simulated(L"StorageFile.CopyOverloadDefaultOptions");
    }
    HRESULT STDMETHODCALLTYPE CopyOverload(rt::IStorageFolder*, HSTRING, rt::NameCollisionOption,
                                           rt::IAsyncOperation<rt::StorageFile>**) override {
        return not_simulated(L"StorageFile.CopyOverload");
    }
    HRESULT STDMETHODCALLTYPE CopyAndReplaceAsync(rt::IStorageFile*, rt::IAsyncAction**) override {
        return not_simulated(L"StorageFile.CopyAndReplaceAsync");
    }
    HRESULT STDMETHODCALLTYPE MoveOverloadDefaultNameAndOptions(rt::IStorageFolder*, rt::IAsyncAction**) override {
        return not_simulated(L"StorageFile.MoveOverloadDefaultNameAndOptions");
    }
    HRESULT STDMETHODCALLTYPE MoveOverloadDefaultOptions(rt::IStorageFolder*, HSTRING, rt::IAsyncAction**) override {
        return not_simulated(L"StorageFile.MoveOverloadDefaultOptions");
    }
    HRESULT STDMETHODCALLTYPE MoveOverload(rt::IStorageFolder*, HSTRING, rt::NameCollisionOption,
                                           rt::IAsyncAction**) override {
        return not_simulated(L"StorageFile.MoveOverload");
    }
    HRESULT STDMETHODCALLTYPE MoveAndReplaceAsync(rt::IStorageFile*, rt::IAsyncAction**) override {
        return not_simulated(L"StorageFile.MoveAndReplaceAsync");
    }
};

class storage_file_statics final
    : public sim::activation_factory<storage_file_statics, rt::IStorageFileStatics> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::StorageFile;

    HRESULT STDMETHODCALLTYPE GetFileFromPathAsync(HSTRING path,
                                                   rt::IAsyncOperation<rt::StorageFile>** operation) override {
        std::wstring text(rt::view_of(path));
        return sim::storage_operation(*this, L"StorageFile.GetFileFromPathAsync", text, operation,
                                      [text] { return sim::find_storage_file(text); });
    }

    // Nothing needs the rest.
    HRESULT STDMETHODCALLTYPE GetFileFromApplicationUriAsync(rt::IUriRuntimeClass*,
                                                             rt::IAsyncOperation<rt::StorageFile>**) override {
        return not_simulated(L"StorageFile.GetFileFromApplicationUriAsync");
    }
    HRESULT STDMETHODCALLTYPE CreateStreamedFileAsync(HSTRING, rt::StreamedFileDataRequestedHandler*,
                                                      rt::IRandomAccessStreamReference*,
                                                      rt::IAsyncOperation<rt::StorageFile>**) override {
        return not_simulated(L"StorageFile.CreateStreamedFileAsync");
    }
    HRESULT STDMETHODCALLTYPE ReplaceWithStreamedFileAsync(rt::IStorageFile*, rt::StreamedFileDataRequestedHandler*,
                                                           rt::IRandomAccessStreamReference*,
                                                           rt::IAsyncOperation<rt::StorageFile>**) override {
        return not_simulated(L"StorageFile.ReplaceWithStreamedFileAsync");
    }
    HRESULT STDMETHODCALLTYPE CreateStreamedFileFromUriAsync(HSTRING, rt::IUriRuntimeClass*,
                                                             rt::IRandomAccessStreamReference*,
                                                             rt::IAsyncOperation<rt::StorageFile>**) override {
        return not_simulated(L"StorageFile.CreateStreamedFileFromUriAsync");
    }
    HRESULT STDMETHODCALLTYPE ReplaceWithStreamedFileFromUriAsync(rt::IStorageFile*, rt::IUriRuntimeClass*,
                                                                  rt::IRandomAccessStreamReference*,
                                                                  rt::IAsyncOperation<rt::StorageFile>**) override {
        return not_simulated(L"StorageFile.ReplaceWithStreamedFileFromUriAsync");
    }
};

const sim::class_registration registration{rt::class_name::StorageFile, &sim::new_factory<storage_file_statics>};

}  // namespace

namespace sim {

rt::com_ptr<rt::IStorageFile> make_storage_file(std::wstring path) { return make<storage_file>(std::move(path)); }

rt::com_ptr<rt::IStorageFile> find_storage_file(std::wstring_view path) {
    std::wstring full = storage_path(path);
    if (existing_item(full) != disk_item::file) throw rt::hresult_error(E_INVALIDARG);
    return make_storage_file(std::move(full));
}

}  // namespace sim
