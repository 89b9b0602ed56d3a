#include "BareReportFiles.h"

#include <windows.h>
#include <bcrypt.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>

#include "QuorvelBuildSettings.h"
#include "UniqueHandle.h"

namespace {

void Check(bool succeeded, const char* what) {
    if (!succeeded) throw std::runtime_error(std::string("bare road: ") + what + " failed");
}

void CheckStatus(NTSTATUS status, const char* what) { Check(status >= 0, what); }

using CngTransform = NTSTATUS(WINAPI*)(BCRYPT_KEY_HANDLE, PUCHAR, ULONG, VOID*, PUCHAR, ULONG, PUCHAR, ULONG, ULONG*,
                                       ULONG);

std::vector<std::uint8_t> BareTransform(CngTransform transform, const void* input, std::size_t length) {
    BCRYPT_ALG_HANDLE provider = nullptr;
    CheckStatus(BCryptOpenAlgorithmProvider(&provider, BCRYPT_AES_ALGORITHM, nullptr, 0), "open provider");
    BCryptSetProperty(provider, BCRYPT_CHAINING_MODE,
                      reinterpret_cast<PUCHAR>(const_cast<wchar_t*>(BCRYPT_CHAIN_MODE_CBC)),
                      sizeof(BCRYPT_CHAIN_MODE_CBC), 0);
    DWORD objectLength = 0;
    ULONG written = 0;
    BCryptGetProperty(provider, BCRYPT_OBJECT_LENGTH, reinterpret_cast<PUCHAR>(&objectLength), sizeof(objectLength),
                      &written, 0);
    std::vector<UCHAR> keyObject(objectLength);
    auto secret = quorvel::build_settings::kReportKey;
    BCRYPT_KEY_HANDLE key = nullptr;
    BCryptGenerateSymmetricKey(provider, &key, keyObject.data(), objectLength, secret.data(),
                               static_cast<ULONG>(secret.size()), 0);
    auto* data = static_cast<PUCHAR>(const_cast<void*>(input));
    auto iv = quorvel::build_settings::kReportIv;
    ULONG outputLength = 0;
    transform(key, data, static_cast<ULONG>(length), nullptr, iv.data(), static_cast<ULONG>(iv.size()), nullptr, 0,
              &outputLength, BCRYPT_BLOCK_PADDING);
    std::vector<std::uint8_t> output(outputLength);
    iv = quorvel::build_settings::kReportIv;
    const NTSTATUS status = transform(key, data, static_cast<ULONG>(length), nullptr, iv.data(),
                                      static_cast<ULONG>(iv.size()), output.data(), outputLength, &outputLength,
                                      BCRYPT_BLOCK_PADDING);
    BCryptDestroyKey(key);
    BCryptCloseAlgorithmProvider(provider, 0);
    CheckStatus(status, "transform");
    output.resize(outputLength);
    return output;
}

// Names unique within the run, of the module's length, so a folder sorts the same.
std::wstring NextStamp() {
    static std::atomic<unsigned long long> next{1700000000000000000ull};
    return std::to_wstring(next += 100);
}

}  // namespace

std::vector<std::uint8_t> BareEncrypt(const std::string& plain) {
    return BareTransform(&BCryptEncrypt, plain.data(), plain.size());
}

std::string BareDecrypt(const std::vector<std::uint8_t>& cipher) {
    const std::vector<std::uint8_t> plain = BareTransform(&BCryptDecrypt, cipher.data(), cipher.size());
    return std::string(plain.begin(), plain.end());
}

std::wstring BareSave(const std::wstring& folder, const std::string& body) {
    const std::vector<std::uint8_t> cipher = BareEncrypt(body);
    const std::wstring stamp = NextStamp();
    const std::wstring temporary = folder + stamp + L".tmp";
    const std::wstring queued = folder + stamp + L".json";
    {
        const UniqueHandle file(CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                            FILE_ATTRIBUTE_NORMAL, nullptr));
        DWORD written = 0;
        Check(file.valid() && WriteFile(file.get(), cipher.data(), static_cast<DWORD>(cipher.size()), &written, nullptr) &&
                  written == cipher.size(),
              "write");
    }
    Check(MoveFileExW(temporary.c_str(), queued.c_str(), 0), "rename to .json");
    return queued;
}

BareClaim BareClaimAndRead(const std::wstring& queuedPath) {
    const std::wstring stem = queuedPath.substr(0, queuedPath.rfind(L'.'));
    const std::wstring claimed = stem + L".uploading." + std::to_wstring(GetCurrentProcessId()) + L".1700000000";
    Check(MoveFileExW(queuedPath.c_str(), claimed.c_str(), 0), "claim");
    const UniqueHandle file(
        CreateFileW(claimed.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size = {};
    Check(file.valid() && GetFileSizeEx(file.get(), &size), "open the claim");
    std::vector<std::uint8_t> cipher(static_cast<std::size_t>(size.QuadPart));
    DWORD read = 0;
    Check(ReadFile(file.get(), cipher.data(), static_cast<DWORD>(cipher.size()), &read, nullptr) && read == cipher.size(),
          "read");
    return {claimed, BareDecrypt(cipher)};
}

void BareDelete(const std::wstring& path) { Check(DeleteFileW(path.c_str()), "delete"); }

std::vector<std::wstring> BareQueuedFiles(const std::wstring& folder) {
    std::vector<std::wstring> queued;
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((folder + L"*.json").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return queued;
    do {
        queued.push_back(folder + found.cFileName);
    } while (FindNextFileW(search, &found));
    FindClose(search);
    std::sort(queued.begin(), queued.end());
    return queued;
}
