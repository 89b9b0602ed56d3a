#pragma once
#include <string>

// Value of the "-<name>" switch of the process command line: the argument
// after the first one equal to "-<name>" (case ignored); empty when absent.
std::wstring GetCommandLineParam(const std::wstring& name);

// Switch numbers are read as _wtoi reads them: leading blanks and a sign,
// digits up to the first non-digit, 0 when there are none.
int ParseSwitchNumber(const std::wstring& value);
