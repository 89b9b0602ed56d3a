#include "QuorvelReportStorage.h"

#include <shlobj.h>

#include <stdexcept>

#include "Activation.h"
#include "AsyncWait.h"
#include "ClassNames.h"
#include "HString.h"
#include "HostLog.h"
#include "QuorvelClock.h"
#include "QuorvelReportCrypto.h"
#include "QuorvelReportFiles.h"
#include "RuntimeError.h"
#include "Storage.h"

namespace quorvel {

namespace {

constexpr wchar_t kSaveFunction[] = L"quorvel::SaveEncryptedReportAsync";

rt::com_ptr<rt::IAsyncOperation<rt::StorageFolder>> StartGetFolder(const std::wstring& path) {
    const auto statics = rt::get_activation_factory<rt::IStorageFolderStatics>(rt::class_name::StorageFolder);
    rt::com_ptr<rt::IAsyncOperation<rt::StorageFolder>> operation;
    rt::check(statics->GetFolderFromPathAsync(rt::hstring(path).get(), operation.put()));
    return operation;
}

rt::com_ptr<rt::IAsyncOperation<rt::StorageFile>> StartCreateNewFile(rt::IStorageFolder* folder,
                                                                     const std::wstring& name) {
    rt::com_ptr<rt::IAsyncOperation<rt::StorageFile>> operation;
    rt::check(folder->CreateFileAsync(rt::hstring(name).get(), rt::CreationCollisionOption::FailIfExists,
                                      operation.put()));
    return operation;
}

rt::com_ptr<rt::IAsyncAction> StartWriteBytes(rt::IStorageFile* file, std::vector<std::uint8_t>& bytes) {
    const auto statics = rt::get_activation_factory<rt::IFileIOStatics>(rt::class_name::FileIO);
    rt::com_ptr<rt::IAsyncAction> operation;
    rt::check(statics->WriteBytesAsync(file, static_cast<UINT32>(bytes.size()), bytes.data(), operation.put()));
    return operation;
}

std::wstring PathOf(const rt::com_ptr<rt::IStorageFile>& file) {
    rt::hstring path;
    rt::check(file.As<rt::IStorageItem>()->get_Path(path.put()));
    return path.str();
}

void CreateFolder(const std::wstring& path) { CreateDirectoryW(path.c_str(), nullptr); }

void LogTemporaryFileLeft(const wchar_t* format, const std::wstring& tmpPath, DWORD error) {
    host_log::WriteLine(host_log::kWarning, __FILE__, __LINE__, kSaveFunction,
                        fmt::format(fmt::runtime(format), FileNameOf(tmpPath), error));
}

// Best effort: a failure is only logged.
bool DeleteTemporaryFile(const std::wstring& tmpPath) {
    if (DeleteFileW(tmpPath.c_str())) return true;
    LogTemporaryFileLeft(L"[Quorvel] Clean tmp failed: {} err={}", tmpPath, GetLastError());
    return false;
}

// After a failed rename the temporary file goes; the log line carries the
// rename's error, which is what tells why the report was lost. Not an error of
// the runtime calls: a plain exception, for the save's catch-all.
[[noreturn]] void DiscardAfterFailedRename(const std::wstring& tmpPath) {
    const DWORD renameError = GetLastError();
    if (!DeleteFileW(tmpPath.c_str())) {
        LogTemporaryFileLeft(L"[Quorvel] Clean tmp after rename failed: {} err={}", tmpPath, renameError);
    }
    throw std::runtime_error("MoveFileExW tmp->json failed");
}

}  // namespace

std::wstring GetReportDirectory() {
    try {
        wchar_t appData[MAX_PATH] = {};
        if (FAILED(SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, appData))) return {};
        const std::wstring company = std::wstring(appData) + L"\\Malvorn";
        const std::wstring product = company + L"\\Orvale";
        std::wstring reports = product + L"\\QuorvelCustomReport\\";
        CreateFolder(company);
        CreateFolder(product);
        CreateFolder(reports);
        return reports;
    } catch (...) {
        return {};
    }
}

rt::async_operation<HSTRING> SaveEncryptedReportAsync(std::wstring folder, std::vector<std::uint8_t> cipher) {
    if (cipher.empty()) co_return rt::hstring();
    std::wstring tmpPath;
    std::wstring tmpName;
    try {
        const std::wstring stamp = std::to_wstring(UnixNanosecondsNow());
        tmpName = stamp + L".tmp";
        const rt::com_ptr<rt::IStorageFolder> storageFolder = co_await StartGetFolder(folder);
        const rt::com_ptr<rt::IStorageFile> file = co_await StartCreateNewFile(storageFolder.get(), tmpName);
        tmpPath = PathOf(file);
        const std::wstring jsonPath = FolderOf(tmpPath) + stamp + L".json";
        co_await StartWriteBytes(file.get(), cipher);
        if (!MoveFileExW(tmpPath.c_str(), jsonPath.c_str(), 0)) DiscardAfterFailedRename(tmpPath);
        co_return rt::hstring(jsonPath);
    } catch (const rt::hresult_error& error) {
        HOST_LOG_WARN(kSaveFunction, L"[Quorvel] Encrypt save write/rename failed, cleaning tmp: {}", tmpName);
        HOST_LOG_ERROR(kSaveFunction, L"[Quorvel] Encrypt save exception: hr=0x{:08X}, {}", host_log::Hex(error.code()),
                       error.message());
        // Only a file this call created: a name that failed to be created may
        // belong to another writer of the same tick.
        if (!tmpPath.empty()) DeleteTemporaryFile(tmpPath);
    } catch (...) {
        HOST_LOG_ERROR(kSaveFunction, L"[Quorvel] Encrypt save unknown exception");
    }
    co_return rt::hstring();
}

std::wstring SaveEncryptedReport(const std::wstring& folder, const std::string& body) {
    try {
        std::vector<std::uint8_t> cipher = EncryptReport(body);
        if (cipher.empty()) return {};
        return rt::wait_for_result(SaveEncryptedReportAsync(folder, std::move(cipher)).get()).str();
    } catch (...) {
        return {};
    }
}

}  // namespace quorvel
