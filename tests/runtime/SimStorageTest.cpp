// The simulated storage classes reached through the system's activation, over
// a temporary folder: what the report queue's save and upload meet there that
// the report tests do not provoke (ReportQueueTest and ReportUploadTest cover
// the save, read and delete of a report itself).
#include <gtest/gtest.h>

#include <windows.h>

#include <optional>
#include <string>

#include "Activation.h"
#include "AsyncWait.h"
#include "ClassNames.h"
#include "ComPtr.h"
#include "HString.h"
#include "SimRuntimeControl.h"
#include "Storage.h"
#include "StorageSimControl.h"
#include "TempFolder.h"

namespace {

using FileOperation = rt::IAsyncOperation<rt::StorageFile>;
using FolderOperation = rt::IAsyncOperation<rt::StorageFolder>;

constexpr HRESULT kFileNotFound = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);

// The operation's ErrorCode once it ended; S_OK when it completed.
template <class Operation>
HRESULT error_of(const rt::com_ptr<Operation>& operation) {
    try {
        rt::wait_for_result(operation.get());
        return S_OK;
    } catch (const rt::hresult_error& error) {
        return error.code();
    }
}

rt::com_ptr<FolderOperation> folder_operation(const std::wstring& path) {
    const auto statics = rt::get_activation_factory<rt::IStorageFolderStatics>(rt::class_name::StorageFolder);
    rt::com_ptr<FolderOperation> operation;
    rt::check(statics->GetFolderFromPathAsync(rt::hstring(path).get(), operation.put()));
    return operation;
}

rt::com_ptr<FileOperation> file_operation(const std::wstring& path) {
    const auto statics = rt::get_activation_factory<rt::IStorageFileStatics>(rt::class_name::StorageFile);
    rt::com_ptr<FileOperation> operation;
    rt::check(statics->GetFileFromPathAsync(rt::hstring(path).get(), operation.put()));
    return operation;
}

// As the module creates its temporary file: never over another writer's.
rt::com_ptr<FileOperation> create_new(const std::wstring& folder, const wchar_t* name) {
    rt::com_ptr<FileOperation> operation;
    rt::check(rt::wait_for_result(folder_operation(folder).get())
                  ->CreateFileAsync(rt::hstring(name).get(), rt::CreationCollisionOption::FailIfExists, operation.put()));
    return operation;
}

rt::com_ptr<rt::IAsyncAction> write_operation(const rt::com_ptr<rt::IStorageFile>& file, std::string bytes) {
    const auto statics = rt::get_activation_factory<rt::IFileIOStatics>(rt::class_name::FileIO);
    rt::com_ptr<rt::IAsyncAction> operation;
    rt::check(statics->WriteBytesAsync(file.get(), static_cast<UINT32>(bytes.size()),
                                       reinterpret_cast<BYTE*>(bytes.data()), operation.put()));
    return operation;
}

bool exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

// Deletes the file at `path` with `option`, or with the overload without one.
void delete_file(const std::wstring& path, std::optional<rt::StorageDeleteOption> option) {
    const auto item = rt::wait_for_result(file_operation(path).get()).As<rt::IStorageItem>();
    rt::com_ptr<rt::IAsyncAction> deleting;
    rt::check(option ? item->DeleteAsync(*option, deleting.put()) : item->DeleteAsyncOverloadDefaultOptions(deleting.put()));
    rt::wait_for_result(deleting.get());
}

class SimStorage : public ::testing::Test {
protected:
    void SetUp() override { sim_control::reset(); }

    TempFolder temp_;
};

}  // namespace

// Two writers of one clock tick pick the same temporary name; the second must fail.
TEST_F(SimStorage, CreatingOnATakenNameFailsAndLeavesTheFileAlone) {
    ASSERT_TRUE(WriteFileBytes(temp_ / L"report.tmp", "other writer's"));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS), error_of(create_new(temp_.path(), L"report.tmp")));
    EXPECT_EQ("other writer's", ReadFileBytes(temp_ / L"report.tmp"));
    EXPECT_EQ(S_OK, error_of(create_new(temp_.path(), L"fresh.tmp")));
    EXPECT_TRUE(exists(temp_ / L"fresh.tmp"));
}

// A claimed report a rival removed, a queue folder that is gone.
TEST_F(SimStorage, LookupsOfMissingItemsFailAsWindowsDoes) {
    EXPECT_EQ(kFileNotFound, error_of(file_operation(temp_ / L"missing.txt")));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND), error_of(file_operation(temp_ / L"missing\\file.txt")));
    EXPECT_EQ(kFileNotFound, error_of(folder_operation(temp_ / L"missing")));
}

// The report tests steer saves by delaying them and planning their outcome.
TEST_F(SimStorage, WorkIsDoneWhenTheOperationCompletesAndNotWhenItIsPlannedToFail) {
    sim_control::set_async_delay_ms(300);
    const auto creation = create_new(temp_.path(), L"late.txt");
    EXPECT_FALSE(exists(temp_ / L"late.txt"));
    const auto file = rt::wait_for_result(creation.get());
    EXPECT_TRUE(exists(temp_ / L"late.txt"));
    const auto writing = write_operation(file, "data");
    EXPECT_EQ("", ReadFileBytes(temp_ / L"late.txt"));
    rt::wait_for_result(writing.get());
    EXPECT_EQ("data", ReadFileBytes(temp_ / L"late.txt"));
    sim_control::set_async_delay_ms(0);

    sim_control::queue_async_outcome(L"FileIO.WriteBytesAsync", 3, E_ACCESSDENIED);
    EXPECT_EQ(E_ACCESSDENIED, error_of(write_operation(file, "lost")));
    EXPECT_EQ("data", ReadFileBytes(temp_ / L"late.txt"));
}

// A file outside the application-data locations goes to the recycle folder
// unless it is deleted for good; inside them it is deleted either way.
TEST_F(SimStorage, TheDefaultDeleteRecyclesOutsideApplicationData) {
    ASSERT_TRUE(WriteFileBytes(temp_ / L"kept.txt", "in the bin"));
    delete_file(temp_ / L"kept.txt", std::nullopt);
    EXPECT_FALSE(exists(temp_ / L"kept.txt"));
    const auto recycled = sim_control::recycled_items();
    ASSERT_EQ(1u, recycled.size());
    EXPECT_EQ(temp_ / L"kept.txt", recycled[0].original);
    EXPECT_EQ("in the bin", ReadFileBytes(recycled[0].in_bin));
    DeleteFileW(recycled[0].in_bin.c_str());

    wchar_t localAppData[MAX_PATH] = {};
    ASSERT_NE(0u, GetEnvironmentVariableW(L"LOCALAPPDATA", localAppData, MAX_PATH));
    const std::wstring packages = std::wstring(localAppData) + L"\\Packages";
    CreateDirectoryW(packages.c_str(), nullptr);
    const std::wstring packageState = packages + L"\\SimStorageTest_" + FreshGuidText();
    ASSERT_TRUE(CreateDirectoryW(packageState.c_str(), nullptr));
    for (const auto& [path, option] :
         {std::pair{temp_ / L"gone.txt", std::optional{rt::StorageDeleteOption::PermanentDelete}},
          std::pair{packageState + L"\\state.txt", std::optional<rt::StorageDeleteOption>{}}}) {
        ASSERT_TRUE(WriteFileBytes(path, "x"));
        delete_file(path, option);
        EXPECT_FALSE(exists(path));
    }
    RemoveDirectoryW(packageState.c_str());
    EXPECT_EQ(1u, sim_control::recycled_items().size());
}
