// Registration of the simulated classes where the system's activation looks
// them up: HKLM\Software\Microsoft\WindowsRuntime\ActivatableClassId\<class>.
// Wine 8 reads only the REG_SZ value DllPath (it ignores ActivationType);
// ActivationType 0 (in-process) is what Windows reads as well.
#include <windows.h>

#include <string>
#include <utility>

#include "ClassTable.h"
#include "RuntimeError.h"
#include "UniqueHandle.h"

namespace {

constexpr wchar_t kActivatableClassRoot[] = L"Software\\Microsoft\\WindowsRuntime\\ActivatableClassId\\";
constexpr DWORD kInProcessActivation = 0;

void check_win32(LSTATUS status) {
    if (status != ERROR_SUCCESS) throw rt::hresult_error(HRESULT_FROM_WIN32(status));
}

std::wstring this_module_path() {
    HMODULE self = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            reinterpret_cast<LPCWSTR>(&this_module_path), &self)) {
        throw rt::hresult_error(HRESULT_FROM_WIN32(GetLastError()));
    }
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(self, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) throw rt::hresult_error(HRESULT_FROM_WIN32(GetLastError()));
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

void set_string_value(HKEY key, const wchar_t* name, const std::wstring& value) {
    check_win32(RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                               static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t))));
}

void set_dword_value(HKEY key, const wchar_t* name, DWORD value) {
    check_win32(RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value)));
}

void register_class(const std::wstring& className, const std::wstring& dllPath) {
    UniqueRegistryKey key;
    check_win32(RegCreateKeyExW(HKEY_LOCAL_MACHINE, (kActivatableClassRoot + className).c_str(), 0, nullptr, 0,
                                KEY_SET_VALUE, nullptr, key.put(), nullptr));
    set_string_value(key.get(), L"DllPath", dllPath);
    set_dword_value(key.get(), L"ActivationType", kInProcessActivation);
}

void unregister_class(const std::wstring& className) {
    const LSTATUS status = RegDeleteTreeW(HKEY_LOCAL_MACHINE, (kActivatableClassRoot + className).c_str());
    if (status != ERROR_FILE_NOT_FOUND) check_win32(status);
}

}  // namespace

extern "C" __declspec(dllexport) HRESULT WINAPI DllRegisterServer() {
    return rt::hresult_from([] {
        const std::wstring dllPath = this_module_path();
        for (const auto& className : sim::registered_class_names()) register_class(className, dllPath);
    });
}

extern "C" __declspec(dllexport) HRESULT WINAPI DllUnregisterServer() {
    return rt::hresult_from([] {
        for (const auto& className : sim::registered_class_names()) unregister_class(className);
    });
}
