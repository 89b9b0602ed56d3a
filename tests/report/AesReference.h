#pragma once
// An independent AES-256-CBC decryptor (straight from the cipher's published
// definition) to read queued files without the module's own code: a fault of
// format, padding, key or IV handling in the module shows against it.
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// One block, for checking this decryptor against the cipher's published vectors.
std::array<std::uint8_t, 16> ReferenceAes256DecryptBlock(const std::array<std::uint8_t, 16>& block,
                                                        const std::array<std::uint8_t, 32>& key);

// The plaintext with its PKCS#7 padding removed; empty optional when the
// length or the padding is wrong.
std::optional<std::string> ReferenceAes256CbcDecrypt(const std::vector<std::uint8_t>& cipher,
                                                     const std::array<std::uint8_t, 32>& key,
                                                     const std::array<std::uint8_t, 16>& iv);
