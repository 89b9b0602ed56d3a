// The entry points through which the system's activation reaches the
// simulated classes.
#include <windows.h>
#include <activation.h>
#include <objbase.h>

#include <string>
#include <string_view>

#include "ClassTable.h"
#include "HString.h"
#include "RuntimeError.h"
#include "SimState.h"

namespace {

// Windows refuses activation on a thread without an apartment; Wine does not.
// The simulation refuses as Windows does, so that the callers' recovery is exercised.
bool calling_thread_has_apartment() {
    APTTYPE type;
    APTTYPEQUALIFIER qualifier;
    return CoGetApartmentType(&type, &qualifier) != CO_E_NOTINITIALIZED;
}

// "Windows.Foundation.Uri" is "Uri" in steering method names.
std::wstring_view short_class_name(std::wstring_view className) {
    const std::size_t lastDot = className.rfind(L'.');
    return lastDot == std::wstring_view::npos ? className : className.substr(lastDot + 1);
}

}  // namespace

// The steering state lives in this DLL: it must stay loaded as long as the process runs.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        HMODULE pinned = nullptr;
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                           reinterpret_cast<LPCWSTR>(&DllMain), &pinned);
    }
    return TRUE;
}

extern "C" __declspec(dllexport) HRESULT WINAPI DllGetActivationFactory(HSTRING classId, IActivationFactory** factory) {
    if (!factory) return E_POINTER;
    *factory = nullptr;
    if (!calling_thread_has_apartment()) return CO_E_NOTINITIALIZED;
    return rt::hresult_from([&]() -> HRESULT {
        const std::wstring_view className = rt::view_of(classId);
        const HRESULT injected = sim::enter_call(std::wstring(short_class_name(className)) + L".GetActivationFactory", L"");
        if (FAILED(injected)) return injected;
        auto made = sim::make_factory(className);
        if (!made) return REGDB_E_CLASSNOTREG;
        *factory = made.detach();
        return S_OK;
    });
}

extern "C" __declspec(dllexport) HRESULT WINAPI DllCanUnloadNow() { return S_FALSE; }
