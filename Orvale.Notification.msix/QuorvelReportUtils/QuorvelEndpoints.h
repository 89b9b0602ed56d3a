#pragma once
// The product's endpoint table, in the form the host product shares with its
// other services: pairs of key and URL. This module reads one key.
#include <string>

namespace quorvel {

struct EndpointEntry {
    const wchar_t* key;
    const wchar_t* url;
};

inline constexpr wchar_t kReportEndpointKey[] = L"URL_QUORVEL_REPORT";

// The URL of `key` in `table` (first equal key); `fallback` when the key is
// missing or its URL is null.
std::wstring LookupEndpoint(const EndpointEntry* table, std::size_t count, const wchar_t* key, const wchar_t* fallback);

// The collector URL reports are posted to.
std::wstring GetReportUrl();

}  // namespace quorvel
