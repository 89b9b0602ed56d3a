#pragma once
// Reaching runtime classes: activation factories and statics interfaces, and
// new instances of classes that have a default constructor.
#include <windows.h>
#include <objbase.h>
#include <roapi.h>

#include <atomic>
#include <mutex>

#include "ComPtr.h"
#include "FactoryCache.h"
#include "Guid.h"
#include "HString.h"
#include "RuntimeError.h"

namespace rt {

namespace activation_detail {

// A thread that never joined an apartment itself runs in the implicit
// multithreaded apartment only while another thread keeps that apartment
// alive ("CoGetApartmentType function": APTTYPEQUALIFIER_IMPLICIT_MTA); when
// the last such thread uninitialises, an operation this thread started loses
// its apartment. So before its first activation such a thread joins the
// apartment with CoIncrementMTAUsage ("CoIncrementMTAUsage function": it
// "puts the current thread into the MTA, if the current thread is not already
// in an apartment"), which binds nothing to the thread and needs no matching
// uninitialise. The usage is taken once and kept for the life of the process.
inline bool explicitly_in_apartment() {
    APTTYPE type{};
    APTTYPEQUALIFIER qualifier{};
    if (FAILED(CoGetApartmentType(&type, &qualifier))) return false;
    return !(type == APTTYPE_MTA && qualifier == APTTYPEQUALIFIER_IMPLICIT_MTA);
}

// Looked up by name: the import libraries of older SDKs lack it.
inline bool increment_mta_usage() {
    using increment_function = HRESULT(WINAPI*)(CO_MTA_USAGE_COOKIE*);
    const HMODULE combase = GetModuleHandleW(L"combase.dll");
    if (!combase) return false;
    const auto increment = reinterpret_cast<increment_function>(
        reinterpret_cast<void*>(GetProcAddress(combase, "CoIncrementMTAUsage")));
    CO_MTA_USAGE_COOKIE cookie = nullptr;
    return increment && SUCCEEDED(increment(&cookie));
}

inline std::atomic<bool> mta_usage_held{false};

// Before every activation; after the first successful join it costs one load.
inline void join_multithreaded_apartment() {
    if (mta_usage_held.load() || explicitly_in_apartment()) return;
    static std::mutex joining;
    std::lock_guard lock(joining);
    if (!mta_usage_held.load() && increment_mta_usage()) mta_usage_held.store(true);
}

}  // namespace activation_detail

template <class I>
com_ptr<I> get_activation_factory(const wchar_t* className) {
    activation_detail::join_multithreaded_apartment();
    auto& cache = factory_cache::process();
    if (auto kept = cache.find<I>(className)) return kept;
    const hstring name(className);
    com_ptr<I> factory;
    check(RoGetActivationFactory(name.get(), iid_of<I>, factory.put_void()));
    cache.keep_if_agile(className, factory);
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
