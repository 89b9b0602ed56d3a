// Stand-alone business library.
#include <windows.h>

#include <mutex>
#include <string>

#include "Business.h"
#include "HostConfigCache.h"
#include "StandaloneSettings.h"
#include "UtilJx.h"

namespace {

std::string Base64(const std::string& bytes) {
    static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    size_t i = 0;
    for (; i + 2 < bytes.size(); i += 3) {
        unsigned v = (static_cast<unsigned char>(bytes[i]) << 16) | (static_cast<unsigned char>(bytes[i + 1]) << 8) |
                     static_cast<unsigned char>(bytes[i + 2]);
        out += {kAlphabet[v >> 18], kAlphabet[(v >> 12) & 63], kAlphabet[(v >> 6) & 63], kAlphabet[v & 63]};
    }
    if (size_t rest = bytes.size() - i; rest > 0) {
        unsigned v = static_cast<unsigned char>(bytes[i]) << 16;
        if (rest == 2) v |= static_cast<unsigned char>(bytes[i + 1]) << 8;
        out += kAlphabet[v >> 18];
        out += kAlphabet[(v >> 12) & 63];
        out += rest == 2 ? kAlphabet[(v >> 6) & 63] : '=';
        out += '=';
    }
    return out;
}

// One configuration reader for the whole host process. Client threads call
// the business library concurrently while the reader itself has no lock.
std::mutex g_configMutex;

HostConfigCache& ProcessConfig() {
    static HostConfigCache cache = [] {
        HostConfigCache fresh;
        // Before the first load, whichever of the two lookups comes first.
        fresh.collectExperiments = true;
        if (auto own = standalone::ReadVariable(standalone::kBusinessConfigVariable)) fresh.LoadFromFile(*own);
        return fresh;
    }();
    return cache;
}

}  // namespace

namespace business {

std::string OnReceivePushFromWns(const wchar_t* payload, uint64_t length) {
    if (auto forced = standalone::ReadVariable(standalone::kPushResultVariable)) {
        return UtilJx::Base::Utf16ToUtf8(*forced);
    }
    if (payload == nullptr || length == 0) return {};
    return Base64(UtilJx::Base::Utf16ToUtf8(std::wstring(payload, static_cast<size_t>(length))));
}

std::wstring GetDeviceGuidStr() {
    return standalone::ReadVariable(standalone::kDeviceGuidVariable).value_or(L"6a1f0c2e-3b7d-4e59-8c41-d2f7a90b3e15");
}

std::wstring GetStringFromConfigJson2(const std::wstring& key, const std::wstring& subKey,
                                      const std::wstring& defaultValue, ConfigExperimentInfo* experimentInfo) {
    try {
        std::lock_guard lock(g_configMutex);
        HostConfigCache& config = ProcessConfig();
        // The lookup resolves its aliases before it loads, so the entry it
        // reads is the one resolved now.
        const std::wstring entryKey = config.ResolveAlias(config.ResolveAlias(key));
        std::wstring value = config.GetStringFromConfigJson(key, subKey, defaultValue);
        if (experimentInfo != nullptr) {
            auto experiment = config.experiments.find(entryKey);
            *experimentInfo = experiment == config.experiments.end() ? ConfigExperimentInfo() : experiment->second;
        }
        return value;
    } catch (...) {
        return defaultValue;
    }
}

std::wstring GetConfigFromConfigJson(const std::wstring& key, const std::wstring& subKey,
                                     const std::wstring& defaultValue) {
    return GetStringFromConfigJson2(key, subKey, defaultValue, nullptr);
}

}  // namespace business
