#pragma once
// Base templates for simulated runtime objects: atomic reference counting,
// QueryInterface over the listed interfaces, and the IInspectable methods.
// Each object remembers the apartment it was handed out in and its class's
// attributes (ClassAttributes.h): its calls are admitted by the apartment
// rules (Apartments.h), and only an agile class answers IAgileObject.
#include <windows.h>
#include <activation.h>
#include <inspectable.h>
#include <objbase.h>
#include <winstring.h>

#include <atomic>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "Apartments.h"
#include "ClassAttributes.h"
#include "ComPtr.h"
#include "Guid.h"
#include "SimCall.h"
#include "SimMethods.h"

namespace sim {

// `Derived` names its class: static constexpr const wchar_t* runtime_class_name.
// The first interface is the default one; it also stands for IUnknown and IInspectable.
template <class Derived, class... Interfaces>
class object : public Interfaces... {
    static_assert(sizeof...(Interfaces) > 0);
    static_assert((std::is_base_of_v<IInspectable, Interfaces> && ...), "runtime objects implement IInspectable");
    using default_interface = std::tuple_element_t<0, std::tuple<Interfaces...>>;

public:
    object(const object&) = delete;
    object& operator=(const object&) = delete;

    // AddRef and Release stay quiet on a dead object: the platform's own
    // bookkeeping (operations, the notification centre) lets go of objects on
    // its threads after their apartment ended. QueryInterface is a use.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override {
        if (!result) return E_POINTER;
        *result = nullptr;
        if (home_) {
            const HRESULT refused = admit_call(home_, marshaling_behavior::agile,
                                               std::wstring(Derived::runtime_class_name) + L".QueryInterface");
            if (FAILED(refused)) return refused;
        }
        *result = find(iid);
        if (!*result) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

    HRESULT STDMETHODCALLTYPE GetIids(ULONG* count, IID** iids) override {
        if (!count || !iids) return E_POINTER;
        constexpr IID listed[] = {rt::iid_of<Interfaces>...};
        auto* copy = static_cast<IID*>(CoTaskMemAlloc(sizeof(listed)));
        if (!copy) return E_OUTOFMEMORY;
        for (std::size_t i = 0; i < sizeof...(Interfaces); ++i) copy[i] = listed[i];
        *count = static_cast<ULONG>(sizeof...(Interfaces));
        *iids = copy;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetRuntimeClassName(HSTRING* name) override {
        if (!name) return E_POINTER;
        const std::wstring_view text = Derived::runtime_class_name;
        return WindowsCreateString(text.data(), static_cast<UINT32>(text.size()), name);
    }
    HRESULT STDMETHODCALLTYPE GetTrustLevel(TrustLevel* level) override {
        if (!level) return E_POINTER;
        *level = BaseTrust;
        return S_OK;
    }

    // S_OK, or the refusal of a call of `method` ("Class.Method") under the apartment rules.
    HRESULT admit(std::wstring_view method) noexcept {
        static constexpr marshaling_behavior marshaling = attributes_of(Derived::runtime_class_name).marshaling;
        return admit_call(home_, marshaling, method);
    }

protected:
    object() : home_(calling_apartment()) {}
    virtual ~object() = default;

    // The method frames of SimCall.h and SimMethods.h, admitted first. Members
    // of a class find these before the free ones.
    template <class Body>
    HRESULT run_call(std::wstring_view method, std::wstring_view arguments, Body&& body) noexcept {
        const HRESULT refused = admit(method);
        if (FAILED(refused)) return refused;
        return ::sim::run_call(method, arguments, std::forward<Body>(body));
    }
    HRESULT text_result(std::wstring_view method, std::wstring_view text, HSTRING* value) {
        const HRESULT refused = admit(method);
        return FAILED(refused) ? refused : ::sim::text_result(method, text, value);
    }
    HRESULT not_simulated(std::wstring_view method) {
        const HRESULT refused = admit(method);
        return FAILED(refused) ? refused : ::sim::not_simulated(method);
    }

private:
    void* find(REFIID iid) {
        if (iid == rt::iid_of<IUnknown> || iid == rt::iid_of<IInspectable>) return static_cast<default_interface*>(this);
        if (iid == rt::iid_of<IAgileObject>) {
            static constexpr bool agile =
                attributes_of(Derived::runtime_class_name).marshaling == marshaling_behavior::agile;
            return agile ? static_cast<default_interface*>(this) : nullptr;
        }
        void* found = nullptr;
        (void)((iid == rt::iid_of<Interfaces> && (found = static_cast<Interfaces*>(this), true)) || ...);
        return found;
    }

    std::atomic<ULONG> references_{1};
    const apartment_ref home_;
};

// The factory of a class, with the statics interfaces the class offers.
// ActivateInstance answers E_NOTIMPL unless `Derived` overrides it for a class
// with a default constructor.
template <class Derived, class... Statics>
class activation_factory : public object<Derived, IActivationFactory, Statics...> {
public:
    HRESULT STDMETHODCALLTYPE ActivateInstance(IInspectable** instance) override {
        if (instance) *instance = nullptr;
        return E_NOTIMPL;
    }
};

// A new object, owned by the returned pointer.
template <class T, class... Args>
rt::com_ptr<T> make(Args&&... args) {
    return rt::com_ptr<T>::attach(new T(std::forward<Args>(args)...));
}

}  // namespace sim
