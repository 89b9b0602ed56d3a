#include <fmt/format.h>

#include "DiagnosticChecks.h"
#include "OsVersion.h"

namespace diagnose {

void CheckOsBuild(CheckLines& lines) {
    OSVERSIONINFOW info = {};
    ReadRtlVersion(info);
    uint32_t major = info.dwMajorVersion, minor = info.dwMinorVersion, build = info.dwBuildNumber;
    GetNtVersionNumbers(major, minor, build);
    const bool supported = IsSupportedOsBuild();
    lines.push_back({supported ? Verdict::Ok : Verdict::Fail, "os",
                     fmt::format("Windows {}.{} build {}, {} (Windows 10 from build 19041 on)", major, minor, build,
                                 supported ? "supported" : "not supported")});
}

}  // namespace diagnose
