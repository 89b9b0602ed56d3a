#pragma once
// The product's endpoint table, in the form the host product shares with its
// other services: pairs of key and URL. This module reads one key.
#include <cstddef>
#include <string>

namespace quorvel {

struct EndpointEntry {
    const wchar_t* key;
    const wchar_t* url;
};

inline constexpr wchar_t kReportEndpointKey[] = L"URL_QUORVEL_REPORT";

// The collector URL reports are posted to: the URL of the report key in the
// product's table, else the build's collector URL.
std::wstring GetReportUrl();

// The same lookup over `table`: the URL of the first row with the report key;
// the build's collector URL when there is no such row or its URL is null.
std::wstring GetReportUrl(const EndpointEntry* table, std::size_t count);

}  // namespace quorvel
