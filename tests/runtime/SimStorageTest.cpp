// The simulated storage rule that the report tests rely on without seeing it:
// a taken name refuses a new file.
#include <gtest/gtest.h>

#include <windows.h>

#include <string>

#include "Activation.h"
#include "AsyncWait.h"
#include "ClassNames.h"
#include "ComPtr.h"
#include "HString.h"
#include "SimulationTest.h"
#include "Storage.h"
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

// As the module creates its temporary file: never over another writer's.
rt::com_ptr<FileOperation> create_new(const std::wstring& folder, const wchar_t* name) {
    rt::com_ptr<FileOperation> operation;
    rt::check(rt::wait_for_result(folder_operation(folder).get())
                  ->CreateFileAsync(rt::hstring(name).get(), rt::CreationCollisionOption::FailIfExists, operation.put()));
    return operation;
}

bool exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

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
