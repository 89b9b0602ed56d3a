#include "ToastCapabilities.h"

#include <windows.h>

#include "OsVersion.h"

namespace notification_wrapper {

os_version_numbers read_os_version_numbers() {
    // Left zero when the export is missing, so every probe then answers "old".
    OSVERSIONINFOW info;
    ReadRtlVersion(info);
    return {info.dwMajorVersion, info.dwBuildNumber};
}

bool is_build_14393_or_later() { return read_os_version_numbers().build >= kFirstBuildWithHeroImage; }

uint32_t toast_capability_flags(const os_version_numbers& version, bool attribution_enabled) {
    uint32_t flags = 0;
    if (version.major > 6) flags |= toast_capability::major_version_above_6;
    if (attribution_enabled) flags |= toast_capability::attribution;
    if (version.build >= kFirstBuildWithHeroImage) flags |= toast_capability::build_14393;
    return flags;
}

uint32_t toast_capability_flags(bool attribution_enabled) {
    return toast_capability_flags(read_os_version_numbers(), attribution_enabled);
}

}  // namespace notification_wrapper
