#include "KivAgentWrapper.h"

#include <windows.h>

#include "Business.h"
#include "HostLog.h"
#include "JxDataPlugin.h"
#include "OrvaleBase.h"

namespace {

constexpr wchar_t kConstructorFunction[] = L"`anonymous-namespace'::KivAgentWrapper::KivAgentWrapper";
constexpr wchar_t kExperimentModule[] = L"JxDataPlugin.dll";
constexpr char kServiceGetter[] = "GetGlobalKIVAgentService";

// Filled on first use and never cleared: the module stays loaded for the
// life of the process, also when this lookup loaded it.
HMODULE g_experimentModule = nullptr;
GetGlobalKIVAgentServiceFn g_serviceGetter = nullptr;

HMODULE ExperimentModule() {
    if (!g_experimentModule) {
        g_experimentModule = GetModuleHandleW(kExperimentModule);
        if (!g_experimentModule) g_experimentModule = PreloadDll::GetInstance().GetRelativeDllModuleHandle(kExperimentModule);
    }
    return g_experimentModule;
}

GetGlobalKIVAgentServiceFn ServiceGetter() {
    if (!g_serviceGetter) {
        if (HMODULE module = ExperimentModule()) {
            g_serviceGetter = reinterpret_cast<GetGlobalKIVAgentServiceFn>(
                reinterpret_cast<void*>(GetProcAddress(module, kServiceGetter)));
        }
    }
    return g_serviceGetter;
}

bool ExperimentServiceIsUp() {
    const GetGlobalKIVAgentServiceFn getter = ServiceGetter();
    if (!getter) return false;
    std::shared_ptr<IKIVAgentService> service;
    getter(&service);
    return service != nullptr;
}

int ExperimentSwitchState(const std::wstring& value) {
    if (value.empty()) return -1;
    return value == L"1" ? 1 : 0;
}

}  // namespace

KivAgentWrapper::KivAgentWrapper() {
    if (ExperimentServiceIsUp()) {
        reader_ = ExperimentService{};
        return;
    }
    HOST_LOG_INFO(kConstructorFunction, L"[{}]Using cache.", kConstructorFunction);
    reader_ = std::make_shared<HostConfigCache>();
}

int KivAgentWrapper::Lookup(const std::wstring& key, const std::wstring& subKey) {
    std::wstring value;
    if (auto* cache = std::get_if<std::shared_ptr<HostConfigCache>>(&reader_)) {
        value = (*cache)->GetStringFromConfigJson(key, subKey, std::wstring());
    } else {
        value = business::GetStringFromConfigJson2(key, subKey, std::wstring(), nullptr);
    }
    return ExperimentSwitchState(value);
}

bool KivAgentWrapper::UsesExperimentService() const { return std::holds_alternative<ExperimentService>(reader_); }

const char* KivAgentWrapper::SourceName() const { return UsesExperimentService() ? "jx" : "cache"; }
