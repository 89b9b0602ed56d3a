#pragma once
// SHA-1 evaluated by the compiler: the platform derives the IIDs of
// parameterized interface instances from it.
#include <array>
#include <cstddef>
#include <cstdint>

namespace rt {

namespace sha1_detail {

constexpr std::uint32_t rotate_left(std::uint32_t value, int bits) {
    return (value << bits) | (value >> (32 - bits));
}

constexpr std::size_t padded_size(std::size_t length) { return ((length + 8) / 64 + 1) * 64; }

}  // namespace sha1_detail

template <std::size_t N>
constexpr std::array<std::uint8_t, 20> sha1(const std::array<std::uint8_t, N>& message) {
    constexpr std::size_t total = sha1_detail::padded_size(N);
    std::array<std::uint8_t, total> padded{};
    for (std::size_t i = 0; i < N; ++i) padded[i] = message[i];
    padded[N] = 0x80;
    const std::uint64_t bits = static_cast<std::uint64_t>(N) * 8;
    for (int i = 0; i < 8; ++i) padded[total - 1 - i] = static_cast<std::uint8_t>(bits >> (8 * i));

    std::uint32_t h[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
    for (std::size_t block = 0; block < total; block += 64) {
        std::uint32_t w[80] = {};
        for (int t = 0; t < 16; ++t) {
            const std::size_t at = block + 4 * static_cast<std::size_t>(t);
            w[t] = (std::uint32_t{padded[at]} << 24) | (std::uint32_t{padded[at + 1]} << 16) |
                   (std::uint32_t{padded[at + 2]} << 8) | std::uint32_t{padded[at + 3]};
        }
        for (int t = 16; t < 80; ++t) w[t] = sha1_detail::rotate_left(w[t - 3] ^ w[t - 8] ^ w[t - 14] ^ w[t - 16], 1);

        std::uint32_t a = h[0], b = h[1], c = h[2], d = h[3], e = h[4];
        for (int t = 0; t < 80; ++t) {
            std::uint32_t f = 0, k = 0;
            if (t < 20) {
                f = (b & c) | (~b & d);
                k = 0x5A827999;
            } else if (t < 40) {
                f = b ^ c ^ d;
                k = 0x6ED9EBA1;
            } else if (t < 60) {
                f = (b & c) | (b & d) | (c & d);
                k = 0x8F1BBCDC;
            } else {
                f = b ^ c ^ d;
                k = 0xCA62C1D6;
            }
            const std::uint32_t next = sha1_detail::rotate_left(a, 5) + f + e + k + w[t];
            e = d;
            d = c;
            c = sha1_detail::rotate_left(b, 30);
            b = a;
            a = next;
        }
        h[0] += a;
        h[1] += b;
        h[2] += c;
        h[3] += d;
        h[4] += e;
    }

    std::array<std::uint8_t, 20> digest{};
    for (int i = 0; i < 20; ++i) digest[i] = static_cast<std::uint8_t>(h[i / 4] >> (24 - 8 * (i % 4)));
    return digest;
}

}  // namespace rt
