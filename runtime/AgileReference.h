#pragma once
// A pointer kept past the call that obtained it and used later on another
// thread: the kept form is an agile reference, which each apartment of the
// process resolves to a pointer it may call ("RoGetAgileReference function":
// the object "may or may not be agile, but the returned IAgileReference is").
#include <windows.h>
#include <objidl.h>

#include "ComPtr.h"
#include "Guid.h"
#include "RuntimeError.h"

namespace rt {

namespace agile_reference_detail {

// Looked up by name: MinGW-w64's headers and import libraries lack it. Its
// first parameter is the int-sized AgileReferenceOptions; 0 is the default.
inline HRESULT get_agile_reference(const GUID& iid, IUnknown* object, IAgileReference** reference) {
    using get_function = HRESULT(WINAPI*)(int, REFIID, IUnknown*, IAgileReference**);
    const HMODULE combase = GetModuleHandleW(L"combase.dll");
    const auto get = combase ? reinterpret_cast<get_function>(
                                   reinterpret_cast<void*>(GetProcAddress(combase, "RoGetAgileReference")))
                             : nullptr;
    if (!get) return HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND);
    constexpr int kDefaultOptions = 0;
    return get(kDefaultOptions, iid, object, reference);
}

}  // namespace agile_reference_detail

// An agile object is kept as it is: it "can be called from any apartment"
// ("IAgileObject interface"), which is what resolving its reference would
// give back. (Wine 8 exports RoGetAgileReference as a stub that aborts the
// process, so only agile objects can be kept under it.)
template <class I>
class agile_ref {
public:
    agile_ref() = default;
    // Throws rt::hresult_error when the object cannot be referenced.
    explicit agile_ref(I* object) {
        if (!object) return;
        com_ptr<IAgileObject> agile;
        if (SUCCEEDED(object->QueryInterface(iid_of<IAgileObject>, agile.put_void()))) {
            agile_ = com_ptr<I>::copy_from(object);
            return;
        }
        check(agile_reference_detail::get_agile_reference(iid_of<I>, object, reference_.put()));
    }

    // The object as the calling apartment may use it; empty when it cannot be
    // resolved (or nothing is referenced), so that release paths need no throw.
    com_ptr<I> resolve() const noexcept {
        if (agile_) return agile_;
        com_ptr<I> object;
        if (reference_ && FAILED(reference_->Resolve(iid_of<I>, object.put_void()))) return {};
        return object;
    }

private:
    com_ptr<I> agile_;
    com_ptr<IAgileReference> reference_;
};

}  // namespace rt
