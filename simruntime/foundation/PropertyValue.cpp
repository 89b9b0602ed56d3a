// Windows.Foundation.PropertyValue: the statics that box a string or a date,
// and the boxes, which answer IPropertyValue and IReference<T>. Other types
// are not boxed by anything the module does.
#include <windows.h>

#include <string>
#include <type_traits>

#include "AbiValue.h"
#include "ClassNames.h"
#include "ClassTable.h"
#include "HString.h"
#include "SimCall.h"
#include "SimMethods.h"
#include "SimObject.h"
#include "SimPropertyValue.h"

namespace {

// What the platform answers when a box is read as another type.
constexpr HRESULT kTypeMismatch = static_cast<HRESULT>(0x80028CA0);

template <class T>
struct box_traits;

template <>
struct box_traits<HSTRING> {
    static constexpr const wchar_t* class_name = L"Windows.Foundation.IReference`1<String>";
    static constexpr rt::PropertyType type = rt::PropertyType::String;
};

template <>
struct box_traits<rt::DateTime> {
    static constexpr const wchar_t* class_name = L"Windows.Foundation.IReference`1<Windows.Foundation.DateTime>";
    static constexpr rt::PropertyType type = rt::PropertyType::DateTime;
};

template <class T>
class boxed_value final : public sim::object<boxed_value<T>, rt::IPropertyValue, rt::IReference<T>> {
public:
    static constexpr const wchar_t* runtime_class_name = box_traits<T>::class_name;

    explicit boxed_value(rt::owned_t<T> value) : value_(std::move(value)) {}

    HRESULT STDMETHODCALLTYPE get_Value(rt::abi_t<T>* value) override { return read(value); }

