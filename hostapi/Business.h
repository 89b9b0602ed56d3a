#pragma once
#include <cstdint>
#include <string>

#include "HostApiExport.h"

namespace business {

// Experiment that delivered a configuration entry.
struct ConfigExperimentInfo {
    int sGrayPolicyId = 0;
    std::wstring expName;
};

// Decodes a raw push payload into the base64 message the service understands
// (UTF-8); empty when there is nothing to pass on.
HOSTAPI std::string OnReceivePushFromWns(const wchar_t* payload, uint64_t length);

// Field `subKey` of the JSON object held by remote-configuration entry `key`.
HOSTAPI std::wstring GetStringFromConfigJson2(const std::wstring& key, const std::wstring& subKey,
                                              const std::wstring& defaultValue,
                                              ConfigExperimentInfo* experimentInfo);
HOSTAPI std::wstring GetConfigFromConfigJson(const std::wstring& key, const std::wstring& subKey,
                                             const std::wstring& defaultValue);

// Stable per-device identifier; empty when unknown.
HOSTAPI std::wstring GetDeviceGuidStr();

}  // namespace business
