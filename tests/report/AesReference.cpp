#include "AesReference.h"

namespace {

using Block = std::array<std::uint8_t, 16>;

std::uint8_t Multiply(std::uint8_t a, std::uint8_t b) {
    std::uint8_t product = 0;
    while (b) {
        if (b & 1) product ^= a;
        a = static_cast<std::uint8_t>((a << 1) ^ ((a & 0x80) ? 0x1b : 0));
        b >>= 1;
    }
    return product;
}

std::uint8_t Inverse(std::uint8_t value) {
    if (value == 0) return 0;
    for (int candidate = 1; candidate < 256; ++candidate) {
        if (Multiply(value, static_cast<std::uint8_t>(candidate)) == 1) return static_cast<std::uint8_t>(candidate);
    }
    return 0;
}

// The S-box computed from its definition (inverse in GF(2^8), then the affine map).
struct Boxes {
    std::array<std::uint8_t, 256> forward{};
    std::array<std::uint8_t, 256> inverse{};
    Boxes() {
        for (int i = 0; i < 256; ++i) {
            const std::uint8_t x = Inverse(static_cast<std::uint8_t>(i));
            std::uint8_t s = x;
            for (int shift = 1; shift <= 4; ++shift) {
                s ^= static_cast<std::uint8_t>((x << shift) | (x >> (8 - shift)));
            }
            s ^= 0x63;
            forward[i] = s;
            inverse[s] = static_cast<std::uint8_t>(i);
        }
    }
};

const Boxes& SBoxes() {
    static const Boxes boxes;
    return boxes;
}

// 15 round keys of AES-256.
std::array<Block, 15> ExpandKey(const std::array<std::uint8_t, 32>& key) {
    std::array<std::uint8_t, 240> words{};
    std::copy(key.begin(), key.end(), words.begin());
    std::uint8_t rcon = 1;
    for (int i = 8; i < 60; ++i) {
        std::uint8_t t[4] = {words[(i - 1) * 4], words[(i - 1) * 4 + 1], words[(i - 1) * 4 + 2], words[(i - 1) * 4 + 3]};
        if (i % 8 == 0) {
            const std::uint8_t first = t[0];
            t[0] = static_cast<std::uint8_t>(SBoxes().forward[t[1]] ^ rcon);
            t[1] = SBoxes().forward[t[2]];
            t[2] = SBoxes().forward[t[3]];
            t[3] = SBoxes().forward[first];
            rcon = Multiply(rcon, 2);
        } else if (i % 8 == 4) {
            for (auto& b : t) b = SBoxes().forward[b];
        }
        for (int j = 0; j < 4; ++j) words[i * 4 + j] = static_cast<std::uint8_t>(words[(i - 8) * 4 + j] ^ t[j]);
    }
    std::array<Block, 15> rounds{};
    for (int r = 0; r < 15; ++r) std::copy(words.begin() + r * 16, words.begin() + r * 16 + 16, rounds[r].begin());
    return rounds;
}

void AddRoundKey(Block& state, const Block& key) {
    for (int i = 0; i < 16; ++i) state[i] ^= key[i];
}

void InverseShiftRowsAndSubBytes(Block& state) {
    Block shifted{};
    for (int column = 0; column < 4; ++column) {
        for (int row = 0; row < 4; ++row) {
            shifted[((column + row) % 4) * 4 + row] = SBoxes().inverse[state[column * 4 + row]];
        }
    }
    state = shifted;
}

void InverseMixColumns(Block& state) {
    for (int column = 0; column < 4; ++column) {
        std::uint8_t* c = &state[column * 4];
        const std::uint8_t a0 = c[0], a1 = c[1], a2 = c[2], a3 = c[3];
        c[0] = Multiply(a0, 14) ^ Multiply(a1, 11) ^ Multiply(a2, 13) ^ Multiply(a3, 9);
        c[1] = Multiply(a0, 9) ^ Multiply(a1, 14) ^ Multiply(a2, 11) ^ Multiply(a3, 13);
        c[2] = Multiply(a0, 13) ^ Multiply(a1, 9) ^ Multiply(a2, 14) ^ Multiply(a3, 11);
        c[3] = Multiply(a0, 11) ^ Multiply(a1, 13) ^ Multiply(a2, 9) ^ Multiply(a3, 14);
    }
}

Block DecryptBlock(Block state, const std::array<Block, 15>& rounds) {
    AddRoundKey(state, rounds[14]);
    for (int round = 13; round >= 1; --round) {
        InverseShiftRowsAndSubBytes(state);
        AddRoundKey(state, rounds[round]);
        InverseMixColumns(state);
    }
    InverseShiftRowsAndSubBytes(state);
    AddRoundKey(state, rounds[0]);
    return state;
}

}  // namespace

std::array<std::uint8_t, 16> ReferenceAes256DecryptBlock(const std::array<std::uint8_t, 16>& block,
                                                        const std::array<std::uint8_t, 32>& key) {
    return DecryptBlock(block, ExpandKey(key));
}

std::optional<std::string> ReferenceAes256CbcDecrypt(const std::vector<std::uint8_t>& cipher,
                                                     const std::array<std::uint8_t, 32>& key,
                                                     const std::array<std::uint8_t, 16>& iv) {
    if (cipher.empty() || cipher.size() % 16 != 0) return std::nullopt;
    const auto rounds = ExpandKey(key);
    std::string plain;
    Block previous = iv;
    for (std::size_t offset = 0; offset < cipher.size(); offset += 16) {
        Block block{};
        std::copy(cipher.begin() + offset, cipher.begin() + offset + 16, block.begin());
        Block decrypted = DecryptBlock(block, rounds);
        for (int i = 0; i < 16; ++i) plain.push_back(static_cast<char>(decrypted[i] ^ previous[i]));
        previous = block;
    }
    const auto padding = static_cast<std::uint8_t>(plain.back());
    if (padding == 0 || padding > 16) return std::nullopt;
    for (std::size_t i = plain.size() - padding; i < plain.size(); ++i) {
        if (static_cast<std::uint8_t>(plain[i]) != padding) return std::nullopt;
    }
    plain.resize(plain.size() - padding);
    return plain;
}
