// The simulated storage rules that the report tests rely on without seeing
// them: a taken name refuses a new file, and the default delete recycles
// (ReportUploadTest finds nothing recycled only because the module deletes
// for good).
#include <gtest/gtest.h>

#include <windows.h>

#include <string>

#include "Activation.h"
#include "AsyncWait.h"
#include "ClassNames.h"
#include "ComPtr.h"
#include "HString.h"
#include "SimRuntimeControl.h"
#include "SimulationTest.h"
#include "Storage.h"
#include "StorageSimControl.h"
#include "TempFolder.h"

namespace {

using FileOperation = rt::IAsyncOperation<rt::StorageFile>;
using FolderOperation = rt::IAsyncOperation<rt::StorageFolder>;

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

bool exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

void delete_with_default_options(const std::wstring& path) {
    const auto item = rt::wait_for_result(file_operation(path).get()).As<rt::IStorageItem>();
    rt::com_ptr<rt::IAsyncAction> deleting;
    rt::check(item->DeleteAsyncOverloadDefaultOptions(deleting.put()));
    rt::wait_for_result(deleting.get());
}

class SimStorage : public SimulationTest {
protected:
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

TEST_F(SimStorage, TheDefaultDeleteRecyclesAFileOutsideApplicationData) {
    ASSERT_TRUE(WriteFileBytes(temp_ / L"kept.txt", "in the bin"));
    delete_with_default_options(temp_ / L"kept.txt");
    EXPECT_FALSE(exists(temp_ / L"kept.txt"));
    const auto recycled = sim_control::recycled_items();
    ASSERT_EQ(1u, recycled.size());
    EXPECT_EQ(temp_ / L"kept.txt", recycled[0].original);
    EXPECT_EQ("in the bin", ReadFileBytes(recycled[0].in_bin));
    DeleteFileW(recycled[0].in_bin.c_str());
}
