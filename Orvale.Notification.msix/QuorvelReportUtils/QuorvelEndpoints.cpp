#include "QuorvelEndpoints.h"

#include <cwchar>
#include <iterator>

#include "QuorvelBuildSettings.h"

namespace quorvel {

namespace {

// Only the row this module reads; the product's other rows name endpoints of
// its other services and are deployment data of the product.
constexpr EndpointEntry kEndpointTable[] = {
    {kReportEndpointKey, build_settings::kCollectorUrl},
};

}  // namespace

std::wstring LookupEndpoint(const EndpointEntry* table, std::size_t count, const wchar_t* key,
                            const wchar_t* fallback) {
    for (std::size_t i = 0; i < count; ++i) {
        if (table[i].key && std::wcscmp(table[i].key, key) == 0) return table[i].url ? table[i].url : fallback;
    }
    return fallback;
}

std::wstring GetReportUrl() {
    try {
        return LookupEndpoint(kEndpointTable, std::size(kEndpointTable), kReportEndpointKey,
                              build_settings::kCollectorUrl);
    } catch (...) {
        return {};
    }
}

}  // namespace quorvel
