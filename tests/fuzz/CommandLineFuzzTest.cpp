// Switch lookup and number conversion over random process command lines,
// against a reference model of the platform's rules written out here.
//
// GetCommandLineW hands out the process's own command-line buffer; rewriting
// it in place lets one process try thousands of command lines, each seen
// exactly as the module sees one at start. Long lines need room, so the test
// restarts its program once with a long padding argument.
#include <windows.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "FuzzSupport.h"
#include "TempFolder.h"
#include "TestProcess.h"

namespace {

constexpr size_t kRoom = 31000;
constexpr wchar_t kRoomSwitch[] = L" --fuzz-room=";

const fuzz::Surface kSurface{"command_line", 96, 3000, 5000, 4};

bool IsBlank(wchar_t c) { return c == L' ' || c == L'\t'; }

// The platform's splitting: the program path ends at the next quote (quoted)
// or blank; in later arguments 2n backslashes before a quote give n and the
// quote counts, 2n+1 give n and a literal quote; other backslashes are
// literal; a run of quotes counts up to three, where the third is a literal
// quote and leaves quoted mode.
std::vector<std::wstring> SplitModel(const std::wstring& line) {
    if (line.empty()) return {L"(program)"};
    std::vector<std::wstring> arguments;
    size_t i = 0;
    std::wstring program;
    if (line[0] == L'"') {
        for (i = 1; i < line.size() && line[i] != L'"'; ++i) program += line[i];
        if (i < line.size()) ++i;
    } else {
        for (; i < line.size() && !IsBlank(line[i]); ++i) program += line[i];
    }
    arguments.push_back(program);
    while (true) {
        while (i < line.size() && IsBlank(line[i])) ++i;
        if (i >= line.size()) break;
        std::wstring argument;
        int quotes = 0;  // 0 outside, 1 inside; 2 and 3 only within a run
        while (i < line.size() && !(quotes == 0 && IsBlank(line[i]))) {
            if (line[i] == L'\\') {
                size_t count = 0;
                while (i < line.size() && line[i] == L'\\') ++count, ++i;
                if (i < line.size() && line[i] == L'"') {
                    argument.append(count / 2, L'\\');
                    if (count % 2 == 1) {
                        argument += L'"';
                        ++i;
                    }
                } else {
                    argument.append(count, L'\\');
                }
                continue;
            }
            if (line[i] == L'"') {
                for (; i < line.size() && line[i] == L'"'; ++i) {
                    if (++quotes == 3) {
                        argument += L'"';
                        quotes = 0;
                    }
                }
                if (quotes == 2) quotes = 0;
                continue;
            }
            argument += line[i++];
        }
        arguments.push_back(argument);
    }
    return arguments;
}

wchar_t FoldAscii(wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c; }

bool EqualIgnoringAsciiCase(const std::wstring& a, const std::wstring& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (FoldAscii(a[i]) != FoldAscii(b[i])) return false;
    }
    return true;
}

std::wstring ParamModel(const std::vector<std::wstring>& arguments, const std::wstring& name) {
    for (size_t i = 0; i < arguments.size(); ++i) {
        if (EqualIgnoringAsciiCase(arguments[i], L"-" + name)) return i + 1 < arguments.size() ? arguments[i + 1] : L"";
    }
    return L"";
}

// Leading white space and a sign, digits up to the first other character,
// 0 without digits, clamped to the int range.
int NumberModel(const std::wstring& text) {
    size_t i = 0;
    while (i < text.size() && (text[i] == L' ' || (text[i] >= L'\t' && text[i] <= L'\r'))) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == L'+' || text[i] == L'-')) negative = text[i++] == L'-';
    long long value = 0;
    for (; i < text.size() && text[i] >= L'0' && text[i] <= L'9'; ++i) {
        value = value * 10 + (text[i] - L'0');
        if (value > static_cast<long long>(INT_MAX) + 1) value = static_cast<long long>(INT_MAX) + 1;
    }
    if (negative) return static_cast<int>(-value);
    return value > INT_MAX ? INT_MAX : static_cast<int>(value);
}

// No digits but ASCII ones and no white space but ASCII's: the model knows
// only those.
constexpr const wchar_t* kPieces[] = {L"\"", L"\"", L"\\", L"\\\\", L" ", L"\t", L"-", L"+", L"=", L"a", L"T",
                                      L"x", L"0", L"7", L"9", L"\u00e9", L"\u4e2d", L"\n", L"\v", L"/", L"'", L"\"\""};
constexpr const wchar_t* kSwitchNames[] = {L"action", L"guid", L"type", L"timeout", L"install_dir", L"t", L""};

std::wstring Soup(fuzz::CaseReader& in, size_t maxPieces) {
    std::wstring text;
    for (size_t n = in.Below(static_cast<uint32_t>(maxPieces + 1)); n > 0; --n) text += in.Pick(kPieces);
    return text;
}

std::wstring RandomCase(fuzz::CaseReader& in, std::wstring text) {
    for (wchar_t& c : text) {
        if (c >= L'a' && c <= L'z' && in.Chance(64)) c = static_cast<wchar_t>(c - L'a' + L'A');
    }
    return text;
}

