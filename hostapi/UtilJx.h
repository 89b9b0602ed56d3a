#pragma once
#include <string>

#include "HostApiExport.h"

namespace UtilJx::Base {
HOSTAPI std::string Utf16ToUtf8(const std::wstring& text);
}  // namespace UtilJx::Base