    HRESULT STDMETHODCALLTYPE get_Type(rt::PropertyType* type) override {
        if (!type) return E_POINTER;
        *type = box_traits<T>::type;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_IsNumericScalar(boolean* value) override {
        if (!value) return E_POINTER;
        *value = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetString(HSTRING* value) override { return read_as<HSTRING>(value); }
    HRESULT STDMETHODCALLTYPE GetDateTime(rt::DateTime* value) override { return read_as<rt::DateTime>(value); }

    HRESULT STDMETHODCALLTYPE GetUInt8(BYTE*) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetInt16(INT16*) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetUInt16(UINT16*) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetInt32(INT32*) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetUInt32(UINT32*) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetInt64(INT64*) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetUInt64(UINT64*) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetSingle(FLOAT*) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetDouble(DOUBLE*) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetChar16(WCHAR*) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetBoolean(boolean*) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetGuid(GUID*) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetTimeSpan(rt::TimeSpan*) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetPoint(rt::Point*) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetSize(rt::Size*) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetRect(rt::Rect*) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetUInt8Array(UINT32*, BYTE**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetInt16Array(UINT32*, INT16**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetUInt16Array(UINT32*, UINT16**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetInt32Array(UINT32*, INT32**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetUInt32Array(UINT32*, UINT32**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetInt64Array(UINT32*, INT64**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetUInt64Array(UINT32*, UINT64**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetSingleArray(UINT32*, FLOAT**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetDoubleArray(UINT32*, DOUBLE**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetChar16Array(UINT32*, WCHAR**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetBooleanArray(UINT32*, boolean**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetStringArray(UINT32*, HSTRING**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetInspectableArray(UINT32*, IInspectable***) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetGuidArray(UINT32*, GUID**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetDateTimeArray(UINT32*, rt::DateTime**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetTimeSpanArray(UINT32*, rt::TimeSpan**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetPointArray(UINT32*, rt::Point**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetSizeArray(UINT32*, rt::Size**) override { return kTypeMismatch; }
    HRESULT STDMETHODCALLTYPE GetRectArray(UINT32*, rt::Rect**) override { return kTypeMismatch; }

private:
    template <class Wanted>
    HRESULT read_as(rt::abi_t<Wanted>* value) {
        if constexpr (std::is_same_v<Wanted, T>) {
            return read(value);
        } else {
            return kTypeMismatch;
        }
    }
    HRESULT read(rt::abi_t<T>* value) {
        if (!value) return E_POINTER;
        return rt::hresult_from([&] { *value = rt::abi_value<T>::copy(value_); });
    }

    const rt::owned_t<T> value_;
};

HRESULT not_boxed(const wchar_t* method, IInspectable** value) {
    if (value) *value = nullptr;
    return sim::not_simulated(method);
}

class property_value_statics final : public sim::activation_factory<property_value_statics, rt::IPropertyValueStatics> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::PropertyValue;

    HRESULT STDMETHODCALLTYPE CreateString(HSTRING value, IInspectable** boxed) override {
        if (!boxed) return E_POINTER;
        *boxed = nullptr;
        return run_call(L"PropertyValue.CreateString", rt::view_of(value),
                        [&] { *boxed = sim::box_string(rt::view_of(value)).detach(); });
    }
    HRESULT STDMETHODCALLTYPE CreateDateTime(rt::DateTime value, IInspectable** boxed) override {
        if (!boxed) return E_POINTER;
        *boxed = nullptr;
        return run_call(L"PropertyValue.CreateDateTime", std::to_wstring(value.UniversalTime),
                        [&] { *boxed = sim::box_date_time(value).detach(); });
    }

    HRESULT STDMETHODCALLTYPE CreateEmpty(IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateEmpty", v);
    }
    HRESULT STDMETHODCALLTYPE CreateUInt8(BYTE, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateUInt8", v);
    }
    HRESULT STDMETHODCALLTYPE CreateInt16(INT16, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateInt16", v);
    }
    HRESULT STDMETHODCALLTYPE CreateUInt16(UINT16, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateUInt16", v);
    }
    HRESULT STDMETHODCALLTYPE CreateInt32(INT32, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateInt32", v);
    }
    HRESULT STDMETHODCALLTYPE CreateUInt32(UINT32, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateUInt32", v);
    }
    HRESULT STDMETHODCALLTYPE CreateInt64(INT64, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateInt64", v);
    }
    HRESULT STDMETHODCALLTYPE CreateUInt64(UINT64, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateUInt64", v);
    }
    HRESULT STDMETHODCALLTYPE CreateSingle(FLOAT, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateSingle", v);
    }
    HRESULT STDMETHODCALLTYPE CreateDouble(DOUBLE, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateDouble", v);
    }
    HRESULT STDMETHODCALLTYPE CreateChar16(WCHAR, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateChar16", v);
    }
    HRESULT STDMETHODCALLTYPE CreateBoolean(boolean, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateBoolean", v);
    }
    HRESULT STDMETHODCALLTYPE CreateInspectable(IInspectable*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateInspectable", v);
    }
    HRESULT STDMETHODCALLTYPE CreateGuid(GUID, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateGuid", v);
    }
    HRESULT STDMETHODCALLTYPE CreateTimeSpan(rt::TimeSpan, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateTimeSpan", v);
    }
    HRESULT STDMETHODCALLTYPE CreatePoint(rt::Point, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreatePoint", v);
    }
    HRESULT STDMETHODCALLTYPE CreateSize(rt::Size, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateSize", v);
    }
    HRESULT STDMETHODCALLTYPE CreateRect(rt::Rect, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateRect", v);
    }
    HRESULT STDMETHODCALLTYPE CreateUInt8Array(UINT32, const BYTE*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateUInt8Array", v);
    }
    HRESULT STDMETHODCALLTYPE CreateInt16Array(UINT32, const INT16*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateInt16Array", v);
    }
    HRESULT STDMETHODCALLTYPE CreateUInt16Array(UINT32, const UINT16*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateUInt16Array", v);
    }
    HRESULT STDMETHODCALLTYPE CreateInt32Array(UINT32, const INT32*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateInt32Array", v);
    }
    HRESULT STDMETHODCALLTYPE CreateUInt32Array(UINT32, const UINT32*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateUInt32Array", v);
    }
    HRESULT STDMETHODCALLTYPE CreateInt64Array(UINT32, const INT64*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateInt64Array", v);
    }
    HRESULT STDMETHODCALLTYPE CreateUInt64Array(UINT32, const UINT64*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateUInt64Array", v);
    }
    HRESULT STDMETHODCALLTYPE CreateSingleArray(UINT32, const FLOAT*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateSingleArray", v);
    }
    HRESULT STDMETHODCALLTYPE CreateDoubleArray(UINT32, const DOUBLE*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateDoubleArray", v);
    }
    HRESULT STDMETHODCALLTYPE CreateChar16Array(UINT32, const WCHAR*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateChar16Array", v);
    }
    HRESULT STDMETHODCALLTYPE CreateBooleanArray(UINT32, const boolean*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateBooleanArray", v);
    }
    HRESULT STDMETHODCALLTYPE CreateStringArray(UINT32, const HSTRING*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateStringArray", v);
    }
    HRESULT STDMETHODCALLTYPE CreateInspectableArray(UINT32, IInspectable* const*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateInspectableArray", v);
    }
    HRESULT STDMETHODCALLTYPE CreateGuidArray(UINT32, const GUID*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateGuidArray", v);
    }
    HRESULT STDMETHODCALLTYPE CreateDateTimeArray(UINT32, const rt::DateTime*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateDateTimeArray", v);
    }
    HRESULT STDMETHODCALLTYPE CreateTimeSpanArray(UINT32, const rt::TimeSpan*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateTimeSpanArray", v);
    }
    HRESULT STDMETHODCALLTYPE CreatePointArray(UINT32, const rt::Point*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreatePointArray", v);
    }
    HRESULT STDMETHODCALLTYPE CreateSizeArray(UINT32, const rt::Size*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateSizeArray", v);
    }
    HRESULT STDMETHODCALLTYPE CreateRectArray(UINT32, const rt::Rect*, IInspectable** v) override {
        return not_boxed(L"PropertyValue.CreateRectArray", v);
    }
};

const sim::class_registration registration{rt::class_name::PropertyValue, &sim::new_factory<property_value_statics>};

}  // namespace

namespace sim {

rt::com_ptr<IInspectable> box_string(std::wstring_view text) {
    auto box = make<boxed_value<HSTRING>>(rt::hstring(text));
    return rt::com_ptr<IInspectable>::attach(static_cast<rt::IPropertyValue*>(box.detach()));
}

rt::com_ptr<IInspectable> box_date_time(rt::DateTime value) {
    auto box = make<boxed_value<rt::DateTime>>(value);
    return rt::com_ptr<IInspectable>::attach(static_cast<rt::IPropertyValue*>(box.detach()));
}

}  // namespace sim
