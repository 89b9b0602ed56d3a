// The configuration reader over a file it is told to load, and its hand-off
// to the host's own reader.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "ConfigTestSupport.h"
#include "HostConfigCache.h"
#include "HostLogFile.h"

namespace {

constexpr wchar_t kDefault[] = L"(default)";

class LoadedConfig : public testing::Test {
protected:
    void Load(const std::string& json) {
        WriteFileBytes(path_, json);
        cache_.LoadFromFile(path_);
        ASSERT_TRUE(cache_.loaded);
    }
    std::wstring Lookup(const std::wstring& key, const std::wstring& field) {
        return cache_.GetStringFromConfigJson(key, field, kDefault);
    }

    TempFolder folder_;
    std::wstring path_ = folder_ / L"config2.json";
    HostConfigCache cache_;
};

TEST_F(LoadedConfig, AnswersOnlyFieldsOfEntriesWhoseValueIsText) {
    Load(R"({
        "box": {"value": "{\"mode\": \"small\", \"count\": 3, \"nested\": {\"a\": 1}}"},
        "number": {"value": 1},
        "object": {"value": {"mode": "inline"}},
        "scalar": 5,
        "broken": {"value": "{mode"}
    })");
    EXPECT_EQ(L"small", Lookup(L"box", L"mode"));
    EXPECT_EQ(L"3", Lookup(L"box", L"count"));
    const std::pair<const wchar_t*, const wchar_t*> unanswered[] = {
        {L"box", L"Mode"},      {L"box", L"nested"},    {L"box", L"absent"}, {L"number", L"mode"},
        {L"object", L"mode"},   {L"scalar", L"mode"},   {L"broken", L"mode"}, {L"absent", L"mode"}};
    for (const auto& [key, field] : unanswered) EXPECT_EQ(kDefault, Lookup(key, field)) << key << L"/" << field;
}

TEST_F(LoadedConfig, LookupsFollowAtMostTwoAliasSteps) {
    Load(R"({
        "pc_key_alias_list": {"value": "{\"a\": \"b\", \"b\": \"c\", \"c\": \"d\"}"},
        "a": {"value": "{\"f\": \"from a\"}"}, "b": {"value": "{\"f\": \"from b\"}"},
        "c": {"value": "{\"f\": \"from c\"}"}, "d": {"value": "{\"f\": \"from d\"}"}
    })");
    EXPECT_EQ(L"b", cache_.ResolveAlias(L"a"));
    EXPECT_EQ(L"from c", Lookup(L"a", L"f"));
    EXPECT_EQ(L"from d", Lookup(L"b", L"f"));
    EXPECT_EQ(L"from d", Lookup(L"d", L"f"));
}

TEST_F(LoadedConfig, UnparsableFileIsNotReadAgain) {
    Load("{\"box\": ");
    WriteFileBytes(path_, R"({"box": {"value": "{\"mode\": \"small\"}"}})");
    cache_.EnsureLoaded();
    EXPECT_EQ(kDefault, Lookup(L"box", L"mode"));
}

// A root or alias list of the wrong JSON type, or nesting deeper than the
// parser goes, breaks the load off; nothing leaves the reader.
TEST_F(LoadedConfig, AFileOfTheWrongShapeLeavesItUnloaded) {
    const std::string box = R"("box": {"value": "{\"mode\": \"small\"}"})";
    for (const std::string& text : {std::string(1200, '['), "[{" + box + "}]",
                                    R"({"pc_key_alias_list": {"value": "{\"box\": 1}"}, )" + box + "}"}) {
        WriteFileBytes(path_, text);
        HostConfigCache cache;
        cache.LoadFromFile(path_);
        EXPECT_FALSE(cache.loaded) << text.substr(0, 60);
    }
}

TEST_F(LoadedConfig, ExperimentsAreKeptOnlyWhenAskedFor) {
    const std::string json = R"({
        "full": {"value": "{}", "exp_data": {"sGrayPolicyId": 42, "expName": "big_box"}},
        "mistyped": {"exp_data": {"sGrayPolicyId": "42", "expName": 7}}
    })";
    Load(json);
    EXPECT_TRUE(cache_.experiments.empty());

    cache_.collectExperiments = true;
    Load(json);
    ASSERT_EQ(2u, cache_.experiments.size());
    EXPECT_EQ(42, cache_.experiments[L"full"].sGrayPolicyId);
    EXPECT_EQ(L"big_box", cache_.experiments[L"full"].expName);
    EXPECT_EQ(0, cache_.experiments[L"mistyped"].sGrayPolicyId);
    EXPECT_EQ(L"", cache_.experiments[L"mistyped"].expName);
}

// In its optimised mode the stand-alone host reader logs every call it gets.
TEST(HostReaderMode, OptimisedModeHandsEveryOperationToTheHostReader) {
    TempFolder folder;
    const std::wstring configPath = folder / L"config.json";
    WriteFileBytes(configPath, R"({"box": {"value": "{\"mode\": \"small\"}"}})");
    const std::wstring operations = L"load \"" + configPath + L"\" get box mode ensure ensure";

    EXPECT_EQ(std::vector<std::string>{"small"}, RunConfigProbe(BuiltProbePath(), operations));

    const std::wstring logPath = folder / L"host.log";
    EXPECT_EQ(std::vector<std::string>{"(default)"},
              RunConfigProbe(BuiltProbePath(), operations,
                             {{L"ORVALE_STANDALONE_KIVCACHE_OPT", L"1"}, {L"ORVALE_STANDALONE_LOG", logPath}}));
    std::vector<std::string> calls;
    for (const HostLogLine& line : ReadHostLog(logPath)) calls.push_back(line.function + " " + line.message);
    EXPECT_EQ((std::vector<std::string>{
                  "KivCacheFileReaderHelper::LoadRemoteConfigJsonFile " + WideToUtf8Text(configPath),
                  "KivCacheFileReaderHelper::GetStringFromConfigJson box/mode",
                  "KivCacheFileReaderHelper::LoadRemoteConfigDefault ",
                  "KivCacheFileReaderHelper::LoadRemoteConfigDefault ",
              }),
              calls);
}

}  // namespace
