// Windows.Storage.FileIO: a file's whole content written from bytes and read
// into a buffer. The file is named by its path, so any IStorageFile will do.
#include <windows.h>

#include <string>
#include <vector>

#include "ClassNames.h"
#include "ClassTable.h"
#include "ComPtr.h"
#include "HString.h"
#include "RuntimeError.h"
#include "SimBuffer.h"
#include "SimMethods.h"
#include "SimObject.h"
#include "Storage.h"
#include "StorageDisk.h"
#include "StorageOperations.h"

namespace {

using sim::not_simulated;

std::wstring path_of(rt::IStorageFile* file) {
    if (!file) throw rt::hresult_error(E_POINTER);
    rt::hstring path;
    rt::check(rt::com_ptr<rt::IStorageFile>::copy_from(file).As<rt::IStorageItem>()->get_Path(path.put()));
    return path.str();
}

class file_io_statics final : public sim::activation_factory<file_io_statics, rt::IFileIOStatics> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::FileIO;

    // The bytes are copied now: the caller's array lives only as long as the call.
    HRESULT STDMETHODCALLTYPE WriteBytesAsync(rt::IStorageFile* file, UINT32 bufferLength, BYTE* buffer,
                                              rt::IAsyncAction** operation) override {
        if (!operation) return E_POINTER;
        *operation = nullptr;
        return rt::hresult_from([&] {
            if (!buffer && bufferLength > 0) throw rt::hresult_error(E_POINTER);
            const std::wstring path = path_of(file);
            std::vector<BYTE> bytes(buffer, buffer + bufferLength);
            return sim::storage_action(*this, L"FileIO.WriteBytesAsync", path + L", " + std::to_wstring(bufferLength),
                                       operation, [path, bytes] { sim::replace_file_bytes(path, bytes); });
        });
    }

    HRESULT STDMETHODCALLTYPE ReadBufferAsync(rt::IStorageFile* file, rt::IAsyncOperation<rt::IBuffer>** operation) override {
        if (!operation) return E_POINTER;
        *operation = nullptr;
        return rt::hresult_from([&] {
            const std::wstring path = path_of(file);
            return sim::storage_operation(*this, L"FileIO.ReadBufferAsync", path, operation,
                                          [path] { return sim::make_buffer(sim::read_file_bytes(path)); });
        });
    }

    // Nothing needs the rest.
    HRESULT STDMETHODCALLTYPE ReadTextAsync(rt::IStorageFile*, rt::IAsyncOperation<HSTRING>**) override {
        return not_simulated(L"FileIO.ReadTextAsync");
    }
    HRESULT STDMETHODCALLTYPE ReadTextWithEncodingAsync(rt::IStorageFile*, rt::UnicodeEncoding,
                                                        rt::IAsyncOperation<HSTRING>**) override {
        return not_simulated(L"FileIO.ReadTextWithEncodingAsync");
    }
    HRESULT STDMETHODCALLTYPE WriteTextAsync(rt::IStorageFile*, HSTRING, rt::IAsyncAction**) override {
        return not_simulated(L"FileIO.WriteTextAsync");
    }
    HRESULT STDMETHODCALLTYPE WriteTextWithEncodingAsync(rt::IStorageFile*, HSTRING, rt::UnicodeEncoding,
                                                         rt::IAsyncAction**) override {
        return not_simulated(L"FileIO.WriteTextWithEncodingAsync");
    }
    HRESULT STDMETHODCALLTYPE AppendTextAsync(rt::IStorageFile*, HSTRING, rt::IAsyncAction**) override {
        return not_simulated(L"FileIO.AppendTextAsync");
    }
    HRESULT STDMETHODCALLTYPE AppendTextWithEncodingAsync(rt::IStorageFile*, HSTRING, rt::UnicodeEncoding,
                                                          rt::IAsyncAction**) override {
        return not_simulated(L"FileIO.AppendTextWithEncodingAsync");
    }
    HRESULT STDMETHODCALLTYPE ReadLinesAsync(rt::IStorageFile*, rt::IAsyncOperation<rt::IVector<HSTRING>>**) override {
        return not_simulated(L"FileIO.ReadLinesAsync");
    }
    HRESULT STDMETHODCALLTYPE ReadLinesWithEncodingAsync(rt::IStorageFile*, rt::UnicodeEncoding,
                                                         rt::IAsyncOperation<rt::IVector<HSTRING>>**) override {
        return not_simulated(L"FileIO.ReadLinesWithEncodingAsync");
    }
    HRESULT STDMETHODCALLTYPE WriteLinesAsync(rt::IStorageFile*, rt::IIterable<HSTRING>*, rt::IAsyncAction**) override {
        return not_simulated(L"FileIO.WriteLinesAsync");
    }
    HRESULT STDMETHODCALLTYPE WriteLinesWithEncodingAsync(rt::IStorageFile*, rt::IIterable<HSTRING>*,
                                                          rt::UnicodeEncoding, rt::IAsyncAction**) override {
        return not_simulated(L"FileIO.WriteLinesWithEncodingAsync");
    }
    HRESULT STDMETHODCALLTYPE AppendLinesAsync(rt::IStorageFile*, rt::IIterable<HSTRING>*, rt::IAsyncAction**) override {
        return not_simulated(L"FileIO.AppendLinesAsync");
    }
    HRESULT STDMETHODCALLTYPE AppendLinesWithEncodingAsync(rt::IStorageFile*, rt::IIterable<HSTRING>*,
                                                           rt::UnicodeEncoding, rt::IAsyncAction**) override {
        return not_simulated(L"FileIO.AppendLinesWithEncodingAsync");
    }
    HRESULT STDMETHODCALLTYPE WriteBufferAsync(rt::IStorageFile*, rt::IBuffer*, rt::IAsyncAction**) override {
        return not_simulated(L"FileIO.WriteBufferAsync");
    }
};

const sim::class_registration registration{rt::class_name::FileIO, &sim::new_factory<file_io_statics>};

}  // namespace
