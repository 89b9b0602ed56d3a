#pragma once
// AES-256-CBC with block padding through CNG, under one module-wide lock.
// Key and IV are the collector's fixed constants, so equal bodies give equal
// files; the collector decrypts with the same constants.
#include <cstdint>
#include <string>
#include <vector>

namespace quorvel {

// The ciphertext (a multiple of 16 bytes); empty on any failure.
std::vector<std::uint8_t> EncryptReport(const std::string& plain);

// The plaintext; empty on any failure, wrong padding or a length that is not
// a multiple of 16 included.
std::string DecryptReport(const std::vector<std::uint8_t>& cipher);

}  // namespace quorvel
