// The host configuration reader over random files: raw bytes, and JSON whose
// entries, values, experiment data and alias lists have random shapes.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "FuzzSupport.h"
#include "HostConfigCache.h"
#include "TempFolder.h"

namespace {

const fuzz::Surface kSurface{"host_config", 400, 800, 5000, 4};

constexpr const char* kKeys[] = {"pc_key_alias_list", "a", "b", "c", "pc_push_box_config", "", "\xc3\xa9", "\xff\xfe",
                                 "k\\u0000"};
constexpr const char* kFields[] = {"mode", "f", "a", "", "Mode", "\xe4\xb8\xad"};

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

// A JSON text as a JSON string literal, the way entry values carry objects.
std::string Escaped(const std::string& json) {
    std::string text;
    for (char c : json) {
        if (c == '"' || c == '\\') text += '\\';
        text += c;
    }
    return Quoted(text);
}

std::string Scalar(fuzz::CaseReader& in) {
    switch (in.Below(7)) {
        case 0: return std::to_string(static_cast<int32_t>(in.Uint32()));
        case 1: return "9223372036854775808";
        case 2: return "null";
        case 3: return in.Chance(128) ? "true" : "-1.5e300";
        case 4: return Quoted(in.Pick(kFields));
        case 5: return Quoted(in.Bytes(in.Below(6)));  // raw bytes: quotes, escapes, invalid UTF-8
        default: return "[]";
    }
}

std::string Value(fuzz::CaseReader& in, int depth);

std::string Object(fuzz::CaseReader& in, int depth, const char* const* names, size_t nameCount) {
    std::string text = "{";
    for (size_t n = in.Below(4); n > 0; --n) {
        text += Quoted(names[in.Below(static_cast<uint32_t>(nameCount))]) + ":" + Value(in, depth + 1);
        if (n > 1) text += ",";
    }
    return text + "}";
}

std::string Value(fuzz::CaseReader& in, int depth) {
    if (depth > 3) return Scalar(in);
    switch (in.Below(4)) {
        case 0: return Object(in, depth, kFields, std::size(kFields));
        case 1: return Escaped(Object(in, depth, kFields, std::size(kFields)));
        case 2: return "[" + Value(in, depth + 1) + "]";
        default: return Scalar(in);
    }
}

std::string Entry(fuzz::CaseReader& in, const std::string& key) {
    std::string value;
    if (key == "pc_key_alias_list" && in.Chance(192)) {
        value = Escaped(Object(in, 2, kKeys, std::size(kKeys)));  // aliases to keys, or to other values
    } else {
        value = Value(in, 1);
    }
    std::string entry = "{\"value\":" + value;
    if (in.Chance(96)) {
        entry += ",\"exp_data\":" + (in.Chance(192) ? "{\"sGrayPolicyId\":" + Scalar(in) + ",\"expName\":" + Scalar(in) + "}"
                                                    : Scalar(in));
    }
    return entry + "}";
}

std::string ConfigFile(fuzz::CaseReader& in) {
    switch (in.Below(8)) {
        case 0: return in.Bytes(in.Below(64));
        case 1: return "[" + Value(in, 0) + "]";
        case 2: return std::string(1200, '[');  // deeper than the parser's limit
        default: break;
    }
    std::string text = "{";
    for (size_t n = in.Below(6); n > 0; --n) {
        const std::string key = in.Pick(kKeys);
        text += Quoted(key) + ":" + (in.Chance(220) ? Entry(in, key) : Scalar(in));
        if (n > 1) text += ",";
    }
    text += "}";
    if (in.Chance(24)) text.resize(in.Below(static_cast<uint32_t>(text.size() + 1)));  // cut short
    return text;
}

std::wstring Wide(const char* text) { return Utf8ToWideText(text); }

void RunConfigCase(const std::wstring& path, std::string_view bytes) {
    fuzz::CaseReader in(bytes);
    WriteFileBytes(path, ConfigFile(in));
    HostConfigCache cache;
    cache.collectExperiments = in.Chance(128);
    try {
        cache.LoadFromFile(path);
        for (size_t n = 1 + in.Below(6); n > 0; --n) {
            const std::wstring key = Wide(in.Pick(kKeys));
            cache.ResolveAlias(key);
            cache.GetStringFromConfigJson(key, Wide(in.Pick(kFields)), L"(default)");
        }
    } catch (...) {
        ADD_FAILURE() << "an exception left the configuration reader";
    }
}

TEST(HostConfigFuzz, RandomFilesNeverBreakTheReader) {
    TempFolder folder;
    const std::wstring path = folder / L"config2.json";
    fuzz::RunCampaign(kSurface, [&](std::string_view bytes) { RunConfigCase(path, bytes); });
}

}  // namespace
