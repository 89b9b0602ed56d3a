#pragma once
// Reaching runtime classes: activation factories and statics interfaces, and
// new instances of classes that have a default constructor.
#include <windows.h>
#include <objbase.h>
#include <roapi.h>

#include "Apartment.h"
#include "ComPtr.h"
#include "FactoryCache.h"
#include "Guid.h"
#include "HString.h"
#include "RuntimeError.h"

namespace rt {

namespace activation_detail {

// A kept factory serves every later call from any thread, so it must outlive
// them all: it has to be agile (checked by the cache) and to live in the
// multithreaded apartment while the process holds it. A factory fetched in a
// single-threaded apartment belongs to that apartment, whose CoUninitialize
// "unloads all DLLs loaded by the thread" ("CoUninitialize function").
inline bool may_keep_factories() {
    return hold_multithreaded_apartment() && current_apartment() == apartment_kind::multithreaded;
}

}  // namespace activation_detail

template <class I>
com_ptr<I> get_activation_factory(const wchar_t* className) {
    // The hold comes first, so that no activation on any thread happens before it.
    const bool shared = activation_detail::may_keep_factories();
    auto& cache = factory_cache::process();
    if (shared) {
        if (auto kept = cache.find<I>(className)) return kept;
    }
    const hstring name(className);
    com_ptr<I> factory;
    check(RoGetActivationFactory(name.get(), iid_of<I>, factory.put_void()));
    if (shared) cache.keep_if_agile(className, factory);
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