std::wstring Number(fuzz::CaseReader& in) {
    std::wstring text;
    for (size_t n = in.Below(3); n > 0; --n) text += in.Chance(128) ? L' ' : L'\t';
    if (in.Chance(96)) text += in.Chance(128) ? L'-' : L'+';
    const size_t digits = in.Chance(40) ? 9 + in.Below(14) : in.Below(6);
    for (size_t n = 0; n < digits; ++n) text += static_cast<wchar_t>(L'0' + in.Below(10));
    if (in.Chance(64)) text += Soup(in, 3);
    return text;
}

std::wstring ProgramPart(fuzz::CaseReader& in) {
    switch (in.Below(6)) {
        case 0: return L"C:\\orvale\\OrvaleHost.exe";
        case 1: return L"\"C:\\Program Files\\Orvale\\OrvaleHost.exe\"";
        case 2: return L"\"C:\\unterminated " + Soup(in, 4);
        case 3: return L"\"\"";
        case 4: return L"";  // the line starts with its separator: an empty program path
        default: return Soup(in, 6);
    }
}

std::wstring Argument(fuzz::CaseReader& in, const std::wstring& extraName) {
    switch (in.Below(8)) {
        case 0:
        case 1: return RandomCase(in, L"-" + (in.Chance(32) ? extraName : std::wstring(in.Pick(kSwitchNames))));
        case 2: return Number(in);
        case 3: return L"\"" + Soup(in, 8) + (in.Chance(192) ? L"\"" : L"");
        case 4: return std::wstring(1 + in.Below(20000), in.Chance(128) ? L'7' : L'\\');
        case 5: return L"\"\"";
        case 6: return L"-" + Soup(in, 4) + RandomCase(in, in.Pick(kSwitchNames));  // near misses: "-ty\"pe\""
        default: return Soup(in, 10);
    }
}

std::wstring Separator(fuzz::CaseReader& in) {
    if (in.Chance(24)) return L"";
    std::wstring separator;
    for (size_t n = 1 + in.Below(3); n > 0; --n) separator += in.Chance(200) ? L' ' : L'\t';
    return separator;
}

// The process's own command line, rewritten in place and put back afterwards.
class CommandLineBuffer {
public:
    CommandLineBuffer() : buffer_(GetCommandLineW()), original_(buffer_) {}
    ~CommandLineBuffer() { Set(original_); }
    size_t room() const { return original_.size(); }
    void Set(const std::wstring& line) {
        const size_t length = line.size() < room() ? line.size() : room();
        std::memcpy(buffer_, line.data(), length * sizeof(wchar_t));
        buffer_[length] = L'\0';
    }

private:
    wchar_t* buffer_;
    std::wstring original_;
};

void RunCommandLineCase(CommandLineBuffer& buffer, std::string_view bytes) {
    fuzz::CaseReader in(bytes);
    const std::wstring extraName = in.Chance(128) ? std::wstring(in.Pick(kSwitchNames)) : Soup(in, 3);
    std::wstring line = ProgramPart(in);
    for (size_t n = in.Below(10); n > 0; --n) line += Separator(in) + Argument(in, extraName);
    if (line.size() > buffer.room()) line.resize(buffer.room());

    buffer.Set(line);
    const std::vector<std::wstring> model = SplitModel(line);
    std::vector<std::wstring> names(std::begin(kSwitchNames), std::end(kSwitchNames));
    names.push_back(extraName);
    for (const std::wstring& name : names) {
        const std::wstring value = GetCommandLineParam(name);
        ASSERT_EQ(WideToUtf8Text(value), WideToUtf8Text(ParamModel(model, name)))
            << "switch \"-" << WideToUtf8Text(name) << "\" in " << WideToUtf8Text(line.substr(0, 400));
        ASSERT_EQ(ParseSwitchNumber(value), NumberModel(value)) << WideToUtf8Text(value.substr(0, 400));
    }
    const std::wstring number = Number(in);
    ASSERT_EQ(ParseSwitchNumber(number), NumberModel(number)) << WideToUtf8Text(number);
}

bool HasRoom() { return std::wcsstr(GetCommandLineW(), kRoomSwitch) != nullptr; }

// The same program and arguments plus the padding, run to its end; its output
// becomes ours.
void RerunWithRoom() {
    std::wstring line = GetCommandLineW();
    line += kRoomSwitch + std::wstring(kRoom, L'x');
    const ProcessResult result = RunProcess(line, {}, 6 * 3600 * 1000);
    std::fwrite(result.output.data(), 1, result.output.size(), stdout);
    ASSERT_TRUE(result.finished);
    EXPECT_EQ(result.exitCode, 0u);
}

TEST(CommandLineFuzz, SwitchLookupAndNumbersFollowTheModel) {
    if (!HasRoom()) return RerunWithRoom();
    CommandLineBuffer buffer;
    ASSERT_GE(buffer.room(), kRoom);
    fuzz::RunCampaign(kSurface, [&](std::string_view bytes) { RunCommandLineCase(buffer, bytes); });
}

}  // namespace
