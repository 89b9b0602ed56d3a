#include "StorageDisk.h"

#include <limits>

#include "RuntimeError.h"
#include "StoragePaths.h"
#include "UniqueHandle.h"

namespace sim {

namespace {

[[noreturn]] void throw_win32(DWORD error) { throw rt::hresult_error(HRESULT_FROM_WIN32(error)); }
[[noreturn]] void throw_last_error() { throw_win32(GetLastError()); }

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

UniqueHandle open_file(const std::wstring& path, DWORD access, DWORD disposition) {
    UniqueHandle file(CreateFileW(path.c_str(), access, kShareAll, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid()) throw_last_error();
    return file;
}

bool exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

bool is_taken_error(DWORD error) { return error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS; }

// The first free name of "name", "name (2)", "name (3)", ...; created at once
// so that a file appearing meanwhile moves the name on instead of being opened.
std::wstring create_unique_file(const std::wstring& folder, std::wstring_view name) {
    constexpr unsigned kLastNumber = 10000;
    for (unsigned number = 1; number <= kLastNumber; ++number) {
        const std::wstring path = child_path(folder, number == 1 ? std::wstring(name) : numbered_name(name, number));
        if (exists(path)) continue;
        UniqueHandle file(
            CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (file.valid()) return path;
        const DWORD error = GetLastError();
        if (!is_taken_error(error)) throw_win32(error);
    }
    throw_win32(ERROR_ALREADY_EXISTS);
}

DWORD disposition_of(rt::CreationCollisionOption option) {
    switch (option) {
        case rt::CreationCollisionOption::ReplaceExisting: return CREATE_ALWAYS;
        case rt::CreationCollisionOption::FailIfExists: return CREATE_NEW;
        case rt::CreationCollisionOption::OpenIfExists: return OPEN_ALWAYS;
        default: throw rt::hresult_error(E_INVALIDARG);
    }
}

}  // namespace

disk_item existing_item(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) throw_last_error();
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) ? disk_item::folder : disk_item::file;
}

std::wstring create_file_in(const std::wstring& folder, std::wstring_view name, rt::CreationCollisionOption option) {
    check_item_name(name);
    if (option == rt::CreationCollisionOption::GenerateUniqueName) return create_unique_file(folder, name);
    const DWORD disposition = disposition_of(option);
    const std::wstring path = child_path(folder, name);
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES &&
        (option == rt::CreationCollisionOption::FailIfExists || (attributes & FILE_ATTRIBUTE_DIRECTORY))) {
        throw_win32(ERROR_ALREADY_EXISTS);
    }
    UniqueHandle file(CreateFileW(path.c_str(), disposition == CREATE_ALWAYS ? GENERIC_WRITE : GENERIC_READ, kShareAll,
                                  nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid()) {
        const DWORD error = GetLastError();
        throw_win32(is_taken_error(error) ? ERROR_ALREADY_EXISTS : error);
    }
    return path;
}

void delete_file(const std::wstring& path) {
    if (!DeleteFileW(path.c_str())) throw_last_error();
}

void replace_file_bytes(const std::wstring& path, const std::vector<BYTE>& bytes) {
    const UniqueHandle file = open_file(path, GENERIC_WRITE, OPEN_EXISTING);
    DWORD written = 0;
    if (!bytes.empty() && (!WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) ||
                           written != bytes.size())) {
        throw_last_error();
    }
    if (!SetEndOfFile(file.get())) throw_last_error();
}

std::vector<BYTE> read_file_bytes(const std::wstring& path) {
    const UniqueHandle file = open_file(path, GENERIC_READ, OPEN_EXISTING);
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(file.get(), &size)) throw_last_error();
    if (size.QuadPart > std::numeric_limits<UINT32>::max()) throw_win32(ERROR_FILE_TOO_LARGE);
    std::vector<BYTE> bytes(static_cast<std::size_t>(size.QuadPart));
    DWORD read = 0;
    if (!bytes.empty() && !ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr)) {
        throw_last_error();
    }
    bytes.resize(read);
    return bytes;
}

}  // namespace sim
