#include "DiagnosticChecks.h"

namespace diagnose {

std::string FormatLine(const CheckLine& line) {
    const char* tag = line.verdict == Verdict::Ok ? "OK   " : line.verdict == Verdict::Fail ? "FAIL " : "INFO ";
    return tag + line.check + ": " + line.detail;
}

}  // namespace diagnose
