#include "ViewerText.h"

#include <fmt/format.h>

#include "UtilJx.h"

namespace viewer {

std::string Utf8(const std::wstring& text) { return UtilJx::Base::Utf16ToUtf8(text); }

std::string AgeText(long long seconds) {
    if (seconds < 0) return "in the future";
    if (seconds < 60) return fmt::format("{}s", seconds);
    if (seconds < 3600) return fmt::format("{}m{:02}s", seconds / 60, seconds % 60);
    if (seconds < 86400) return fmt::format("{}h{:02}m", seconds / 3600, seconds % 3600 / 60);
    return fmt::format("{}d{:02}h", seconds / 86400, seconds % 86400 / 3600);
}

}  // namespace viewer
