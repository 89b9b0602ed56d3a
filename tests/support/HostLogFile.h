#pragma once
// Reads what the stand-alone host logger wrote (UTF-8, one tab-separated
// line per call: level, source file, line, function, message).
#include <functional>
#include <string>
#include <vector>

struct HostLogLine {
    int level = 0;
    std::string sourceFile;
    int sourceLine = 0;
    std::string function;
    std::string message;
};

std::vector<HostLogLine> ReadHostLog(const std::wstring& path);

// Lines written to a log file after the moment the cursor was made.
class HostLogCursor {
public:
    explicit HostLogCursor(std::wstring path);
    std::vector<HostLogLine> NewLines() const;

private:
    std::wstring path_;
    size_t startBytes_;
};

// The first line whose message equals `message`; null when there is none.
const HostLogLine* FindMessage(const std::vector<HostLogLine>& lines, const std::string& message);
// Lines whose message contains `part`.
std::vector<HostLogLine> LinesContaining(const std::vector<HostLogLine>& lines, const std::string& part);
// Messages only, for readable failure output.
std::vector<std::string> Messages(const std::vector<HostLogLine>& lines);
// "<level> <message>" of the lines `keep` accepts (of every line without it),
// for comparing a whole stretch of log at once.
std::vector<std::string> LevelsAndMessages(const std::vector<HostLogLine>& lines,
                                           const std::function<bool(const HostLogLine&)>& keep = nullptr);
