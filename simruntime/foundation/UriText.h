#pragma once
// URI text as Windows.Foundation.Uri treats it: splitting an absolute URI
// into its parts, the canonical form, and percent-encoding of components.
#include <optional>
#include <string>
#include <string_view>

namespace sim {

struct uri_parts {
    std::wstring raw;
    std::wstring scheme;  // lower case
    bool hasAuthority = false;
    std::wstring userName;
    std::wstring password;
    std::wstring host;  // lower case
    std::wstring port;  // digits as written; empty when absent
    // An IRI: ASCII characters a URI may not hold are percent-encoded, others
    // are kept (canonical_form encodes them).
    std::wstring path;
    std::wstring query;     // with its '?'
    std::wstring fragment;  // with its '#'
};

// Empty when `text` is not an absolute URI (no scheme, a malformed scheme or
// port, control characters). Spaces and backslashes are accepted and
// canonicalised, as the platform does for file paths.
std::optional<uri_parts> parse_absolute_uri(std::wstring_view text);

// International characters kept (AbsoluteUri, ToString).
std::wstring absolute_uri(const uri_parts& parts);

// The absolute URI without user name and password, international characters kept (DisplayIri).
std::wstring display_iri(const uri_parts& parts);

// Every character that is not ASCII becomes %XX of its UTF-8 bytes, upper case
// (AbsoluteCanonicalUri, DisplayUri, Path, Query, Fragment).
std::wstring canonical_form(std::wstring_view iri);

// ".msix" for ".../Orvale.Notification.msix"; empty when the last segment has none.
std::wstring path_extension(std::wstring_view path);

// The written port, else the scheme's default (http 80, https 443, ftp 21), else 0.
int port_number(const uri_parts& parts);

// Every character except A-Z a-z 0-9 - . _ ~ becomes %XX of its UTF-8 bytes, upper case.
std::wstring escape_component(std::wstring_view text);

// %XX sequences become the bytes they encode, read in the process's ANSI code
// page; anything else stays.
std::wstring unescape_component(std::wstring_view text);

}  // namespace sim
