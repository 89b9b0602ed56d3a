#include <fmt/format.h>

#include "Business.h"
#include "DiagnosticChecks.h"
#include "ViewerText.h"
#include "KivAgentWrapper.h"
#include "NotificationWrapperMgr.h"

namespace diagnose {

namespace {

struct Switch {
    const wchar_t* key;
    const wchar_t* subKey;
};

// Every switch the package jobs and the background-task registration read.
constexpr Switch kSwitches[] = {
    {L"pc_bg_task_wakeup_config", L"pc_bg_enable_install_notification_package"},
    {L"pc_bg_task_wakeup_config", L"pc_bg_task_register"},
    {L"pc_tips_json_for_experiment", L"pc_wns_enable_task_registration"},
};

const char* SwitchText(int state) {
    if (state == 1) return "on";
    if (state == 0) return "off (set, but not exactly \"1\")";
    return "not set (off)";
}

}  // namespace

void CheckHostConfiguration(CheckLines& lines) {
    KivAgentWrapper experiments;
    const char* source = experiments.UsesExperimentService() ? "the host's experiment service (JxDataPlugin.dll)"
                                                             : "the host's configuration file (config2.json cache)";
    for (const Switch& setting : kSwitches) {
        const int state = experiments.Lookup(setting.key, setting.subKey);
        lines.push_back({Verdict::Info, "experiment",
                         fmt::format("{}/{}: {}, from {}", viewer::Utf8(setting.key), viewer::Utf8(setting.subKey),
                                     SwitchText(state), source)});
    }
    const std::wstring mode = ReadPushBoxMode();
    lines.push_back({Verdict::Info, "push-box mode",
                     fmt::format("\"{}\": {}, from pc_push_box_config/mode through the host's business library",
                                 viewer::Utf8(mode),
                                 mode == L"big" ? "image as hero picture" : "image as application logo")});
}

}  // namespace diagnose
