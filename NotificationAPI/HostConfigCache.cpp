#include "HostConfigCache.h"

#include <windows.h>

#include <shlobj.h>
#include <shlwapi.h>

#include <json/json.h>

#include <cstdio>
#include <cwctype>
#include <memory>

#include "OrvaleBase.h"
#include "UtilJx.h"

namespace {

constexpr wchar_t kAliasListKey[] = L"pc_key_alias_list";
constexpr wchar_t kConfigSubFolder[] = L"Malvorn\\Orvale\\";

// Host processes that get a configuration file of their own; every other
// executable reads the default file.
struct ProcessConfigFile {
    const wchar_t* executable;  // lower case
    const wchar_t* file;
};
constexpr ProcessConfigFile kProcessConfigFiles[] = {
    {L"pelmarentry.exe", L"config2_vm.json"},
    {L"orvaleservice.exe", L"config2_background.json"},
};
constexpr wchar_t kDefaultConfigFile[] = L"config2.json";

std::wstring ProcessImagePath() {
    wchar_t path[MAX_PATH] = {};
    DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
    return std::wstring(path, length);
}

std::wstring LowerCase(std::wstring text) {
    for (wchar_t& c : text) c = static_cast<wchar_t>(std::towlower(c));
    return text;
}

const wchar_t* ConfigFileNameOfProcess() {
    const std::wstring executable = LowerCase(base::GetFileNameByPath(ProcessImagePath()));
    for (const ProcessConfigFile& entry : kProcessConfigFiles) {
        if (executable == entry.executable) return entry.file;
    }
    return kDefaultConfigFile;
}

// Empty when the folder is unknown.
std::wstring RoamingAppDataFolder() {
    wchar_t path[MAX_PATH] = {};
    if (FAILED(SHGetFolderPathW(nullptr, CSIDL_APPDATA | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT, path))) {
        return {};
    }
    return path;
}

// Empty when `folder` is empty or the result would not fit MAX_PATH.
std::wstring AppendPath(const std::wstring& folder, const wchar_t* more) {
    if (folder.empty() || folder.size() >= MAX_PATH) return {};
    std::wstring path = folder;
    path.resize(MAX_PATH, L'\0');
    if (!PathAppendW(path.data(), more)) return {};
    path.resize(path.find(L'\0'));
    return path;
}

bool IsExistingDirectory(const std::wstring& path) {
    DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// From the root down; a folder that cannot be created shows up later as a
// missing configuration file.
void CreateMissingFolders(const std::wstring& path) {
    for (size_t end = path.find(L'\\'); end != std::wstring::npos; end = path.find(L'\\', end + 1)) {
        const std::wstring folder = path.substr(0, end);
        if (folder.empty() || folder.back() == L':' || IsExistingDirectory(folder)) continue;
        CreateDirectoryW(folder.c_str(), nullptr);
    }
    if (!IsExistingDirectory(path)) CreateDirectoryW(path.c_str(), nullptr);
}

std::wstring ConfigFilePathOfProcess() {
    const std::wstring folder = AppendPath(RoamingAppDataFolder(), kConfigSubFolder);
    if (folder.empty()) return {};
    if (!IsExistingDirectory(folder)) CreateMissingFolders(folder);
    return AppendPath(folder, ConfigFileNameOfProcess());
}

struct FileCloser {
    void operator()(FILE* file) const { (void)fclose(file); }  // a file only read: nothing to lose
};

// Empty when the file cannot be opened.
std::string ReadWholeFile(const std::wstring& path) {
    FILE* opened = nullptr;
    if (_wfopen_s(&opened, path.c_str(), L"rb") != 0 || opened == nullptr) return {};
    std::unique_ptr<FILE, FileCloser> file(opened);
    std::string content;
    char chunk[16384];
    while (size_t count = fread(chunk, 1, sizeof(chunk), file.get())) content.append(chunk, count);
    return content;
}

bool ParseJson(const std::string& text, Json::Value& root) {
    Json::CharReaderBuilder builder;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    return reader->parse(text.data(), text.data() + text.size(), &root, nullptr);
}

std::wstring WideFromCodePage(UINT codePage, const std::string& text) {
    if (text.empty()) return {};
    int length = MultiByteToWideChar(codePage, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring wide(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(codePage, 0, text.data(), static_cast<int>(text.size()), wide.data(), length);
    return wide;
}

business::ConfigExperimentInfo ReadExperiment(const Json::Value& entry) {
    business::ConfigExperimentInfo experiment;
    if (!entry.isObject() || !entry["exp_data"].isObject()) return experiment;
    const Json::Value& data = entry["exp_data"];
    if (data["sGrayPolicyId"].isInt()) experiment.sGrayPolicyId = data["sGrayPolicyId"].asInt();
    if (data["expName"].isString()) experiment.expName = WideFromCodePage(CP_UTF8, data["expName"].asString());
    return experiment;
}

std::wstring FindOr(const std::map<std::wstring, std::wstring>& map, const std::wstring& key,
                    const std::wstring& fallback) {
    auto found = map.find(key);
    return found == map.end() ? fallback : found->second;
}

}  // namespace

void HostConfigCache::LoadFromFile(const std::wstring& path) {
    try {
        KivCacheFileReaderHelper& hostReader = KivCacheFileReaderHelper::GetInstance();
        if (hostReader.isKivCacheOpt()) {
            hostReader.LoadRemoteConfigJsonFile(path);
            return;
        }
        values.clear();
        Json::Value root;
        if (ParseJson(ReadWholeFile(path), root)) {
            for (const std::string& name : root.getMemberNames()) {
                const std::wstring key = WideFromCodePage(CP_UTF8, name);
                const Json::Value& entry = root[name];
                if (entry.isObject() && entry["value"].isString()) {
                    values[key] = WideFromCodePage(CP_UTF8, entry["value"].asString());
                }
                if (collectExperiments) experiments[key] = ReadExperiment(entry);
            }
            aliases.clear();
            Json::Value aliasList;
            if (ParseJson(UtilJx::Base::Utf16ToUtf8(FindOr(values, kAliasListKey, {})), aliasList)) {
                for (const std::string& alias : aliasList.getMemberNames()) {
                    aliases[WideFromCodePage(CP_UTF8, alias)] = WideFromCodePage(CP_UTF8, aliasList[alias].asCString());
                }
            }
        }
        loaded = true;
    } catch (...) {
        // A load that broke off (a root or alias list of the wrong JSON type)
        // is not marked, so the next lookup reads the file again.
    }
}

void HostConfigCache::EnsureLoaded() {
    if (loaded) return;
    try {
        KivCacheFileReaderHelper& hostReader = KivCacheFileReaderHelper::GetInstance();
        if (hostReader.isKivCacheOpt()) {
            // The host reader keeps its own data; loaded stays false, so this
            // repeats on every call.
            hostReader.LoadRemoteConfigDefault();
            return;
        }
        LoadFromFile(ConfigFilePathOfProcess());
    } catch (...) {
    }
}

std::wstring HostConfigCache::ResolveAlias(const std::wstring& key) const { return FindOr(aliases, key, key); }

std::wstring HostConfigCache::GetStringFromConfigJson(const std::wstring& key, const std::wstring& subKey,
                                                      const std::wstring& defaultValue) {
    try {
        KivCacheFileReaderHelper& hostReader = KivCacheFileReaderHelper::GetInstance();
        if (hostReader.isKivCacheOpt()) {
            std::wstring hostDefault = defaultValue;
            return hostReader.GetStringFromConfigJson(key.c_str(), subKey.c_str(), hostDefault);
        }
        // Both alias steps run before the lazy load, so the first lookup of a
        // process sees no aliases and later ones follow an alias of an alias.
        // Deliberate: keep this order.
        const std::wstring aliasedKey = ResolveAlias(key);
        std::wstring text;
        if (hostReader.isKivCacheOpt()) {
            text = hostReader.GetRemoteConfig(aliasedKey.c_str(), std::wstring());
        } else {
            const std::wstring entryKey = ResolveAlias(aliasedKey);
            EnsureLoaded();
            text = FindOr(values, entryKey, {});
        }
        if (text.empty()) return defaultValue;
        Json::Value fields;
        if (!ParseJson(UtilJx::Base::Utf16ToUtf8(text), fields)) return defaultValue;
        // Field names go through the thread's ANSI code page, deliberately
        // unlike the load, which reads UTF-8.
        for (const std::string& name : fields.getMemberNames()) {
            if (WideFromCodePage(CP_THREAD_ACP, name) == subKey) return base::Utf8ToWide(fields[name].asString());
        }
        return defaultValue;
    } catch (...) {
        // A field of the wrong JSON type counts as absent.
        return defaultValue;
    }
}
