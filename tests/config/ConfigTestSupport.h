#pragma once
// The configuration probe and the configuration files of the shared prefix.
#include <optional>
#include <string>
#include <vector>

#include "TempFolder.h"
#include "TestProcess.h"

// The lines the probe at `probePath` printed for `operations`.
std::vector<std::string> RunConfigProbe(const std::wstring& probePath, const std::wstring& operations,
                                        const EnvironmentOverrides& environment = {});
std::wstring BuiltProbePath();

// A copy of the probe under another file name, with the host library beside it.
class RenamedProbe {
public:
    explicit RenamedProbe(const std::wstring& fileName);
    std::wstring path() const { return folder_ / fileName_; }

private:
    TempFolder folder_;
    std::wstring fileName_;
};

// A file of the client's configuration folder in the roaming application-data
// folder that every test shares: replaced (nullopt: removed) for the life of
// this object, then put back as it was.
class RoamingConfigFile {
public:
    RoamingConfigFile(const std::wstring& fileName, const std::optional<std::string>& content);
    RoamingConfigFile(const RoamingConfigFile&) = delete;
    RoamingConfigFile& operator=(const RoamingConfigFile&) = delete;
    ~RoamingConfigFile();

    void Write(const std::optional<std::string>& content) const;

private:
    std::wstring path_;
    std::optional<std::string> original_;
};
