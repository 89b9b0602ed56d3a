#include "HttpText.h"

#include <windows.h>

#include <algorithm>
#include <cctype>

#include "RuntimeError.h"

namespace sim {

namespace {

enum class text_encoding { utf8, utf16le, utf16be };

std::wstring text_of_utf8(std::string_view bytes) {
    if (bytes.empty()) return {};
    const int size = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
    std::wstring text(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), text.data(), size);
    return text;
}

std::string utf16_bytes(std::wstring_view text, bool bigEndian) {
    std::string bytes;
    bytes.reserve(text.size() * 2);
    for (const wchar_t unit : text) {
        const char low = static_cast<char>(unit & 0xFF);
        const char high = static_cast<char>((unit >> 8) & 0xFF);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}

// A trailing odd byte is dropped.
std::wstring text_of_utf16(std::string_view bytes, bool bigEndian) {
    std::wstring text;
    text.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto first = static_cast<unsigned char>(bytes[i]);
        const auto second = static_cast<unsigned char>(bytes[i + 1]);
        text += static_cast<wchar_t>(bigEndian ? (first << 8) | second : (second << 8) | first);
    }
    return text;
}

std::string lower_case(std::string_view text) {
    std::string lowered(text);
    std::transform(lowered.begin(), lowered.end(), lowered.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lowered;
}

text_encoding announced_encoding(std::string_view contentType) {
    const std::string lowered = lower_case(contentType);
    const std::size_t start = lowered.find("charset=");
    if (start == std::string::npos) return text_encoding::utf8;
    std::string charset = lowered.substr(start + 8, lowered.find(';', start) - (start + 8));
    std::erase_if(charset, [](char c) { return c == '"' || c == ' ' || c == '\t'; });
    if (charset == "utf-16be") return text_encoding::utf16be;
    if (charset == "utf-16le" || charset == "utf-16") return text_encoding::utf16le;
    return text_encoding::utf8;
}

}  // namespace

std::string utf8_of(std::wstring_view text) {
    if (text.empty()) return {};
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(), size, nullptr, nullptr);
    return bytes;
}

std::string encoded_text(std::wstring_view text, rt::UnicodeEncoding encoding) {
    switch (encoding) {
        case rt::UnicodeEncoding::Utf8: return utf8_of(text);
        case rt::UnicodeEncoding::Utf16LE: return utf16_bytes(text, false);
        case rt::UnicodeEncoding::Utf16BE: return utf16_bytes(text, true);
    }
    throw rt::hresult_error(E_INVALIDARG);
}

std::string charset_name(rt::UnicodeEncoding encoding) {
    switch (encoding) {
        case rt::UnicodeEncoding::Utf8: return "UTF-8";
        case rt::UnicodeEncoding::Utf16LE: return "UTF-16LE";
        case rt::UnicodeEncoding::Utf16BE: return "UTF-16BE";
    }
    throw rt::hresult_error(E_INVALIDARG);
}

std::wstring decoded_text(std::string_view bytes, std::string_view contentType) {
    if (bytes.starts_with("\xEF\xBB\xBF")) return text_of_utf8(bytes.substr(3));
    if (bytes.starts_with("\xFF\xFE")) return text_of_utf16(bytes.substr(2), false);
    if (bytes.starts_with("\xFE\xFF")) return text_of_utf16(bytes.substr(2), true);
    switch (announced_encoding(contentType)) {
        case text_encoding::utf16le: return text_of_utf16(bytes, false);
        case text_encoding::utf16be: return text_of_utf16(bytes, true);
        case text_encoding::utf8: break;
    }
    return text_of_utf8(bytes);
}

}  // namespace sim
