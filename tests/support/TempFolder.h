#pragma once
#include <string>
#include <vector>

// A fresh folder under the temporary folder, removed with everything in it.
class TempFolder {
public:
    TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder();

    const std::wstring& path() const { return path_; }
    std::wstring operator/(const std::wstring& name) const { return path_ + L"\\" + name; }

private:
    std::wstring path_;
};

// A fresh GUID as 36 characters, for names no other test uses.
std::wstring FreshGuidText();

std::string ReadFileBytes(const std::wstring& path);
// The lines of a text, each without its end ("\n" or "\r\n").
std::vector<std::string> TextLines(const std::string& text);
bool WriteFileBytes(const std::wstring& path, const std::string& bytes);
std::wstring Utf8ToWideText(const std::string& text);
std::string WideToUtf8Text(const std::wstring& text);
