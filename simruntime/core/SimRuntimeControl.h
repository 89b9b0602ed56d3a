#pragma once
// How tests steer the simulated Windows Runtime. The module under test reaches
// SimRuntime.dll through activation; a test that loads the same file by name
// gets the same instance of it, so both share one steering state.
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "HString.h"

// Declared as SimRuntime.dll defines them, so its definitions add nothing to
// the declarations; tests call them through GetProcAddress.
#ifdef SIMRUNTIME_BUILDING
#define SIMRUNTIME_EXPORT __declspec(dllexport)
#else
#define SIMRUNTIME_EXPORT
#endif

// Exported by SimRuntime.dll. Tests call them through the wrappers below,
// never through an import library. `method` names are "Class.Method" with the
// short class name and the ABI method name, e.g. L"Uri.EscapeComponent",
// L"PackageManager.AddPackageByUriAsync", L"Uri.GetActivationFactory".
extern "C" {
// Forgets every setting, injected failure and logged call.
SIMRUNTIME_EXPORT HRESULT SimRuntime_Reset();
// Delay before started operations end (default 0: at once, on another thread).
SIMRUNTIME_EXPORT HRESULT SimRuntime_SetAsyncDelayMs(UINT32 delayMs);
// How the operations `method` starts end from now on: status 1 Completed, 3 Error
// with `errorCode`, 2 Canceled with `errorCode`, 0 never.
SIMRUNTIME_EXPORT HRESULT SimRuntime_SetAsyncOutcome(const wchar_t* method, INT32 status, HRESULT errorCode);
// The same for the next operation `method` starts only; queued ones come first, in order.
SIMRUNTIME_EXPORT HRESULT SimRuntime_QueueAsyncOutcome(const wchar_t* method, INT32 status, HRESULT errorCode);
// ErrorCode of an operation after Cancel (default HRESULT_FROM_WIN32(ERROR_CANCELLED)).
SIMRUNTIME_EXPORT HRESULT SimRuntime_SetCancelErrorCode(HRESULT errorCode);
// The next call of `method` returns `failure` without doing anything; each call consumes one.
SIMRUNTIME_EXPORT HRESULT SimRuntime_FailNextCall(const wchar_t* method, HRESULT failure);
// The calls made so far, one "Class.Method(arguments)" per line; returns the
// length of the whole log and copies what fits, terminated, into `buffer`.
SIMRUNTIME_EXPORT UINT32 SimRuntime_CallLog(wchar_t* buffer, UINT32 capacity);
// The index-th COM rule a caller broke in this process (use after unload, wrong
// apartment), one line each; S_FALSE past the last. SimRuntime_Reset keeps them.
SIMRUNTIME_EXPORT HRESULT SimRuntime_Violation(UINT32 index, HSTRING* line);
// Forgets the first `count` of them (those a reader has seen; later ones stay).
SIMRUNTIME_EXPORT HRESULT SimRuntime_ClearViolations(UINT32 count);
}

namespace sim_control {

inline HMODULE runtime_module() {
    static const HMODULE module = [] {
        HMODULE loaded = GetModuleHandleW(L"SimRuntime.dll");
        if (!loaded) loaded = LoadLibraryW(L"SimRuntime.dll");  // stays loaded: it holds the state
        if (!loaded) throw std::runtime_error("SimRuntime.dll cannot be loaded");
        return loaded;
    }();
    return module;
}

// The export `name`, typed as its declaration above (or in another control header).
template <class Function>
Function* find(const char* name) {
    const FARPROC address = GetProcAddress(runtime_module(), name);
    if (!address) throw std::runtime_error(std::string("SimRuntime.dll does not export ") + name);
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(address));
}

#define SIM_CONTROL_FUNCTION(name) (::sim_control::find<decltype(name)>(#name))

inline void check(HRESULT result, const char* what) {
    if (FAILED(result)) throw std::runtime_error(std::string(what) + " failed");
}

inline void reset() { check(SIM_CONTROL_FUNCTION(SimRuntime_Reset)(), "SimRuntime_Reset"); }

inline void set_async_delay_ms(std::uint32_t delayMs) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_SetAsyncDelayMs)(delayMs), "SimRuntime_SetAsyncDelayMs");
}

inline void set_async_outcome(const wchar_t* method, INT32 status, HRESULT errorCode = S_OK) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_SetAsyncOutcome)(method, status, errorCode), "SimRuntime_SetAsyncOutcome");
}

inline void queue_async_outcome(const wchar_t* method, INT32 status, HRESULT errorCode = S_OK) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_QueueAsyncOutcome)(method, status, errorCode),
          "SimRuntime_QueueAsyncOutcome");
}

inline void set_cancel_error_code(HRESULT errorCode) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_SetCancelErrorCode)(errorCode), "SimRuntime_SetCancelErrorCode");
}

inline void fail_next_call(const wchar_t* method, HRESULT failure) {
    check(SIM_CONTROL_FUNCTION(SimRuntime_FailNextCall)(method, failure), "SimRuntime_FailNextCall");
}

inline std::vector<std::wstring> call_log() {
    const auto read = SIM_CONTROL_FUNCTION(SimRuntime_CallLog);
    std::wstring text(read(nullptr, 0), L'\0');
    read(text.data(), static_cast<UINT32>(text.size() + 1));
    std::vector<std::wstring> lines;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(L'\n', start), text.size());
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

// The lines of a record the simulation hands out an index at a time through
// `read(index, HSTRING*)`, up to the S_FALSE that ends it.
template <class Read>
std::vector<std::wstring> read_lines(Read&& read, const char* what) {
    std::vector<std::wstring> lines;
    for (UINT32 index = 0;; ++index) {
        rt::hstring line;
        const HRESULT result = read(index, line.put());
        check(result, what);
        if (result == S_FALSE) return lines;
        lines.push_back(line.str());
    }
}

// The rules broken so far in this process; the test support's listener fails
// the running test for each one left at its end.
inline std::vector<std::wstring> violations() {
    const auto read = SIM_CONTROL_FUNCTION(SimRuntime_Violation);
    return read_lines([&](UINT32 index, HSTRING* line) { return read(index, line); }, "SimRuntime_Violation");
}

// The same, taken: a test that breaks a rule on purpose takes what it expects.
inline std::vector<std::wstring> take_violations() {
    std::vector<std::wstring> taken = violations();
    check(SIM_CONTROL_FUNCTION(SimRuntime_ClearViolations)(static_cast<UINT32>(taken.size())),
          "SimRuntime_ClearViolations");
    return taken;
}

// How many logged calls were of `method`, whatever their arguments.
inline std::size_t call_count(std::wstring_view method) {
    std::size_t count = 0;
    for (const auto& line : call_log()) {
        if (line.size() > method.size() && line.compare(0, method.size(), method) == 0 && line[method.size()] == L'(') {
            ++count;
        }
    }
    return count;
}

}  // namespace sim_control
