#include "ModulePin.h"

#include <windows.h>

#include <atomic>

#include "HostLog.h"

namespace {

constexpr wchar_t kPinFunction[] = L"PinModuleInMemory";

std::atomic<bool> g_pinned{false};

}  // namespace

void PinModuleInMemory() noexcept {
    if (g_pinned.exchange(true)) return;
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                            reinterpret_cast<LPCWSTR>(&g_pinned), &module)) {
        HOST_LOG_ERROR(kPinFunction, L"[{}]GetModuleHandleExW failed, GetLastError={}", kPinFunction, GetLastError());
        g_pinned = false;
    }
}
