// DecryptReport over random bytes and over damaged ciphertexts of real
// reports: it must give back exactly what was encrypted, and nothing for
// lengths that cannot be a ciphertext.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "QuorvelReportCrypto.h"

namespace {

const fuzz::Surface kSurface{"decrypt_report", 600, 20000, 5000, 4};

std::vector<std::uint8_t> AsBytes(const std::string& text) { return {text.begin(), text.end()}; }

void RunDecryptCase(std::string_view bytes) {
    fuzz::CaseReader in(bytes);
    if (in.Chance(128)) {
        const std::string random = in.Bytes(in.Chance(128) ? 16 * in.Below(24) : in.Below(400));
        const std::string plain = quorvel::DecryptReport(AsBytes(random));
        if (random.empty() || random.size() % 16 != 0) {
            EXPECT_TRUE(plain.empty()) << random.size() << " bytes";
        }
        return;
    }
    const std::string plain = in.Bytes(in.Below(300));
    std::vector<std::uint8_t> cipher = quorvel::EncryptReport(plain);
    ASSERT_FALSE(cipher.empty());
    ASSERT_EQ(quorvel::DecryptReport(cipher), plain);
    switch (in.Below(3)) {
        case 0:
            for (size_t n = 1 + in.Below(4); n > 0; --n) cipher[in.Below(static_cast<uint32_t>(cipher.size()))] ^= 1 + in.Byte() % 255;
            break;
        case 1: cipher.resize(in.Below(static_cast<uint32_t>(cipher.size()))); break;
        default:
            for (size_t n = 1 + in.Below(32); n > 0; --n) cipher.push_back(in.Byte());
    }
    quorvel::DecryptReport(cipher);
}

TEST(DecryptReportFuzz, RandomAndDamagedCiphertexts) { fuzz::RunCampaign(kSurface, RunDecryptCase); }

}  // namespace
