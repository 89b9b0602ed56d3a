#pragma once
// Windows.Foundation.Collections: iteration, vectors and maps. `abi_t<T>` is
// how an element crosses the ABI (HSTRING, IInspectable*, a default interface
// pointer, or the value itself).
#include <windows.h>
#include <inspectable.h>

#include <cstdint>

#include "AbiValue.h"
#include "Foundation.h"
#include "Guid.h"
#include "Piid.h"
#include "Signature.h"

namespace rt {

enum class CollectionChange : std::int32_t { Reset = 0, ItemInserted = 1, ItemRemoved = 2, ItemChanged = 3 };
template <>
struct signature<CollectionChange> : enum_signature<"Windows.Foundation.Collections.CollectionChange", CollectionChange> {};

template <class T>
struct IIterator : IInspectable {
    static constexpr auto signature = pinterface_signature<T>(guid("6a79e863-4300-459a-9966-cbb660963ee1"));
    static constexpr GUID iid = piid(signature);
    virtual HRESULT STDMETHODCALLTYPE get_Current(abi_t<T>* current) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_HasCurrent(boolean* hasCurrent) = 0;
    virtual HRESULT STDMETHODCALLTYPE MoveNext(boolean* hasCurrent) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMany(UINT32 capacity, abi_t<T>* items, UINT32* actual) = 0;
};

template <class T>
struct IIterable : IInspectable {
    static constexpr auto signature = pinterface_signature<T>(guid("faa585ea-6214-4217-afda-7f46de5869b3"));
    static constexpr GUID iid = piid(signature);
    virtual HRESULT STDMETHODCALLTYPE First(IIterator<T>** first) = 0;
};

template <class T>
struct IVectorView : IInspectable {
    static constexpr auto signature = pinterface_signature<T>(guid("bbe1fa4c-b0e3-4583-baef-1f1b2e483e56"));
    static constexpr GUID iid = piid(signature);
    virtual HRESULT STDMETHODCALLTYPE GetAt(UINT32 index, abi_t<T>* item) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Size(UINT32* size) = 0;
    virtual HRESULT STDMETHODCALLTYPE IndexOf(abi_t<T> value, UINT32* index, boolean* found) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMany(UINT32 startIndex, UINT32 capacity, abi_t<T>* items, UINT32* actual) = 0;
};

template <class T>
struct IVector : IInspectable {
    static constexpr auto signature = pinterface_signature<T>(guid("913337e9-11a1-4345-a3a2-4e7f956e222d"));
    static constexpr GUID iid = piid(signature);
    virtual HRESULT STDMETHODCALLTYPE GetAt(UINT32 index, abi_t<T>* item) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Size(UINT32* size) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetView(IVectorView<T>** view) = 0;
    virtual HRESULT STDMETHODCALLTYPE IndexOf(abi_t<T> value, UINT32* index, boolean* found) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetAt(UINT32 index, abi_t<T> item) = 0;
    virtual HRESULT STDMETHODCALLTYPE InsertAt(UINT32 index, abi_t<T> item) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveAt(UINT32 index) = 0;
    virtual HRESULT STDMETHODCALLTYPE Append(abi_t<T> item) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveAtEnd() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clear() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMany(UINT32 startIndex, UINT32 capacity, abi_t<T>* items, UINT32* actual) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReplaceAll(UINT32 count, const abi_t<T>* items) = 0;
};

template <class K, class V>
struct IKeyValuePair : IInspectable {
    static constexpr auto signature = pinterface_signature<K, V>(guid("02b51929-c1c4-4a7e-8940-0312b5c18500"));
    static constexpr GUID iid = piid(signature);
    virtual HRESULT STDMETHODCALLTYPE get_Key(abi_t<K>* key) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Value(abi_t<V>* value) = 0;
};

template <class K, class V>
struct IMapView : IInspectable {
    static constexpr auto signature = pinterface_signature<K, V>(guid("e480ce40-a338-4ada-adcf-272272e48cb9"));
    static constexpr GUID iid = piid(signature);
    virtual HRESULT STDMETHODCALLTYPE Lookup(abi_t<K> key, abi_t<V>* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Size(UINT32* size) = 0;
    virtual HRESULT STDMETHODCALLTYPE HasKey(abi_t<K> key, boolean* found) = 0;
    virtual HRESULT STDMETHODCALLTYPE Split(IMapView<K, V>** first, IMapView<K, V>** second) = 0;
};

template <class K, class V>
struct IMap : IInspectable {
    static constexpr auto signature = pinterface_signature<K, V>(guid("3c2925fe-8519-45c1-aa79-197b6718c1c1"));
    static constexpr GUID iid = piid(signature);
    virtual HRESULT STDMETHODCALLTYPE Lookup(abi_t<K> key, abi_t<V>* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Size(UINT32* size) = 0;
    virtual HRESULT STDMETHODCALLTYPE HasKey(abi_t<K> key, boolean* found) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetView(IMapView<K, V>** view) = 0;
    virtual HRESULT STDMETHODCALLTYPE Insert(abi_t<K> key, abi_t<V> value, boolean* replaced) = 0;
    virtual HRESULT STDMETHODCALLTYPE Remove(abi_t<K> key) = 0;
    virtual HRESULT STDMETHODCALLTYPE Clear() = 0;
};

template <class K>
struct IMapChangedEventArgs : IInspectable {
    static constexpr auto signature = pinterface_signature<K>(guid("9939f4df-050a-4c0f-aa60-77075f9c4777"));
    static constexpr GUID iid = piid(signature);
    virtual HRESULT STDMETHODCALLTYPE get_CollectionChange(CollectionChange* change) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Key(abi_t<K>* key) = 0;
};

template <class K, class V>
struct IObservableMap;

template <class K, class V>
struct MapChangedEventHandler : IUnknown {
    static constexpr auto signature = pinterface_signature<K, V>(guid("179517f3-94ee-41f8-bddc-768a895544f3"));
    static constexpr GUID iid = piid(signature);
    virtual HRESULT STDMETHODCALLTYPE Invoke(IObservableMap<K, V>* sender, IMapChangedEventArgs<K>* args) = 0;
};

template <class K, class V>
struct IObservableMap : IInspectable {
    static constexpr auto signature = pinterface_signature<K, V>(guid("65df2bf5-bf39-41b5-aebc-5a9d865e472b"));
    static constexpr GUID iid = piid(signature);
    virtual HRESULT STDMETHODCALLTYPE add_MapChanged(MapChangedEventHandler<K, V>* handler,
                                                     EventRegistrationToken* token) = 0;
    virtual HRESULT STDMETHODCALLTYPE remove_MapChanged(EventRegistrationToken token) = 0;
};

// No methods of its own: its maps and iteration are reached through
// IMap<HSTRING, IInspectable>, IObservableMap<...> and IIterable<IKeyValuePair<...>>.
struct IPropertySet : IInspectable {
    static constexpr GUID iid = guid("8a43ed9f-f4e6-4421-acf9-1dab2986820c");
};

struct ValueSet : runtime_class<"Windows.Foundation.Collections.ValueSet", IPropertySet> {};

}  // namespace rt
