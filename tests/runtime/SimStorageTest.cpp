// The simulated storage classes reached through the system's activation, over
// a temporary folder: what they do to the file system and the errors they give.
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>

#include "Activation.h"
#include "AsyncWait.h"
#include "ClassNames.h"
#include "ComPtr.h"
#include "Delegate.h"
#include "HString.h"
#include "SimRuntimeControl.h"
#include "Storage.h"
#include "TempFolder.h"

namespace {

using FileOperation = rt::IAsyncOperation<rt::StorageFile>;
using FolderOperation = rt::IAsyncOperation<rt::StorageFolder>;
using rt::CreationCollisionOption;

constexpr HRESULT kFileNotFound = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
constexpr HRESULT kPathNotFound = HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND);
constexpr HRESULT kAlreadyExists = HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS);

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

rt::com_ptr<rt::IStorageFolder> folder_at(const std::wstring& path) {
    return rt::wait_for_result(folder_operation(path).get());
}

rt::com_ptr<FileOperation> create_operation(const rt::com_ptr<rt::IStorageFolder>& folder, const wchar_t* name,
                                            CreationCollisionOption option) {
    rt::com_ptr<FileOperation> operation;
    rt::check(folder->CreateFileAsync(rt::hstring(name).get(), option, operation.put()));
    return operation;
}

rt::com_ptr<rt::IStorageFile> create_file(const rt::com_ptr<rt::IStorageFolder>& folder, const wchar_t* name,
                                          CreationCollisionOption option) {
    return rt::wait_for_result(create_operation(folder, name, option).get());
}

template <class Item>
std::wstring path_of(const rt::com_ptr<Item>& item) {
    rt::hstring path;
    rt::check(item.template As<rt::IStorageItem>()->get_Path(path.put()));
    return path.str();
}

template <class Item>
std::wstring name_of(const rt::com_ptr<Item>& item) {
    rt::hstring name;
    rt::check(item.template As<rt::IStorageItem>()->get_Name(name.put()));
    return name.str();
}

rt::com_ptr<rt::IFileIOStatics> file_io() {
    return rt::get_activation_factory<rt::IFileIOStatics>(rt::class_name::FileIO);
}

rt::com_ptr<rt::IAsyncAction> write_operation(const rt::com_ptr<rt::IStorageFile>& file, std::string bytes) {
    rt::com_ptr<rt::IAsyncAction> operation;
    rt::check(file_io()->WriteBytesAsync(file.get(), static_cast<UINT32>(bytes.size()),
                                         reinterpret_cast<BYTE*>(bytes.data()), operation.put()));
    return operation;
}

rt::com_ptr<rt::IAsyncOperation<rt::IBuffer>> read_operation(const rt::com_ptr<rt::IStorageFile>& file) {
    rt::com_ptr<rt::IAsyncOperation<rt::IBuffer>> operation;
    rt::check(file_io()->ReadBufferAsync(file.get(), operation.put()));
    return operation;
}

std::string bytes_of(const rt::com_ptr<rt::IBuffer>& buffer) {
    UINT32 length = 0;
    rt::check(buffer->get_Length(&length));
    BYTE* bytes = nullptr;
    rt::check(buffer.As<rt::IBufferByteAccess>()->Buffer(&bytes));
    return std::string(reinterpret_cast<const char*>(bytes), length);
}

bool exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

class SimStorage : public ::testing::Test {
protected:
    void SetUp() override { sim_control::reset(); }

    TempFolder temp_;
};

}  // namespace

