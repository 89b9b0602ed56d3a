#pragma once
// Windows.Storage and Windows.Storage.Streams: folders and files by path, whole-file
// reads and writes, and the byte buffers they hand out. StorageFile and
// StorageFolder objects also implement IStorageItem, reached through
// QueryInterface; a buffer's bytes are reached through IBufferByteAccess.
#include <windows.h>
#include <hstring.h>
#include <inspectable.h>

#include <cstdint>

#include "Collections.h"
#include "Foundation.h"
#include "Guid.h"
#include "Signature.h"

namespace rt {

enum class CreationCollisionOption : std::int32_t {
    GenerateUniqueName = 0,
    ReplaceExisting = 1,
    FailIfExists = 2,
    OpenIfExists = 3,
};
template <>
struct signature<CreationCollisionOption>
    : enum_signature<"Windows.Storage.CreationCollisionOption", CreationCollisionOption> {};

enum class NameCollisionOption : std::int32_t { GenerateUniqueName = 0, ReplaceExisting = 1, FailIfExists = 2 };
template <>
struct signature<NameCollisionOption> : enum_signature<"Windows.Storage.NameCollisionOption", NameCollisionOption> {};

enum class StorageDeleteOption : std::int32_t { Default = 0, PermanentDelete = 1 };
template <>
struct signature<StorageDeleteOption> : enum_signature<"Windows.Storage.StorageDeleteOption", StorageDeleteOption> {};

// Flags.
enum class FileAttributes : std::uint32_t {
    Normal = 0,
    ReadOnly = 0x1,
    Directory = 0x10,
    Archive = 0x20,
    Temporary = 0x100,
    LocallyIncomplete = 0x200,
};
template <>
struct signature<FileAttributes> : enum_signature<"Windows.Storage.FileAttributes", FileAttributes> {};

// Flags.
enum class StorageItemTypes : std::uint32_t { None = 0, File = 0x1, Folder = 0x2 };
template <>
struct signature<StorageItemTypes> : enum_signature<"Windows.Storage.StorageItemTypes", StorageItemTypes> {};

enum class FileAccessMode : std::int32_t { Read = 0, ReadWrite = 1 };
template <>
struct signature<FileAccessMode> : enum_signature<"Windows.Storage.FileAccessMode", FileAccessMode> {};

// Windows.Storage.Streams.
enum class UnicodeEncoding : std::int32_t { Utf8 = 0, Utf16LE = 1, Utf16BE = 2 };
template <>
struct signature<UnicodeEncoding> : enum_signature<"Windows.Storage.Streams.UnicodeEncoding", UnicodeEncoding> {};

// Only passed through here; nothing calls into them.
struct BasicProperties;
struct StorageStreamTransaction;
struct IRandomAccessStream;
struct IRandomAccessStreamReference;
struct StreamedFileDataRequestedHandler;

// Windows.Storage.Streams.IBuffer, the default interface of Windows.Storage.Streams.Buffer.
struct IBuffer : IInspectable {
    static constexpr GUID iid = guid("905a0fe0-bc53-11df-8c49-001e4fc686da");
    virtual HRESULT STDMETHODCALLTYPE get_Capacity(UINT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Length(UINT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Length(UINT32 value) = 0;
};

// Classic COM, reached by QueryInterface on an IBuffer. The bytes stay valid
// while the buffer is referenced.
struct IBufferByteAccess : IUnknown {
    static constexpr GUID iid = guid("905a0fef-bc53-11df-8c49-001e4fc686da");
    virtual HRESULT STDMETHODCALLTYPE Buffer(BYTE** value) = 0;
};

struct IStorageItem : IInspectable {
    static constexpr GUID iid = guid("4207a996-ca2f-42f7-bde8-8b10457a7f30");
    virtual HRESULT STDMETHODCALLTYPE RenameAsyncOverloadDefaultOptions(HSTRING desiredName,
                                                                        IAsyncAction** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE RenameAsync(HSTRING desiredName, NameCollisionOption option,
                                                  IAsyncAction** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteAsyncOverloadDefaultOptions(IAsyncAction** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteAsync(StorageDeleteOption option, IAsyncAction** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBasicPropertiesAsync(IAsyncOperation<BasicProperties>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Name(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Path(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Attributes(FileAttributes* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_DateCreated(DateTime* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsOfType(StorageItemTypes type, boolean* value) = 0;
};

struct IStorageFolder;
struct StorageFile;

struct IStorageFile : IInspectable {
    static constexpr GUID iid = guid("fa3f6186-4214-428c-a64c-14c9ac7315ea");
    virtual HRESULT STDMETHODCALLTYPE get_FileType(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ContentType(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE OpenAsync(FileAccessMode accessMode,
                                                IAsyncOperation<IRandomAccessStream>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE OpenTransactedWriteAsync(
        IAsyncOperation<StorageStreamTransaction>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE CopyOverloadDefaultNameAndOptions(IStorageFolder* destinationFolder,
                                                                        IAsyncOperation<StorageFile>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE CopyOverloadDefaultOptions(IStorageFolder* destinationFolder,
                                                                 HSTRING desiredNewName,
                                                                 IAsyncOperation<StorageFile>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE CopyOverload(IStorageFolder* destinationFolder, HSTRING desiredNewName,
                                                   NameCollisionOption option,
                                                   IAsyncOperation<StorageFile>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE CopyAndReplaceAsync(IStorageFile* fileToReplace, IAsyncAction** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE MoveOverloadDefaultNameAndOptions(IStorageFolder* destinationFolder,
                                                                        IAsyncAction** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE MoveOverloadDefaultOptions(IStorageFolder* destinationFolder,
                                                                 HSTRING desiredNewName, IAsyncAction** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE MoveOverload(IStorageFolder* destinationFolder, HSTRING desiredNewName,
                                                   NameCollisionOption option, IAsyncAction** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE MoveAndReplaceAsync(IStorageFile* fileToReplace, IAsyncAction** operation) = 0;
};

struct StorageFile : runtime_class<"Windows.Storage.StorageFile", IStorageFile> {};

struct StorageFolder;

struct IStorageFolder : IInspectable {
    static constexpr GUID iid = guid("72d1cb78-b3ef-4f75-a80b-6fd9dae2944b");
    virtual HRESULT STDMETHODCALLTYPE CreateFileAsyncOverloadDefaultOptions(
        HSTRING desiredName, IAsyncOperation<StorageFile>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateFileAsync(HSTRING desiredName, CreationCollisionOption options,
                                                      IAsyncOperation<StorageFile>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateFolderAsyncOverloadDefaultOptions(
        HSTRING desiredName, IAsyncOperation<StorageFolder>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateFolderAsync(HSTRING desiredName, CreationCollisionOption options,
                                                        IAsyncOperation<StorageFolder>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFileAsync(HSTRING name, IAsyncOperation<StorageFile>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFolderAsync(HSTRING name, IAsyncOperation<StorageFolder>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetItemAsync(HSTRING name, IAsyncOperation<IStorageItem>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFilesAsyncOverloadDefaultOptionsStartAndCount(
        IAsyncOperation<IVectorView<StorageFile>>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFoldersAsyncOverloadDefaultOptionsStartAndCount(
        IAsyncOperation<IVectorView<StorageFolder>>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetItemsAsyncOverloadDefaultStartAndCount(
        IAsyncOperation<IVectorView<IStorageItem>>** operation) = 0;
};

struct StorageFolder : runtime_class<"Windows.Storage.StorageFolder", IStorageFolder> {};

// Statics of StorageFolder.
struct IStorageFolderStatics : IInspectable {
    static constexpr GUID iid = guid("08f327ff-85d5-48b9-aee9-28511e339f9f");
    virtual HRESULT STDMETHODCALLTYPE GetFolderFromPathAsync(HSTRING path,
                                                             IAsyncOperation<StorageFolder>** operation) = 0;
};

// Statics of StorageFile. The facts confirm the order of slots 8 to 11 and
// their pointer shapes, not their element types.
struct IStorageFileStatics : IInspectable {
    static constexpr GUID iid = guid("5984c710-daf2-43c8-8bb4-a4d3eacfd03f");
    virtual HRESULT STDMETHODCALLTYPE GetFileFromPathAsync(HSTRING path, IAsyncOperation<StorageFile>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFileFromApplicationUriAsync(IUriRuntimeClass* uri,
                                                                     IAsyncOperation<StorageFile>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateStreamedFileAsync(HSTRING displayNameWithExtension,
                                                              StreamedFileDataRequestedHandler* dataRequested,
                                                              IRandomAccessStreamReference* thumbnail,
                                                              IAsyncOperation<StorageFile>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReplaceWithStreamedFileAsync(IStorageFile* fileToReplace,
                                                                   StreamedFileDataRequestedHandler* dataRequested,
                                                                   IRandomAccessStreamReference* thumbnail,
                                                                   IAsyncOperation<StorageFile>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateStreamedFileFromUriAsync(HSTRING displayNameWithExtension,
                                                                     IUriRuntimeClass* uri,
                                                                     IRandomAccessStreamReference* thumbnail,
                                                                     IAsyncOperation<StorageFile>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReplaceWithStreamedFileFromUriAsync(IStorageFile* fileToReplace,
                                                                          IUriRuntimeClass* uri,
                                                                          IRandomAccessStreamReference* thumbnail,
                                                                          IAsyncOperation<StorageFile>** operation) = 0;
};

// Statics of FileIO. Every file parameter is the interface, not the class.
struct IFileIOStatics : IInspectable {
    static constexpr GUID iid = guid("887411eb-7f54-4732-a5f0-5e43e3b8c2f5");
    virtual HRESULT STDMETHODCALLTYPE ReadTextAsync(IStorageFile* file, IAsyncOperation<HSTRING>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReadTextWithEncodingAsync(IStorageFile* file, UnicodeEncoding encoding,
                                                                IAsyncOperation<HSTRING>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteTextAsync(IStorageFile* file, HSTRING contents,
                                                     IAsyncAction** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteTextWithEncodingAsync(IStorageFile* file, HSTRING contents,
                                                                 UnicodeEncoding encoding,
                                                                 IAsyncAction** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE AppendTextAsync(IStorageFile* file, HSTRING contents,
                                                      IAsyncAction** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE AppendTextWithEncodingAsync(IStorageFile* file, HSTRING contents,
                                                                  UnicodeEncoding encoding,
                                                                  IAsyncAction** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReadLinesAsync(IStorageFile* file,
                                                     IAsyncOperation<IVector<HSTRING>>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReadLinesWithEncodingAsync(IStorageFile* file, UnicodeEncoding encoding,
                                                                 IAsyncOperation<IVector<HSTRING>>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteLinesAsync(IStorageFile* file, IIterable<HSTRING>* lines,
                                                      IAsyncAction** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteLinesWithEncodingAsync(IStorageFile* file, IIterable<HSTRING>* lines,
                                                                  UnicodeEncoding encoding,
                                                                  IAsyncAction** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE AppendLinesAsync(IStorageFile* file, IIterable<HSTRING>* lines,
                                                       IAsyncAction** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE AppendLinesWithEncodingAsync(IStorageFile* file, IIterable<HSTRING>* lines,
                                                                   UnicodeEncoding encoding,
                                                                   IAsyncAction** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReadBufferAsync(IStorageFile* file, IAsyncOperation<IBuffer>** operation) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteBufferAsync(IStorageFile* file, IBuffer* buffer,
                                                       IAsyncAction** operation) = 0;
    // An input array: the length first, then the bytes, which the call does not change.
    virtual HRESULT STDMETHODCALLTYPE WriteBytesAsync(IStorageFile* file, UINT32 bufferLength, BYTE* buffer,
                                                      IAsyncAction** operation) = 0;
};

}  // namespace rt
