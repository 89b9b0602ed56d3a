#include "TempFolder.h"

#include <objbase.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

#include "OrvaleBase.h"
#include "UtilJx.h"

TempFolder::TempFolder() {
    wchar_t temp[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temp);
    path_ = std::wstring(temp) + L"orvale-" + FreshGuidText();
    std::filesystem::create_directories(path_);
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::wstring FreshGuidText() {
    GUID guid = {};
    CoCreateGuid(&guid);
    wchar_t text[64] = {};
    StringFromGUID2(guid, text, 64);
    return std::wstring(text).substr(1, 36);
}

std::string ReadFileBytes(const std::wstring& path) {
    std::ifstream in(std::filesystem::path(path), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

bool WriteFileBytes(const std::wstring& path, const std::string& bytes) {
    std::ofstream out(std::filesystem::path(path), std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(out);
}

std::vector<std::string> TextLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (line.ends_with('\r')) line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

std::wstring Utf8ToWideText(const std::string& text) { return base::Utf8ToWide(text); }

std::string WideToUtf8Text(const std::wstring& text) { return UtilJx::Base::Utf16ToUtf8(text); }