TEST_F(SimStorage, CreatesWritesReadsBackAndDeletesAFile) {
    const auto folder = folder_at(temp_.path() + L"\\");
    EXPECT_EQ(temp_.path(), path_of(folder));
    EXPECT_EQ(temp_.path().substr(temp_.path().find_last_of(L'\\') + 1), name_of(folder));

    const auto file = create_file(folder, L"image.png", CreationCollisionOption::ReplaceExisting);
    EXPECT_EQ(temp_ / L"image.png", path_of(file));
    EXPECT_EQ(L"image.png", name_of(file));

    const std::string content("\x89PNG\0\r\n", 7);
    rt::wait_for_result(write_operation(file, content).get());
    EXPECT_EQ(content, ReadFileBytes(temp_ / L"image.png"));
    rt::wait_for_result(write_operation(file, "ab").get());  // replaces, never appends
    EXPECT_EQ("ab", ReadFileBytes(temp_ / L"image.png"));

    const auto found = rt::wait_for_result(file_operation(temp_ / L"image.png").get());
    const auto buffer = rt::wait_for_result(read_operation(found).get());
    EXPECT_EQ("ab", bytes_of(buffer));
    UINT32 capacity = 0;
    ASSERT_EQ(S_OK, buffer->get_Capacity(&capacity));
    EXPECT_EQ(2u, capacity);
    EXPECT_EQ(E_INVALIDARG, buffer->put_Length(3));
    ASSERT_EQ(S_OK, buffer->put_Length(1));
    EXPECT_EQ("a", bytes_of(buffer));

    rt::com_ptr<FileOperation> byName;
    ASSERT_EQ(S_OK, folder->GetFileAsync(rt::hstring(L"image.png").get(), byName.put()));
    rt::com_ptr<rt::IAsyncAction> deletion;
    ASSERT_EQ(S_OK, rt::wait_for_result(byName.get()).As<rt::IStorageItem>()->DeleteAsync(
                        rt::StorageDeleteOption::PermanentDelete, deletion.put()));
    rt::wait_for_result(deletion.get());
    EXPECT_FALSE(exists(temp_ / L"image.png"));

    EXPECT_EQ(kFileNotFound, error_of(read_operation(file)));
    EXPECT_EQ(kFileNotFound, error_of(write_operation(file, "x")));  // writing never creates the file
    ASSERT_EQ(S_OK, file.As<rt::IStorageItem>()->DeleteAsyncOverloadDefaultOptions(deletion.put()));
    EXPECT_EQ(kFileNotFound, error_of(deletion));
}

TEST_F(SimStorage, CollisionOptionsOnATakenName) {
    const auto folder = folder_at(temp_.path());
    ASSERT_TRUE(WriteFileBytes(temp_ / L"report.txt", "old"));
    ASSERT_TRUE(WriteFileBytes(temp_ / L"notes", "old"));

    EXPECT_EQ(temp_ / L"report (2).txt",
              path_of(create_file(folder, L"report.txt", CreationCollisionOption::GenerateUniqueName)));
    EXPECT_EQ(temp_ / L"report (3).txt",
              path_of(create_file(folder, L"report.txt", CreationCollisionOption::GenerateUniqueName)));
    EXPECT_EQ(temp_ / L"notes (2)", path_of(create_file(folder, L"notes", CreationCollisionOption::GenerateUniqueName)));
    EXPECT_EQ(temp_ / L"fresh.txt",
              path_of(create_file(folder, L"fresh.txt", CreationCollisionOption::GenerateUniqueName)));

    EXPECT_EQ(temp_ / L"report.txt", path_of(create_file(folder, L"report.txt", CreationCollisionOption::OpenIfExists)));
    EXPECT_EQ("old", ReadFileBytes(temp_ / L"report.txt"));
    EXPECT_EQ(temp_ / L"report.txt",
              path_of(create_file(folder, L"report.txt", CreationCollisionOption::ReplaceExisting)));
    EXPECT_EQ("", ReadFileBytes(temp_ / L"report.txt"));

    EXPECT_EQ(kAlreadyExists, error_of(create_operation(folder, L"report.txt", CreationCollisionOption::FailIfExists)));
    rt::com_ptr<FileOperation> byDefault;
    ASSERT_EQ(S_OK, folder->CreateFileAsyncOverloadDefaultOptions(rt::hstring(L"notes").get(), byDefault.put()));
    EXPECT_EQ(kAlreadyExists, error_of(byDefault));
    ASSERT_TRUE(CreateDirectoryW((temp_ / L"sub").c_str(), nullptr));
    EXPECT_EQ(kAlreadyExists, error_of(create_operation(folder, L"sub", CreationCollisionOption::OpenIfExists)));
    EXPECT_EQ(temp_ / L"created.txt",
              path_of(create_file(folder, L"created.txt", CreationCollisionOption::FailIfExists)));

    for (const wchar_t* badName : {L"a\\b.txt", L"a/b.txt", L"what?.txt", L".."}) {
        EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_INVALID_NAME),
                  error_of(create_operation(folder, badName, CreationCollisionOption::OpenIfExists)))
            << badName;
    }
    EXPECT_EQ(E_INVALIDARG, error_of(create_operation(folder, L"", CreationCollisionOption::OpenIfExists)));
}

