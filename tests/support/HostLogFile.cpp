#include "HostLogFile.h"

#include <sstream>

#include "TempFolder.h"

namespace {

// Four tab-ended fields, then the message (which may hold tabs); any other
// line is kept whole as a message.
HostLogLine ParseLine(const std::string& text) {
    HostLogLine line;
    line.message = text;
    std::istringstream in(text);
    std::string fields[4];
    for (std::string& field : fields) {
        if (!std::getline(in, field, '\t') || in.eof()) return line;
    }
    line = {std::stoi(fields[0]), fields[1], std::stoi(fields[2]), fields[3], {}};
    std::getline(in, line.message);
    return line;
}

std::vector<HostLogLine> ParseLines(const std::string& bytes) {
    std::vector<HostLogLine> lines;
    std::istringstream in(bytes);
    for (std::string text; std::getline(in, text);) {
        if (!text.empty()) lines.push_back(ParseLine(text));
    }
    return lines;
}

}  // namespace

std::vector<HostLogLine> ReadHostLog(const std::wstring& path) { return ParseLines(ReadFileBytes(path)); }

HostLogCursor::HostLogCursor(std::wstring path) : path_(std::move(path)), startBytes_(ReadFileBytes(path_).size()) {}

std::vector<HostLogLine> HostLogCursor::NewLines() const {
    std::string bytes = ReadFileBytes(path_);
    return ParseLines(bytes.size() > startBytes_ ? bytes.substr(startBytes_) : std::string());
}

const HostLogLine* FindMessage(const std::vector<HostLogLine>& lines, const std::string& message) {
    for (const auto& line : lines) {
        if (line.message == message) return &line;
    }
    return nullptr;
}

std::vector<HostLogLine> LinesContaining(const std::vector<HostLogLine>& lines, const std::string& part) {
    std::vector<HostLogLine> found;
    for (const auto& line : lines) {
        if (line.message.find(part) != std::string::npos) found.push_back(line);
    }
    return found;
}

std::vector<std::string> Messages(const std::vector<HostLogLine>& lines) {
    std::vector<std::string> messages;
    for (const auto& line : lines) messages.push_back(line.message);
    return messages;
}

std::vector<std::string> LevelsAndMessages(const std::vector<HostLogLine>& lines,
                                           const std::function<bool(const HostLogLine&)>& keep) {
    std::vector<std::string> texts;
    for (const auto& line : lines) {
        if (!keep || keep(line)) texts.push_back(std::to_string(line.level) + " " + line.message);
    }
    return texts;
}
