#pragma once
// Which COM apartment the calling thread is in, and the process's one hold on
// the multithreaded apartment.
#include <windows.h>
#include <objbase.h>

#include <atomic>
#include <mutex>

namespace rt {

enum class apartment_kind {
    none,              // COM not initialised, and no multithreaded apartment to fall into
    multithreaded,     // explicitly, or implicitly while the apartment exists
    single_threaded,   // a classic, main or application single-threaded apartment
};

// A thread lent to the neutral apartment counts as the apartment it came from
// ("APTTYPEQUALIFIER enumeration": NA_ON_MTA, NA_ON_STA, ...).
inline apartment_kind current_apartment() {
    APTTYPE type{};
    APTTYPEQUALIFIER qualifier{};
    if (FAILED(CoGetApartmentType(&type, &qualifier))) return apartment_kind::none;
    switch (type) {
        case APTTYPE_MTA:
            return apartment_kind::multithreaded;
        case APTTYPE_NA:
            return qualifier == APTTYPEQUALIFIER_NA_ON_MTA || qualifier == APTTYPEQUALIFIER_NA_ON_IMPLICIT_MTA
                       ? apartment_kind::multithreaded
                       : apartment_kind::single_threaded;
        default:
            return apartment_kind::single_threaded;
    }
}

namespace apartment_detail {

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

}  // namespace apartment_detail

// Keeps the multithreaded apartment, and the class code loaded into it, alive
// for the rest of the process ("CoIncrementMTAUsage function": MTA support
// stays even when the MTA thread count goes to 0; it creates the apartment and
// puts a thread that is in none into it). Without it the apartment ends with
// the last thread that uninitialises, and every pointer obtained in it, a kept
// activation factory above all, may point into unloaded code. Callable from any
// thread, whatever its apartment. Taken once and never released: see README.md.
// False only when the hold cannot be taken; later calls try again.
inline bool hold_multithreaded_apartment() {
    if (apartment_detail::mta_usage_held.load()) return true;
    static std::mutex taking;
    std::lock_guard lock(taking);
    if (!apartment_detail::mta_usage_held.load() && apartment_detail::increment_mta_usage()) {
        apartment_detail::mta_usage_held.store(true);
    }
    return apartment_detail::mta_usage_held.load();
}

}  // namespace rt