TEST_F(SimStorage, LookupsByPathFailAsWindowsDoes) {
    ASSERT_TRUE(WriteFileBytes(temp_ / L"file.txt", "x"));
    for (const std::wstring& notFull : {std::wstring(L"relative\\folder"), std::wstring(L""), std::wstring(L"C:temp"),
                                        std::wstring(L"\\no-drive"), temp_.path() + L"/forward"}) {
        EXPECT_EQ(E_INVALIDARG, error_of(folder_operation(notFull))) << notFull;
        EXPECT_EQ(E_INVALIDARG, error_of(file_operation(notFull))) << notFull;
    }
    EXPECT_EQ(kFileNotFound, error_of(folder_operation(temp_ / L"missing")));
    EXPECT_EQ(kFileNotFound, error_of(file_operation(temp_ / L"missing.txt")));
    EXPECT_EQ(kPathNotFound, error_of(folder_operation(temp_ / L"missing\\inner")));
    EXPECT_EQ(kPathNotFound, error_of(file_operation(temp_ / L"missing\\file.txt")));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_DIRECTORY), error_of(folder_operation(temp_ / L"file.txt")));
    EXPECT_EQ(E_INVALIDARG, error_of(file_operation(temp_.path())));
    EXPECT_EQ(temp_ / L"file.txt", path_of(rt::wait_for_result(file_operation(temp_ / L"sub\\..\\file.txt").get())));

    const auto folder = folder_at(temp_.path());
    rt::com_ptr<FileOperation> missing;
    ASSERT_EQ(S_OK, folder->GetFileAsync(rt::hstring(L"missing.txt").get(), missing.put()));
    EXPECT_EQ(kFileNotFound, error_of(missing));
}

TEST_F(SimStorage, OperationsDoTheirWorkWhenTheyCompleteOnAnotherThreadAndFollowTheSteering) {
    const auto folder = folder_at(temp_.path());
    sim_control::set_async_delay_ms(300);
    const auto creation = create_operation(folder, L"late.txt", CreationCollisionOption::FailIfExists);
    EXPECT_FALSE(exists(temp_ / L"late.txt"));

    struct seen {
        std::atomic<DWORD> thread{0};
        std::atomic<rt::AsyncStatus> status{rt::AsyncStatus::Started};
    };
    const auto record = std::make_shared<seen>();
    const auto file = rt::wait_for_result(creation.get());
    EXPECT_TRUE(exists(temp_ / L"late.txt"));
    const auto writing = write_operation(file, "data");
    ASSERT_EQ(S_OK, writing->put_Completed(rt::make_delegate<rt::AsyncActionCompletedHandler>(
                                               [record](rt::IAsyncAction*, rt::AsyncStatus status) {
                                                   record->thread = GetCurrentThreadId();
                                                   record->status = status;
                                               })
                                               .get()));
    EXPECT_EQ(rt::hresults::illegal_delegate_assignment, writing->put_Completed(nullptr));
    EXPECT_EQ(rt::hresults::illegal_method_call, writing->GetResults());
    EXPECT_EQ("", ReadFileBytes(temp_ / L"late.txt"));
    for (int i = 0; i < 500 && record->status == rt::AsyncStatus::Started; ++i) Sleep(10);
    EXPECT_EQ(rt::AsyncStatus::Completed, record->status.load());
    EXPECT_NE(0u, record->thread.load());
    EXPECT_NE(GetCurrentThreadId(), record->thread.load());
    EXPECT_EQ(S_OK, writing->GetResults());
    EXPECT_EQ("data", ReadFileBytes(temp_ / L"late.txt"));
    sim_control::set_async_delay_ms(0);

    sim_control::fail_next_call(L"FileIO.WriteBytesAsync", E_ACCESSDENIED);
    rt::com_ptr<rt::IAsyncAction> refused;
    BYTE byte = 1;
    EXPECT_EQ(E_ACCESSDENIED, file_io()->WriteBytesAsync(file.get(), 1, &byte, refused.put()));
    EXPECT_FALSE(refused);

    sim_control::queue_async_outcome(L"FileIO.WriteBytesAsync", 3, E_ACCESSDENIED);
    EXPECT_EQ(E_ACCESSDENIED, error_of(write_operation(file, "lost")));
    EXPECT_EQ("data", ReadFileBytes(temp_ / L"late.txt"));

    sim_control::set_async_outcome(L"StorageFile.DeleteAsync", 0);
    rt::com_ptr<rt::IAsyncAction> deletion;
    ASSERT_EQ(S_OK, file.As<rt::IStorageItem>()->DeleteAsync(rt::StorageDeleteOption::Default, deletion.put()));
    ASSERT_EQ(S_OK, deletion.As<rt::IAsyncInfo>()->Cancel());
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_CANCELLED), error_of(deletion));
    EXPECT_TRUE(exists(temp_ / L"late.txt"));

    EXPECT_EQ(1u, sim_control::call_count(L"StorageFolder.CreateFileAsync"));
    const auto log = sim_control::call_log();
    EXPECT_NE(log.end(), std::find(log.begin(), log.end(), L"StorageFolder.CreateFileAsync(late.txt, 2)"));
    EXPECT_NE(log.end(), std::find(log.begin(), log.end(), L"FileIO.WriteBytesAsync(" + (temp_ / L"late.txt") + L", 4)"));
}
