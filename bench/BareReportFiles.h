#pragma once
// The baselines of the report road: the same file and CNG work as the
// module's road, made with bare Win32 calls (CreateFileW, WriteFile,
// MoveFileExW, ReadFile, DeleteFileW) and the module's CNG sequence.
#include <cstdint>
#include <string>
#include <vector>

// AES-256-CBC with the build's report key and IV, the CNG calls the module
// makes for one report: provider, chaining mode, key object, key, a sizing
// call and the transform.
std::vector<std::uint8_t> BareEncrypt(const std::string& plain);
std::string BareDecrypt(const std::vector<std::uint8_t>& cipher);

// Encrypts and writes `<N>.tmp` into `folder` (ending in a backslash),
// renames it to `<N>.json`; its path.
std::wstring BareSave(const std::wstring& folder, const std::string& body);

// Renames a queued report to its claimed name, reads and decrypts it; the
// claimed path and the body.
struct BareClaim {
    std::wstring path;
    std::string body;
};
BareClaim BareClaimAndRead(const std::wstring& queuedPath);

void BareDelete(const std::wstring& path);

// The queued `.json` files of a folder, oldest first.
std::vector<std::wstring> BareQueuedFiles(const std::wstring& folder);
