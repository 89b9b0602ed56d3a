#pragma once
// Windows.Foundation: asynchronous operations, events, boxed values and Uri.
// Requires relations between interfaces are reached through QueryInterface,
// never through vtable inheritance; delegates derive from IUnknown.
#include <windows.h>
#include <hstring.h>
#include <inspectable.h>

#include <cstdint>

#include "AbiValue.h"
#include "Guid.h"
#include "Piid.h"
#include "Signature.h"

namespace rt {

// Structs and enums

struct DateTime {
    std::int64_t UniversalTime;  // 100-ns intervals since 1601-01-01 UTC
};
template <> struct signature<DateTime> : struct_signature<"Windows.Foundation.DateTime", std::int64_t> {};

struct TimeSpan {
    std::int64_t Duration;  // 100-ns intervals
};
template <> struct signature<TimeSpan> : struct_signature<"Windows.Foundation.TimeSpan", std::int64_t> {};

struct EventRegistrationToken {
    std::int64_t Value;
};
template <>
struct signature<EventRegistrationToken> : struct_signature<"Windows.Foundation.EventRegistrationToken", std::int64_t> {};

struct Point {
    float X;
    float Y;
};
template <> struct signature<Point> : struct_signature<"Windows.Foundation.Point", float, float> {};

struct Size {
    float Width;
    float Height;
};
template <> struct signature<Size> : struct_signature<"Windows.Foundation.Size", float, float> {};

struct Rect {
    float X;
    float Y;
    float Width;
    float Height;
};
template <> struct signature<Rect> : struct_signature<"Windows.Foundation.Rect", float, float, float, float> {};

enum class AsyncStatus : std::int32_t { Started = 0, Completed = 1, Canceled = 2, Error = 3 };
template <> struct signature<AsyncStatus> : enum_signature<"Windows.Foundation.AsyncStatus", AsyncStatus> {};

enum class PropertyType : std::int32_t {
    Empty = 0,
    UInt8 = 1,
    Int16 = 2,
    UInt16 = 3,
    Int32 = 4,
    UInt32 = 5,
    Int64 = 6,
    UInt64 = 7,
    Single = 8,
    Double = 9,
    Char16 = 10,
    Boolean = 11,
    String = 12,
    Inspectable = 13,
    DateTime = 14,
    TimeSpan = 15,
    Guid = 16,
    Point = 17,
    Size = 18,
    Rect = 19,
    OtherType = 20,
    UInt8Array = 1025,
    Int16Array = 1026,
    UInt16Array = 1027,
    Int32Array = 1028,
    UInt32Array = 1029,
    Int64Array = 1030,
    UInt64Array = 1031,
    SingleArray = 1032,
    DoubleArray = 1033,
    Char16Array = 1034,
    BooleanArray = 1035,
    StringArray = 1036,
    InspectableArray = 1037,
    DateTimeArray = 1038,
    TimeSpanArray = 1039,
    GuidArray = 1040,
    PointArray = 1041,
    SizeArray = 1042,
    RectArray = 1043,
    OtherTypeArray = 1044,
};
template <> struct signature<PropertyType> : enum_signature<"Windows.Foundation.PropertyType", PropertyType> {};

// Asynchronous operations

struct IAsyncInfo : IInspectable {
    static constexpr GUID iid = guid("00000036-0000-0000-c000-000000000046");
    virtual HRESULT STDMETHODCALLTYPE get_Id(UINT32* id) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Status(AsyncStatus* status) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ErrorCode(HRESULT* errorCode) = 0;
    virtual HRESULT STDMETHODCALLTYPE Cancel() = 0;
    virtual HRESULT STDMETHODCALLTYPE Close() = 0;
};

struct IAsyncAction;

struct AsyncActionCompletedHandler : IUnknown {
    static constexpr GUID iid = guid("a4ed5c81-76c9-40bd-8be6-b1d90fb20ae7");
    static constexpr auto signature = delegate_signature(iid);
    virtual HRESULT STDMETHODCALLTYPE Invoke(IAsyncAction* asyncInfo, AsyncStatus status) = 0;
};

struct IAsyncAction : IInspectable {
    static constexpr GUID iid = guid("5a648006-843a-4da9-865b-9d26e5dfad7b");
    using completed_handler = AsyncActionCompletedHandler;
    using result_type = void;
    virtual HRESULT STDMETHODCALLTYPE put_Completed(AsyncActionCompletedHandler* handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Completed(AsyncActionCompletedHandler** handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetResults() = 0;
};

template <class TResult>
struct IAsyncOperation;

template <class TResult>
struct AsyncOperationCompletedHandler : IUnknown {
    static constexpr auto signature = pinterface_signature<TResult>(guid("fcdcf02c-e5d8-4478-915a-4d90b74b83a5"));
    static constexpr GUID iid = piid(signature);
    virtual HRESULT STDMETHODCALLTYPE Invoke(IAsyncOperation<TResult>* asyncInfo, AsyncStatus status) = 0;
};

template <class TResult>
struct IAsyncOperation : IInspectable {
    static constexpr auto signature = pinterface_signature<TResult>(guid("9fc2b0bb-e446-44e2-aa61-9cab8f636af2"));
    static constexpr GUID iid = piid(signature);
    using completed_handler = AsyncOperationCompletedHandler<TResult>;
    using result_type = TResult;
    virtual HRESULT STDMETHODCALLTYPE put_Completed(AsyncOperationCompletedHandler<TResult>* handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Completed(AsyncOperationCompletedHandler<TResult>** handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetResults(abi_t<TResult>* results) = 0;
};

template <class TResult, class TProgress>
struct IAsyncOperationWithProgress;

template <class TResult, class TProgress>
struct AsyncOperationProgressHandler : IUnknown {
    static constexpr auto signature =
        pinterface_signature<TResult, TProgress>(guid("55690902-0aab-421a-8778-f8ce5026d758"));
    static constexpr GUID iid = piid(signature);
    virtual HRESULT STDMETHODCALLTYPE Invoke(IAsyncOperationWithProgress<TResult, TProgress>* asyncInfo,
                                             abi_t<TProgress> progressInfo) = 0;
};

template <class TResult, class TProgress>
struct AsyncOperationWithProgressCompletedHandler : IUnknown {
    static constexpr auto signature =
        pinterface_signature<TResult, TProgress>(guid("e85df41d-6aa7-46e3-a8e2-f009d840c627"));
    static constexpr GUID iid = piid(signature);
    virtual HRESULT STDMETHODCALLTYPE Invoke(IAsyncOperationWithProgress<TResult, TProgress>* asyncInfo,
                                             AsyncStatus status) = 0;
};

template <class TResult, class TProgress>
struct IAsyncOperationWithProgress : IInspectable {
    static constexpr auto signature =
        pinterface_signature<TResult, TProgress>(guid("b5d036d7-e297-498f-ba60-0289e76e23dd"));
    static constexpr GUID iid = piid(signature);
    using completed_handler = AsyncOperationWithProgressCompletedHandler<TResult, TProgress>;
    using progress_handler = AsyncOperationProgressHandler<TResult, TProgress>;
    using result_type = TResult;
    using progress_type = TProgress;
    virtual HRESULT STDMETHODCALLTYPE put_Progress(AsyncOperationProgressHandler<TResult, TProgress>* handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Progress(AsyncOperationProgressHandler<TResult, TProgress>** handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Completed(
        AsyncOperationWithProgressCompletedHandler<TResult, TProgress>* handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Completed(
        AsyncOperationWithProgressCompletedHandler<TResult, TProgress>** handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetResults(abi_t<TResult>* results) = 0;
};

// Events

template <class TSender, class TResult>
struct TypedEventHandler : IUnknown {
    static constexpr auto signature =
        pinterface_signature<TSender, TResult>(guid("9de1c534-6ae1-11e0-84e1-18a905bcc53f"));
    static constexpr GUID iid = piid(signature);
    virtual HRESULT STDMETHODCALLTYPE Invoke(abi_t<TSender> sender, abi_t<TResult> args) = 0;
};

// Boxed values

template <class T>
struct IReference : IInspectable {
    static constexpr auto signature = pinterface_signature<T>(guid("61c17706-2d65-11e0-9ae8-d48564015472"));
    static constexpr GUID iid = piid(signature);
    virtual HRESULT STDMETHODCALLTYPE get_Value(abi_t<T>* value) = 0;
};

struct IPropertyValue : IInspectable {
    static constexpr GUID iid = guid("4bd682dd-7554-40e9-9a9b-82654ede7e62");
    virtual HRESULT STDMETHODCALLTYPE get_Type(PropertyType* type) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_IsNumericScalar(boolean* isNumericScalar) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetUInt8(BYTE* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInt16(INT16* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetUInt16(UINT16* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInt32(INT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetUInt32(UINT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInt64(INT64* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetUInt64(UINT64* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSingle(FLOAT* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDouble(DOUBLE* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetChar16(WCHAR* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBoolean(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetString(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetGuid(GUID* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDateTime(DateTime* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTimeSpan(TimeSpan* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPoint(Point* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSize(Size* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRect(Rect* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetUInt8Array(UINT32* length, BYTE** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInt16Array(UINT32* length, INT16** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetUInt16Array(UINT32* length, UINT16** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInt32Array(UINT32* length, INT32** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetUInt32Array(UINT32* length, UINT32** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInt64Array(UINT32* length, INT64** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetUInt64Array(UINT32* length, UINT64** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSingleArray(UINT32* length, FLOAT** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDoubleArray(UINT32* length, DOUBLE** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetChar16Array(UINT32* length, WCHAR** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBooleanArray(UINT32* length, boolean** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStringArray(UINT32* length, HSTRING** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInspectableArray(UINT32* length, IInspectable*** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetGuidArray(UINT32* length, GUID** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDateTimeArray(UINT32* length, DateTime** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTimeSpanArray(UINT32* length, TimeSpan** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPointArray(UINT32* length, Point** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSizeArray(UINT32* length, Size** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRectArray(UINT32* length, Rect** value) = 0;
};

// Statics of Windows.Foundation.PropertyValue. Every result is the boxed value.
struct IPropertyValueStatics : IInspectable {
    static constexpr GUID iid = guid("629bdbc8-d932-4ff4-96b9-8d96c5c1e858");
    virtual HRESULT STDMETHODCALLTYPE CreateEmpty(IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateUInt8(BYTE value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateInt16(INT16 value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateUInt16(UINT16 value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateInt32(INT32 value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateUInt32(UINT32 value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateInt64(INT64 value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateUInt64(UINT64 value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateSingle(FLOAT value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateDouble(DOUBLE value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateChar16(WCHAR value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateBoolean(boolean value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateString(HSTRING value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateInspectable(IInspectable* value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateGuid(GUID value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateDateTime(DateTime value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateTimeSpan(TimeSpan value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreatePoint(Point value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateSize(Size value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateRect(Rect value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateUInt8Array(UINT32 length, const BYTE* value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateInt16Array(UINT32 length, const INT16* value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateUInt16Array(UINT32 length, const UINT16* value,
                                                        IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateInt32Array(UINT32 length, const INT32* value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateUInt32Array(UINT32 length, const UINT32* value,
                                                        IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateInt64Array(UINT32 length, const INT64* value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateUInt64Array(UINT32 length, const UINT64* value,
                                                        IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateSingleArray(UINT32 length, const FLOAT* value,
                                                        IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateDoubleArray(UINT32 length, const DOUBLE* value,
                                                        IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateChar16Array(UINT32 length, const WCHAR* value,
                                                        IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateBooleanArray(UINT32 length, const boolean* value,
                                                         IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateStringArray(UINT32 length, const HSTRING* value,
                                                        IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateInspectableArray(UINT32 length, IInspectable* const* value,
                                                             IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateGuidArray(UINT32 length, const GUID* value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateDateTimeArray(UINT32 length, const DateTime* value,
                                                          IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateTimeSpanArray(UINT32 length, const TimeSpan* value,
                                                          IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreatePointArray(UINT32 length, const Point* value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateSizeArray(UINT32 length, const Size* value, IInspectable** propertyValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateRectArray(UINT32 length, const Rect* value, IInspectable** propertyValue) = 0;
};

// Small interfaces many classes implement

struct IClosable : IInspectable {
    static constexpr GUID iid = guid("30d5a829-7fa4-4026-83bb-d75bae4ea99e");
    virtual HRESULT STDMETHODCALLTYPE Close() = 0;
};

struct IStringable : IInspectable {
    static constexpr GUID iid = guid("96369f54-8eb6-48f0-abce-c1b211e627c3");
    virtual HRESULT STDMETHODCALLTYPE ToString(HSTRING* value) = 0;
};

// Uri

struct IWwwFormUrlDecoderRuntimeClass;

struct IUriRuntimeClass : IInspectable {
    static constexpr GUID iid = guid("9e365e57-48b2-4160-956f-c7385120bbfc");
    virtual HRESULT STDMETHODCALLTYPE get_AbsoluteUri(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_DisplayUri(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Domain(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Extension(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Fragment(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Host(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Password(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Path(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Query(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_QueryParsed(IWwwFormUrlDecoderRuntimeClass** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_RawUri(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_SchemeName(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_UserName(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Port(INT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Suspicious(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE Equals(IUriRuntimeClass* pUri, boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE CombineUri(HSTRING relativeUri, IUriRuntimeClass** instance) = 0;
};

struct IUriRuntimeClassFactory : IInspectable {
    static constexpr GUID iid = guid("44a9796f-723e-4fdf-a218-033e75b0c084");
    virtual HRESULT STDMETHODCALLTYPE CreateUri(HSTRING uri, IUriRuntimeClass** instance) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateWithRelativeUri(HSTRING baseUri, HSTRING relativeUri,
                                                            IUriRuntimeClass** instance) = 0;
};

struct IUriEscapeStatics : IInspectable {
    static constexpr GUID iid = guid("c1d432ba-c824-4452-a7fd-512bc3bbe9a1");
    virtual HRESULT STDMETHODCALLTYPE UnescapeComponent(HSTRING toUnescape, HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE EscapeComponent(HSTRING toEscape, HSTRING* value) = 0;
};

struct IUriRuntimeClassWithAbsoluteCanonicalUri : IInspectable {
    static constexpr GUID iid = guid("758d9661-221c-480f-a339-50656673f46f");
    virtual HRESULT STDMETHODCALLTYPE get_AbsoluteCanonicalUri(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_DisplayIri(HSTRING* value) = 0;
};

struct Uri : runtime_class<"Windows.Foundation.Uri", IUriRuntimeClass> {};

}  // namespace rt
