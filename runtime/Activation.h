#pragma once
// Reaching runtime classes: activation factories and statics interfaces, and
// new instances of classes that have a default constructor.
#include <windows.h>
#include <objbase.h>
#include <roapi.h>

#include "ComPtr.h"
#include "Guid.h"
#include "HString.h"
#include "RuntimeError.h"

namespace rt {

namespace activation_detail {

// A thread without an apartment cannot activate. It joins the process's
// multithreaded apartment, which, unlike CoInitializeEx, binds nothing on the
// calling thread and needs no matching uninitialise. The usage is kept for the
// life of the process. Looked up by name: the import libraries of older SDKs lack it.
inline bool join_multithreaded_apartment() {
    using increment_function = HRESULT(WINAPI*)(CO_MTA_USAGE_COOKIE*);
    const HMODULE combase = GetModuleHandleW(L"combase.dll");
    if (!combase) return false;
    const auto increment = reinterpret_cast<increment_function>(
        reinterpret_cast<void*>(GetProcAddress(combase, "CoIncrementMTAUsage")));
    CO_MTA_USAGE_COOKIE cookie = nullptr;
    return increment && SUCCEEDED(increment(&cookie));
}

}  // namespace activation_detail

template <class I>
com_ptr<I> get_activation_factory(const wchar_t* className) {
    const hstring name(className);
    com_ptr<I> factory;
    HRESULT result = RoGetActivationFactory(name.get(), iid_of<I>, factory.put_void());
    if (result == CO_E_NOTINITIALIZED && activation_detail::join_multithreaded_apartment()) {
        result = RoGetActivationFactory(name.get(), iid_of<I>, factory.put_void());
    }
    check(result);
    return factory;
}

template <class I>
com_ptr<I> activate_instance(const wchar_t* className) {
    const auto factory = get_activation_factory<IActivationFactory>(className);
    com_ptr<IInspectable> instance;
    check(factory->ActivateInstance(instance.put()));
    return instance.As<I>();
}

}  // namespace rt
