#include "QuorvelReportCrypto.h"

#include <windows.h>
#include <bcrypt.h>

#include <array>
#include <mutex>
#include <optional>

#include "QuorvelBuildSettings.h"

namespace quorvel {

namespace {

// One lock for both directions: at most one CNG key exists at a time.
std::mutex& CryptoMutex() {
    static std::mutex mutex;
    return mutex;
}

class AlgorithmProvider {
public:
    AlgorithmProvider() = default;
    AlgorithmProvider(const AlgorithmProvider&) = delete;
    AlgorithmProvider& operator=(const AlgorithmProvider&) = delete;
    ~AlgorithmProvider() {
        if (handle_) BCryptCloseAlgorithmProvider(handle_, 0);
    }
    BCRYPT_ALG_HANDLE get() const { return handle_; }
    BCRYPT_ALG_HANDLE* put() { return &handle_; }

private:
    BCRYPT_ALG_HANDLE handle_ = nullptr;
};

class SymmetricKey {
public:
    SymmetricKey() = default;
    SymmetricKey(const SymmetricKey&) = delete;
    SymmetricKey& operator=(const SymmetricKey&) = delete;
    ~SymmetricKey() {
        if (handle_) BCryptDestroyKey(handle_);
    }
    BCRYPT_KEY_HANDLE get() const { return handle_; }
    BCRYPT_KEY_HANDLE* put() { return &handle_; }

private:
    BCRYPT_KEY_HANDLE handle_ = nullptr;
};

bool Succeeded(NTSTATUS status) { return status >= 0; }

// An AES-CBC key over the fixed key bytes; the key object lives in `keyObject`.
bool OpenKey(AlgorithmProvider& provider, std::vector<UCHAR>& keyObject, SymmetricKey& key) {
    if (!Succeeded(BCryptOpenAlgorithmProvider(provider.put(), BCRYPT_AES_ALGORITHM, nullptr, 0))) return false;
    // The size counts the terminating zero.
    // BCryptSetProperty takes its input as PUCHAR but only reads it.
    if (!Succeeded(BCryptSetProperty(provider.get(), BCRYPT_CHAINING_MODE,
                                     // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast)
                                     reinterpret_cast<PUCHAR>(const_cast<wchar_t*>(BCRYPT_CHAIN_MODE_CBC)),
                                     sizeof(BCRYPT_CHAIN_MODE_CBC), 0))) {
        return false;
    }
    DWORD objectLength = 0;
    ULONG written = 0;
    if (!Succeeded(BCryptGetProperty(provider.get(), BCRYPT_OBJECT_LENGTH, reinterpret_cast<PUCHAR>(&objectLength),
                                     sizeof(objectLength), &written, 0))) {
        return false;
    }
    keyObject.assign(objectLength, 0);
    auto secret = build_settings::kReportKey;
    return Succeeded(BCryptGenerateSymmetricKey(provider.get(), key.put(), keyObject.data(),
                                                static_cast<ULONG>(keyObject.size()), secret.data(),
                                                static_cast<ULONG>(secret.size()), 0));
}

using CngTransform = NTSTATUS(WINAPI*)(BCRYPT_KEY_HANDLE, PUCHAR, ULONG, VOID*, PUCHAR, ULONG, PUCHAR, ULONG, ULONG*,
                                       ULONG);

// One padded pass of `transform` (BCryptEncrypt or BCryptDecrypt) over `input`.
// CNG overwrites the IV in CBC mode, so each call gets a fresh copy.
std::optional<std::vector<std::uint8_t>> Transform(CngTransform transform, const std::uint8_t* input,
                                                   std::size_t inputLength) {
    std::lock_guard lock(CryptoMutex());
    AlgorithmProvider provider;
    std::vector<UCHAR> keyObject;
    SymmetricKey key;
    if (!OpenKey(provider, keyObject, key)) return std::nullopt;

    // BCryptEncrypt and BCryptDecrypt take their input as PUCHAR but only read it.
    auto* data = const_cast<PUCHAR>(input);  // NOLINT(cppcoreguidelines-pro-type-const-cast)
    const auto length = static_cast<ULONG>(inputLength);
    auto iv = build_settings::kReportIv;
    ULONG outputLength = 0;
    if (!Succeeded(transform(key.get(), data, length, nullptr, iv.data(), static_cast<ULONG>(iv.size()), nullptr, 0,
                             &outputLength, BCRYPT_BLOCK_PADDING))) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> output(outputLength);
    iv = build_settings::kReportIv;
    ULONG produced = 0;
    if (!Succeeded(transform(key.get(), data, length, nullptr, iv.data(), static_cast<ULONG>(iv.size()),
                             output.data(), static_cast<ULONG>(output.size()), &produced, BCRYPT_BLOCK_PADDING))) {
        return std::nullopt;
    }
    output.resize(produced);
    return output;
}

}  // namespace

std::vector<std::uint8_t> EncryptReport(const std::string& plain) {
    try {
        auto cipher = Transform(&BCryptEncrypt, reinterpret_cast<const std::uint8_t*>(plain.data()), plain.size());
        return cipher ? std::move(*cipher) : std::vector<std::uint8_t>();
    } catch (...) {
        return {};
    }
}

std::string DecryptReport(const std::vector<std::uint8_t>& cipher) {
    try {
        const auto plain = Transform(&BCryptDecrypt, cipher.data(), cipher.size());
        return plain ? std::string(plain->begin(), plain->end()) : std::string();
    } catch (...) {
        return {};
    }
}

}  // namespace quorvel
