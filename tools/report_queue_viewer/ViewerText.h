#pragma once
// How the viewer writes for a person: UTF-8 text and short ages.
#include <string>

namespace viewer {

std::string Utf8(const std::wstring& text);

// "45s", "3m05s", "2h07m", "4d03h"; "in the future" for a negative age.
std::string AgeText(long long seconds);

}  // namespace viewer
