#pragma once
// The client's remote configuration as this module reads it: the JSON file the
// client's configuration service leaves for the running host process, loaded
// once and answered from memory. When the client's own reader is in its
// optimised mode, every operation goes to that reader instead.
//
// No locking: one instance must not be used from two threads at once. No
// operation throws; failures give the default value or an empty result.
#include <map>
#include <string>

#include "Business.h"

class HostConfigCache {
public:
    // Afterwards the cache counts as loaded, even when the file was missing or
    // was not JSON: the file is not read again in this process.
    void LoadFromFile(const std::wstring& path);
    // Loads the file that belongs to the running host executable, once.
    void EnsureLoaded();
    // One alias step, or `key` itself.
    std::wstring ResolveAlias(const std::wstring& key) const;
    // Field `subKey` of the JSON object held by entry `key`, or `defaultValue`.
    std::wstring GetStringFromConfigJson(const std::wstring& key, const std::wstring& subKey,
                                         const std::wstring& defaultValue);

    // The "value" text of each entry whose "value" is a string.
    std::map<std::wstring, std::wstring> values;
    // Filled only when collectExperiments is set before the load.
    std::map<std::wstring, business::ConfigExperimentInfo> experiments;
    bool collectExperiments = false;
    bool loaded = false;
    // Alias to the key that holds its data, from the entry "pc_key_alias_list".
    std::map<std::wstring, std::wstring> aliases;
};
