// Tells the people who support the client, in one screen, whether this user's
// machine has what the module needs to show notifications:
//   DiagnoseNotifications.exe
// One line per check ("OK", "FAIL" or "INFO"). Exit codes: 0 healthy, 1 a
// check failed (identity, package, protocol, OS build, a notification setting
// that blocks toasts or a stale report claim), 2 usage. It reads only, through the module's own functions.
#include <cstdio>
#include <exception>

#include "DiagnosticChecks.h"

namespace {

using Check = void (*)(diagnose::CheckLines&);

constexpr struct {
    const char* name;
    Check run;
} kChecks[] = {
    {"identity", diagnose::CheckAppIdentity},
    {"package", diagnose::CheckNotificationPackage},
    {"configuration", diagnose::CheckHostConfiguration},
    {"os", diagnose::CheckOsBuild},
    {"notification setting", diagnose::CheckNotificationSetting},
    {"report queue", diagnose::CheckReportQueue},
};

}  // namespace

int wmain(int argc, wchar_t**) {
    if (argc != 1) {
        std::fputs("usage: DiagnoseNotifications.exe\n", stderr);
        return 2;
    }
    diagnose::CheckLines lines;
    for (const auto& check : kChecks) {
        try {
            check.run(lines);
        } catch (const std::exception& error) {
            lines.push_back({diagnose::Verdict::Fail, check.name, std::string("could not be checked: ") + error.what()});
        }
    }
    bool failed = false;
    for (const auto& line : lines) {
        std::printf("%s\n", diagnose::FormatLine(line).c_str());
        failed = failed || line.verdict == diagnose::Verdict::Fail;
    }
    return failed ? 1 : 0;
}
