#pragma once
// IIDs of parameterized interface instances: SHA-1 over a fixed namespace GUID
// and the instance's signature, stamped as a version-5 name-based GUID.
#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "FixedString.h"
#include "Sha1.h"
#include "Signature.h"

namespace rt {

// 11f47ad5-7b73-42c0-abae-878b1e16adee in network byte order.
inline constexpr std::array<std::uint8_t, 16> piid_namespace = {0x11, 0xf4, 0x7a, 0xd5, 0x7b, 0x73, 0x42, 0xc0,
                                                               0xab, 0xae, 0x87, 0x8b, 0x1e, 0x16, 0xad, 0xee};

template <std::size_t N>
constexpr GUID piid(const fixed_string<N>& signature) {
    std::array<std::uint8_t, 16 + N> message{};
    for (std::size_t i = 0; i < 16; ++i) message[i] = piid_namespace[i];
    for (std::size_t i = 0; i < N; ++i) message[16 + i] = static_cast<std::uint8_t>(signature.chars[i]);
    std::array<std::uint8_t, 20> hash = sha1(message);
    hash[6] = static_cast<std::uint8_t>((hash[6] & 0x0F) | 0x50);
    hash[8] = static_cast<std::uint8_t>((hash[8] & 0x3F) | 0x80);

    GUID id{};
    id.Data1 = (std::uint32_t{hash[0]} << 24) | (std::uint32_t{hash[1]} << 16) | (std::uint32_t{hash[2]} << 8) | hash[3];
    id.Data2 = static_cast<unsigned short>((hash[4] << 8) | hash[5]);
    id.Data3 = static_cast<unsigned short>((hash[6] << 8) | hash[7]);
    for (int i = 0; i < 8; ++i) id.Data4[i] = hash[8 + i];
    return id;
}

}  // namespace rt
