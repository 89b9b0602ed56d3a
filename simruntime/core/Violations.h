#pragma once
// What the simulation refused because a caller broke a COM rule. Each is kept
// for the test program to read (SimRuntime_Violation) and, when the variable
// SIMRUNTIME_VIOLATIONS_FILE names a file, appended to it as a line
// "<process id>\t<program>\t<text>", so that a test also sees what its child
// processes did.
#include <string>

namespace sim {

void record_violation(const std::wstring& text);

}  // namespace sim
