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

std::wstring GetReportUrl(const EndpointEntry* table, std::size_t count) {
    try {
        for (std::size_t i = 0; i < count; ++i) {
            if (table[i].key && std::wcscmp(table[i].key, kReportEndpointKey) == 0) {
                return table[i].url ? table[i].url : build_settings::kCollectorUrl;
            }
        }
        return build_settings::kCollectorUrl;
    } catch (...) {
        return {};
    }
}

std::wstring GetReportUrl() { return GetReportUrl(kEndpointTable, std::size(kEndpointTable)); }

}  // namespace quorvel
