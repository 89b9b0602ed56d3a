#pragma once
// The apartments the simulated objects live in, and the two COM rules that
// Wine does not enforce and Windows does not promise to detect:
//
// - Unload with the apartment. "CoUninitialize function": the last call on a
//   thread closes COM there and unloads the DLLs loaded by the thread;
//   "CoDecrementMTAUsage function": when the multithreaded apartment's usage
//   reaches 0 its resources are freed. No page promises that a pointer kept
//   past that point still reaches loaded code, so an object handed out in an
//   apartment that ended is dead: every call through it is refused with
//   CO_E_OBJNOTCONNECTED (what "CoDisconnectObject function" says calls on a
//   disconnected object return) and recorded.
// - Apartment affinity. "Single-Threaded and Multithreaded Communication",
//   "Multi-Threaded Issues": interface pointers are marshaled between
//   apartments. A class whose metadata says MarshalingBehavior Standard is
//   called directly from another apartment only by a fault; on Windows it is
//   undefined, here it is refused with RPC_E_WRONG_THREAD (what a proxy of
//   another apartment answers) and recorded, as a sanitizer would.
//
// Every thread in the multithreaded apartment, explicit or implicit, is in the
// same apartment; each single-threaded apartment is its thread's. The
// simulation notices an apartment end through an IInitializeSpy on every
// thread that touched a simulated object; a multithreaded apartment that ends
// on a thread that never did goes unnoticed (lenient, never a false report).
//
// Objects that test programs make from the templates without the DLL
// (SIMRUNTIME_BUILDING unset) are not bound to an apartment.
#include <windows.h>
#include <objbase.h>

#include <functional>
#include <memory>
#include <string_view>

#include "ClassAttributes.h"

namespace sim {

class apartment;
using apartment_ref = std::shared_ptr<apartment>;

#ifdef SIMRUNTIME_BUILDING

// The apartment of the calling thread (empty when it is in none), whose end
// the simulation now watches for.
apartment_ref calling_apartment();

bool is_single_threaded(const apartment& home);

// S_OK, or the refusal of a call of `method` through an object handed out in
// `home`, recorded as a violation.
HRESULT admit_call(const apartment_ref& home, marshaling_behavior marshaling, std::wstring_view method) noexcept;

// Runs `work` on the thread of a single-threaded apartment the next time it
// dispatches window messages, as a proxy's call into that apartment waits for
// its message loop; dropped unrun if the apartment ends first. False when the
// apartment has already ended.
bool post_to_apartment(const apartment_ref& target, std::function<void()> work);

// "CoCreateFreeThreadedMarshaler function": an object that aggregates the
// free-threaded marshaler is called directly from any apartment. "IAgileObject
// interface": unlike aggregating it, implementing IAgileObject "doesn't affect
// what happens when marshaling a call".
bool marshals_free_threaded(IUnknown* object);

#else

inline apartment_ref calling_apartment() { return nullptr; }
inline bool is_single_threaded(const apartment&) { return false; }
inline HRESULT admit_call(const apartment_ref&, marshaling_behavior, std::wstring_view) noexcept { return S_OK; }
inline bool post_to_apartment(const apartment_ref&, std::function<void()> work) {
    work();
    return true;
}
inline bool marshals_free_threaded(IUnknown*) { return true; }

#endif

}  // namespace sim
