#include "UriText.h"

#include <windows.h>

#include <algorithm>
#include <cwctype>
#include <string>

namespace sim {

namespace {

std::string to_utf8(std::wstring_view text) {
    if (text.empty()) return {};
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(), size, nullptr, nullptr);
    return bytes;
}

std::wstring from_code_page(UINT codePage, std::string_view bytes) {
    if (bytes.empty()) return {};
    const int size = MultiByteToWideChar(codePage, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
    std::wstring text(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(codePage, 0, bytes.data(), static_cast<int>(bytes.size()), text.data(), size);
    return text;
}

bool is_ascii_letter(wchar_t c) { return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z'); }
bool is_ascii_digit(wchar_t c) { return c >= L'0' && c <= L'9'; }

bool is_unreserved(unsigned char c) {
    return is_ascii_letter(c) || is_ascii_digit(c) || c == '-' || c == '.' || c == '_' || c == '~';
}

// Printable ASCII that a URI may hold as it stands.
bool is_uri_character(unsigned char c) {
    if (c <= 0x20 || c >= 0x7F) return false;
    for (const char excluded : std::string_view("\"<>\\^`{|}")) {
        if (c == static_cast<unsigned char>(excluded)) return false;
    }
    return true;
}

template <class Keep>
std::wstring percent_encode(std::wstring_view text, Keep keep) {
    constexpr wchar_t kHex[] = L"0123456789ABCDEF";
    std::wstring encoded;
    for (const char byte : to_utf8(text)) {
        const auto c = static_cast<unsigned char>(byte);
        if (keep(c)) {
            encoded += static_cast<wchar_t>(c);
        } else {
            encoded += L'%';
            encoded += kHex[c >> 4];
            encoded += kHex[c & 0xF];
        }
    }
    return encoded;
}

std::wstring canonical(std::wstring_view text) { return percent_encode(text, is_uri_character); }

bool is_international(wchar_t c) { return c >= 0x80; }

// "Uri Class": Windows.Foundation.Uri "doesn't percent-encode non-ASCII characters" where the scheme
// refers to a Windows file path; "Uri.AbsoluteUri Property": the absolute form "might actually be an
// IRI". No page says for which other schemes it is, so international characters are kept in every
// scheme, the form a caller is least ready for; only "Uri.AbsoluteCanonicalUri Property" promises
// "all non-US ASCII characters represented as percent-encoded UTF-8". Punycode hosts are not simulated.
std::wstring iri(std::wstring_view text) {
    std::wstring kept;
    while (!text.empty()) {
        const bool international = is_international(text.front());
        const auto run = static_cast<std::size_t>(
            std::ranges::find_if(text, [&](wchar_t c) { return is_international(c) != international; }) - text.begin());
        kept += international ? std::wstring(text.substr(0, run)) : canonical(text.substr(0, run));
        text.remove_prefix(run);
    }
    return kept;
}

std::wstring lower_case(std::wstring_view text) {
    std::wstring lowered(text);
    for (wchar_t& c : lowered) c = static_cast<wchar_t>(std::towlower(c));
    return lowered;
}

bool is_valid_scheme(std::wstring_view scheme) {
    if (scheme.empty() || !is_ascii_letter(scheme[0])) return false;
    for (const wchar_t c : scheme) {
        if (!is_ascii_letter(c) && !is_ascii_digit(c) && c != L'+' && c != L'-' && c != L'.') return false;
    }
    return true;
}

bool has_control_character(std::wstring_view text) {
    for (const wchar_t c : text) {
        if (c < 0x20 || c == 0x7F) return true;
    }
    return false;
}

// "user:password@host:port"; false when the port is not a number.
bool split_authority(std::wstring_view authority, uri_parts& parts) {
    const std::size_t at = authority.rfind(L'@');
    if (at != std::wstring_view::npos) {
        const std::wstring_view userInfo = authority.substr(0, at);
        const std::size_t colon = userInfo.find(L':');
        parts.userName = std::wstring(userInfo.substr(0, colon));
        if (colon != std::wstring_view::npos) parts.password = std::wstring(userInfo.substr(colon + 1));
        authority.remove_prefix(at + 1);
    }
    const std::size_t bracket = authority.rfind(L']');
    const std::size_t colon = authority.rfind(L':');
    if (colon != std::wstring_view::npos && (bracket == std::wstring_view::npos || colon > bracket)) {
        parts.port = std::wstring(authority.substr(colon + 1));
        authority = authority.substr(0, colon);
        for (const wchar_t c : parts.port) {
            if (!is_ascii_digit(c)) return false;
        }
    }
    parts.host = lower_case(authority);
    return true;
}

}  // namespace

std::optional<uri_parts> parse_absolute_uri(std::wstring_view text) {
    if (text.empty() || has_control_character(text)) return std::nullopt;
    const std::size_t colon = text.find(L':');
    if (colon == std::wstring_view::npos || !is_valid_scheme(text.substr(0, colon))) return std::nullopt;

    uri_parts parts;
    parts.raw = std::wstring(text);
    parts.scheme = lower_case(text.substr(0, colon));
    std::wstring_view rest = text.substr(colon + 1);
    if (rest.substr(0, 2) == L"//") {
        parts.hasAuthority = true;
        rest.remove_prefix(2);
        const std::size_t authorityEnd = std::min(rest.find_first_of(L"/\\?#"), rest.size());
        if (!split_authority(rest.substr(0, authorityEnd), parts)) return std::nullopt;
        rest.remove_prefix(authorityEnd);
    }

    const std::size_t fragmentStart = std::min(rest.find(L'#'), rest.size());
    const std::size_t queryStart = std::min(rest.substr(0, fragmentStart).find(L'?'), fragmentStart);
    std::wstring path(rest.substr(0, queryStart));
    if (parts.hasAuthority) {
        for (wchar_t& c : path) {
            if (c == L'\\') c = L'/';
        }
        if (path.empty()) path = L"/";
    }
    parts.path = iri(path);
    parts.query = iri(rest.substr(queryStart, fragmentStart - queryStart));
    parts.fragment = iri(rest.substr(fragmentStart));
    return parts;
}

std::wstring canonical_form(std::wstring_view iri) { return canonical(iri); }

std::wstring display_iri(const uri_parts& parts) {
    std::wstring text = parts.scheme + L":";
    if (parts.hasAuthority) {
        text += L"//" + parts.host;
        if (!parts.port.empty()) text += L":" + parts.port;
    }
    return text + parts.path + parts.query + parts.fragment;
}

std::wstring absolute_uri(const uri_parts& parts) {
    if (parts.userName.empty() && parts.password.empty()) return display_iri(parts);
    std::wstring userInfo = parts.userName;
    if (!parts.password.empty()) userInfo += L":" + parts.password;
    std::wstring text = display_iri(parts);
    text.insert(parts.scheme.size() + 3, userInfo + L"@");
    return text;
}

std::wstring path_extension(std::wstring_view path) {
    const std::wstring_view segment = path.substr(path.rfind(L'/') + 1);
    const std::size_t dot = segment.rfind(L'.');
    return dot == std::wstring_view::npos ? std::wstring() : std::wstring(segment.substr(dot));
}

int port_number(const uri_parts& parts) {
    if (!parts.port.empty()) return std::stoi(parts.port);
    if (parts.scheme == L"http") return 80;
    if (parts.scheme == L"https") return 443;
    if (parts.scheme == L"ftp") return 21;
    return 0;
}

std::wstring escape_component(std::wstring_view text) { return percent_encode(text, is_unreserved); }

// "Uri Class": Windows.Foundation.Uri "interprets percent-encoding using the user's current codepage",
// so the UTF-8 that EscapeComponent writes comes back as that code page reads it: the same text only
// where the code page is UTF-8 (65001).
std::wstring unescape_component(std::wstring_view text) {
    auto hex_value = [](wchar_t c) -> int {
        if (c >= L'0' && c <= L'9') return c - L'0';
        if (c >= L'a' && c <= L'f') return c - L'a' + 10;
        if (c >= L'A' && c <= L'F') return c - L'A' + 10;
        return -1;
    };
    std::wstring decoded;
    std::string bytes;  // a run of %XX sequences, read together: one character may take several bytes
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == L'%' && i + 2 < text.size() && hex_value(text[i + 1]) >= 0 && hex_value(text[i + 2]) >= 0) {
            bytes += static_cast<char>(hex_value(text[i + 1]) * 16 + hex_value(text[i + 2]));
            i += 2;
            continue;
        }
        decoded += from_code_page(CP_ACP, bytes);
        bytes.clear();
        decoded += text[i];
    }
    return decoded + from_code_page(CP_ACP, bytes);
}

}  // namespace sim
