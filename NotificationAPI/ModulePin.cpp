#include "ModulePin.h"

#include <windows.h>

#include "HostLog.h"
#include "PinnedModule.h"

namespace {

constexpr wchar_t kPinFunction[] = L"PinModuleInMemory";

}  // namespace

void PinModuleInMemory() noexcept {
    const DWORD error = rt::pin_module();
    if (error != ERROR_SUCCESS) {
        HOST_LOG_ERROR(kPinFunction, L"[{}]GetModuleHandleExW failed, GetLastError={}", kPinFunction, error);
    }
}
