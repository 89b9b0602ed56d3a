#pragma once
// The host's experiment switches, read through whichever reader the host
// offers: its experiment service when the experiment module hands one out,
// otherwise a cache reader of its configuration file. The choice is made once,
// when the wrapper is built.
#include <memory>
#include <string>
#include <variant>

#include "HostConfigCache.h"

class KivAgentWrapper {
public:
    KivAgentWrapper();

    // 1 when the value is exactly "1", -1 when there is no value, 0 for any
    // other value (" 1", "01" and "true" included).
    int Lookup(const std::wstring& key, const std::wstring& subKey);

    bool UsesExperimentService() const;
    // How reports name the reader: "jx" for the service, "cache" otherwise.
    const char* SourceName() const;

private:
    // Nothing is kept of the service: it is only probed for presence, and the
    // business library reaches it by itself.
    struct ExperimentService {};
    std::variant<ExperimentService, std::shared_ptr<HostConfigCache>> reader_;
};
