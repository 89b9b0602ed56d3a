#pragma once
// What StorageFile and StorageFolder objects share: an item at a full path
// that reports its path and name through IStorageItem. The objects are made
// only by the storage classes' own operations.
#include <windows.h>

#include <string>
#include <string_view>
#include <utility>

#include "ComPtr.h"
#include "SimMethods.h"
#include "SimObject.h"
#include "Storage.h"
#include "StorageOperations.h"
#include "StoragePaths.h"

namespace sim {

// A StorageFile object for the file at `path` (a storage path).
rt::com_ptr<rt::IStorageFile> make_storage_file(std::wstring path);

// A StorageFolder object for the folder at `path` (a storage path).
rt::com_ptr<rt::IStorageFolder> make_storage_folder(std::wstring path);

// The file at `path` as it is now; throws the error Windows reports for the
// path: see storage_path and existing_item; a folder there is E_INVALIDARG.
rt::com_ptr<rt::IStorageFile> find_storage_file(std::wstring_view path);

// `Derived` names its class for the call log (static constexpr const wchar_t*
// short_name) and may give
// `static void delete_from_disk(const std::wstring& path, rt::StorageDeleteOption option)`;
// without it DeleteAsync is not simulated.
template <class Derived, class DefaultInterface>
class storage_item : public object<Derived, DefaultInterface, rt::IStorageItem> {
public:
    HRESULT STDMETHODCALLTYPE get_Name(HSTRING* value) override {
        return this->text_result(method(L"get_Name"), item_name(path_), value);
    }
    HRESULT STDMETHODCALLTYPE get_Path(HSTRING* value) override { return this->text_result(method(L"get_Path"), path_, value); }

    // "StorageFile.DeleteAsync Method": the overload without options uses
    // StorageDeleteOption::Default; what each option does is StorageRecycle's.
    HRESULT STDMETHODCALLTYPE DeleteAsyncOverloadDefaultOptions(rt::IAsyncAction** operation) override {
        return start_delete(method(L"DeleteAsyncOverloadDefaultOptions"), path_, rt::StorageDeleteOption::Default,
                            operation);
    }
    HRESULT STDMETHODCALLTYPE DeleteAsync(rt::StorageDeleteOption option, rt::IAsyncAction** operation) override {
        return start_delete(method(L"DeleteAsync"), path_ + L", " + std::to_wstring(static_cast<int>(option)), option,
                            operation);
    }

    HRESULT STDMETHODCALLTYPE RenameAsyncOverloadDefaultOptions(HSTRING, rt::IAsyncAction**) override {
        return this->not_simulated(method(L"RenameAsyncOverloadDefaultOptions"));
    }
    HRESULT STDMETHODCALLTYPE RenameAsync(HSTRING, rt::NameCollisionOption, rt::IAsyncAction**) override {
        return this->not_simulated(method(L"RenameAsync"));
    }
    HRESULT STDMETHODCALLTYPE GetBasicPropertiesAsync(rt::IAsyncOperation<rt::BasicProperties>**) override {
        return this->not_simulated(method(L"GetBasicPropertiesAsync"));
    }
    HRESULT STDMETHODCALLTYPE get_Attributes(rt::FileAttributes*) override {
        return this->not_simulated(method(L"get_Attributes"));
    }
    HRESULT STDMETHODCALLTYPE get_DateCreated(rt::DateTime*) override {
        return this->not_simulated(method(L"get_DateCreated"));
    }
    HRESULT STDMETHODCALLTYPE IsOfType(rt::StorageItemTypes, boolean*) override {
        return this->not_simulated(method(L"IsOfType"));
    }

protected:
    explicit storage_item(std::wstring path) : path_(std::move(path)) {}

    // "StorageFile.get_Path" for "get_Path".
    static std::wstring method(const wchar_t* name) { return std::wstring(Derived::short_name) + L"." + name; }

    const std::wstring& path() const { return path_; }

private:
    HRESULT start_delete(const std::wstring& name, const std::wstring& arguments, rt::StorageDeleteOption option,
                         rt::IAsyncAction** operation) {
        if constexpr (requires { Derived::delete_from_disk(path_, option); }) {
            return storage_action(*this, name, arguments, operation,
                                  [path = path_, option] { Derived::delete_from_disk(path, option); });
        } else {
            return this->not_simulated(name);
        }
    }

    const std::wstring path_;
};

}  // namespace sim
