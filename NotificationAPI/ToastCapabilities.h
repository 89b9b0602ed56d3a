#pragma once
// What the running Windows can show in a toast: the capability flags the
// renderer gets, and the build probe behind them.
#include <cstdint>

namespace notification_wrapper {

namespace toast_capability {
inline constexpr uint32_t major_version_above_6 = 2;
inline constexpr uint32_t attribution = 4;
inline constexpr uint32_t build_14393 = 8;
}  // namespace toast_capability

// Hero images and circle-cropped logos came with this build.
inline constexpr uint32_t kFirstBuildWithHeroImage = 14393;

struct os_version_numbers {
    uint32_t major = 0;
    uint32_t build = 0;
};

// RtlGetVersion's numbers; zero when ntdll does not export it.
os_version_numbers read_os_version_numbers();

// The build probe: build 14393 or later.
bool is_build_14393_or_later();

uint32_t toast_capability_flags(const os_version_numbers& version, bool attribution_enabled);

// The flags of the running system.
uint32_t toast_capability_flags(bool attribution_enabled);

}  // namespace notification_wrapper
