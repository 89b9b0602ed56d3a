// The configuration file a host process finds by itself in the roaming
// application-data folder. These tests replace files of the prefix that every
// test shares, so they run alone and put the files back.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ConfigTestSupport.h"
#include "HostConfigCache.h"

namespace {

std::string NamingFile(const std::string& name) {
    return R"({"probe": {"value": "{\"file\": \")" + name + R"(\"}"}})";
}

TEST(RoamingConfig, EachHostExecutableReadsItsOwnFile) {
    RoamingConfigFile plain(L"config2.json", NamingFile("config2"));
    RoamingConfigFile vm(L"config2_vm.json", NamingFile("config2_vm"));
    RoamingConfigFile background(L"config2_background.json", NamingFile("config2_background"));
    const std::pair<std::wstring, std::string> cases[] = {
        {L"PelmarEntry.exe", "config2_vm"},
        {L"ORVALESERVICE.EXE", "config2_background"},
        {L"OldPelmarEntry.exe", "config2"},
        {L"OrvaleService.exe.exe", "config2"},
    };
    for (const auto& [executable, file] : cases) {
        SCOPED_TRACE(WideToUtf8Text(executable));
        RenamedProbe probe(executable);
        EXPECT_EQ((std::vector<std::string>{file, file + "|0|"}),
                  RunConfigProbe(probe.path(), L"get probe file host probe file"));
    }
}

TEST(RoamingConfig, FirstLookupOfAProcessSeesNoAliases) {
    RoamingConfigFile config(L"config2.json", R"({
        "pc_key_alias_list": {"value": "{\"a\": \"b\", \"b\": \"c\"}"},
        "a": {"value": "{\"f\": \"from a\"}", "exp_data": {"sGrayPolicyId": 1, "expName": "exp_a"}},
        "b": {"value": "{\"f\": \"from b\"}", "exp_data": {"sGrayPolicyId": 2, "expName": "exp_b"}},
        "c": {"value": "{\"f\": \"from c\"}", "exp_data": {"sGrayPolicyId": 3, "expName": "exp_c"}}
    })");
    EXPECT_EQ((std::vector<std::string>{"from a", "from c", "from a|1|exp_a", "from c|3|exp_c"}),
              RunConfigProbe(BuiltProbePath(), L"get a f get a f host a f host a f"));
}

TEST(RoamingConfig, MissingFileIsNotLookedForAgain) {
    RoamingConfigFile config(L"config2.json", std::nullopt);
    HostConfigCache cache;
    EXPECT_EQ(L"(default)", cache.GetStringFromConfigJson(L"box", L"mode", L"(default)"));

    config.Write(R"({"box": {"value": "{\"mode\": \"small\"}"}})");
    EXPECT_EQ(L"(default)", cache.GetStringFromConfigJson(L"box", L"mode", L"(default)"));
    EXPECT_EQ(L"small", HostConfigCache().GetStringFromConfigJson(L"box", L"mode", L"(default)"));
}

}  // namespace
